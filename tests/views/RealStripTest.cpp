// An event strip against the real service, on real time.

#include <QBuffer>
#include <QQuickWindow>

#include "korvane/client/http/HttpService.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/support/qt/EventTurns.h"
#include "korvane/toolkit/ImageView.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane::test {
namespace {

constexpr TimeMs hour = 3'600'000;

std::string jpeg() {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImage image(320, 180, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    image.save(&buffer, "JPG");
    return bytes.toStdString();
}

/// A camera that has three recordings of an hour and an event each 30 s, all with thumbnails.
class RealStripTest : public ::testing::Test {
  protected:
    static constexpr std::int64_t recordingCount = 3;
    static constexpr std::int64_t eventCount = recordingCount * 120;

    void SetUp() override {
        storage_ = std::move(*Storage::open(folder_ / "camera.db"));
        camera_ = storage_->cameraForFolder(folder_.path(), "Yard", "UTC")->id;
        const std::string picture = jpeg();
        const TimeMs first = (toolkit_->scheduler->utcNow() / hour - recordingCount) * hour;
        for (TimeMs start = first; start < first + recordingCount * hour; start += hour) {
            std::vector<NewEvent> events;
            for (TimeMs time = start; time < start + hour; time += 30'000) events.push_back({time, "motion", picture});
            const SourceFile file{std::to_string(start) + ".mp4", 1, 1, ""};
            ASSERT_FALSE(storage_->storeRecording(camera_, file, NewRecord{start, start + hour, picture}, events));
        }
        ASSERT_TRUE(server_.start());
        window_.resize(800, 120);
        window_.show();
        view_ = std::make_unique<ScrubberView>(TimelineEnvironment{toolkit_, service_}, Rect{}, window_.contentItem());
    }

    bool until(const std::function<bool()>& condition) const { return turnUntil(*toolkit_->scheduler, condition); }

    void load(std::int32_t type, std::int64_t entries) {
        view_->getConfig().setDataSourceType(type);
        const std::string token = *server_.issueToken(camera_, std::chrono::hours(1));
        ASSERT_EQ(view_->setSource(QString::fromStdString(token)), 0);
        EXPECT_TRUE(until([&] { return view_->getIndexPathFromPointer() == entries + 1; }));
        EXPECT_EQ(view_->getEventsCount(), entries + 2);
    }

    /// Every cell on screen that shows an entry of the service shows a picture, too.
    bool showsPreviews() const {
        int shown = 0;
        for (const ScrubberCell* cell : window_.contentItem()->findChildren<ScrubberCell*>()) {
            const auto event = cell->isVisible() ? cell->getEvent() : nullptr;
            if (!event || event->type() != ScrubberEventTypeItem) continue;
            ++shown;
            if (qvariant_cast<ImageView*>(cell->property("previewImageView"))->image().isNull()) return false;
        }
        return shown > 0;
    }

    TempFolder folder_;
    std::unique_ptr<Storage> storage_;
    std::int64_t camera_ = 0;
    // So few that all of its threads are there soon, and those that are counted are ours.
    static CameraServerOptions fewThreads() {
        CameraServerOptions options;
        options.threads = 2;
        return options;
    }
    CameraServer server_{folder_ / "camera.db", fewThreads()};
    const std::shared_ptr<ToolkitContext> toolkit_ = ToolkitContext::shared();
    std::shared_ptr<HttpService> service_ = std::make_shared<HttpService>(*toolkit_->scheduler);
    QQuickWindow window_;
    std::unique_ptr<ScrubberView> view_;
};

TEST_F(RealStripTest, EntriesShowThemselvesAndAnEventGoes) {
    load(ScrubberDataSourceTypeRecords, recordingCount);
    EXPECT_TRUE(until([this] { return showsPreviews(); }));
    load(ScrubberDataSourceTypeEvents, eventCount);
    EXPECT_TRUE(until([this] { return showsPreviews(); }));
    int status = -1;
    const auto last = view_->getEvent(eventCount);
    EXPECT_EQ(view_->deleteEvent(last, [&](auto answer, const auto& /*message*/) { status = answer; }), 0);
    EXPECT_TRUE(until([&] { return status == 0; }));
    EXPECT_EQ(view_->getEventsCount(), eventCount + 1);
    EXPECT_EQ(storage_->events(camera_, {})->totalCount, eventCount - 1);
    load(ScrubberDataSourceTypeEvents, eventCount - 1);
}

TEST_F(RealStripTest, CyclesLeaveNoThreadAndNoSocket) {
    const auto count = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    const auto threads = [&] { return count("/proc/self/task"); };
    const auto files = [&] { return count("/proc/self/fd"); };
    std::ptrdiff_t threadsAtRest = 0, filesAtRest = 0;
    for (int cycle = 0; cycle < 50; ++cycle) {
        load(ScrubberDataSourceTypeEvents, eventCount);
        view_->toEvent(view_->getEvent(eventCount - 10));
        ASSERT_TRUE(until([this] { return view_->getCurrentEvent() != nullptr; }));
        view_->clean();
        if (cycle == 9) {
            threadsAtRest = threads();
            filesAtRest = files();
        }
    }
    // A pool of threads may still grow to its size, a leak grows with each of the forty cycles.
    constexpr std::ptrdiff_t growth = 10;
    EXPECT_TRUE(until([&] { return threads() < threadsAtRest + growth; })) << threads() << " of " << threadsAtRest;
    EXPECT_TRUE(until([&] { return files() < filesAtRest + growth; })) << files() << " of " << filesAtRest;
}

}  // namespace
}  // namespace korvane::test
