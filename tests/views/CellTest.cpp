#include <gmock/gmock.h>

#include <QTemporaryDir>
#include <thread>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/views/FakeOwner.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/views/timeline/Presentation/ItemLooks.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane {
namespace {

class CellTest : public ::testing::Test {
  protected:
    CellTest() {
        registerTimelineTypes();
        cell_ = makeCell();
        cell_->setParentItem(ui_.root());
        cell_->setSize({134, 120});
        ui_.settle();
    }

    static std::unique_ptr<ScrubberCell> makeCell() {
        auto layout = InterfaceLoader::load(QUrl("qrc:/Korvane/Timeline/layouts/ScrubberCell.qml"), nullptr);
        EXPECT_TRUE(layout.errors.isEmpty()) << layout.errors.join(u'\n').toStdString();
        std::unique_ptr<ScrubberCell> cell(qobject_cast<ScrubberCell*>(layout.root.release()));
        cell->awakeFromNib();
        return cell;
    }

    std::shared_ptr<ScrubberEvent> item(std::int64_t id = 3) const {
        auto event = ScrubberEvent::build(id, 60'000);
        event->setCamid(7);
        event->setName("motion");
        event->setStart(55'000);
        event->setEnd(105'000);
        event->setTimezone("Asia/Tokyo");
        return event;
    }

    void fill(ScrubberCell& cell, const std::shared_ptr<ScrubberEvent>& event) {
        cell.prepareForReuse();
        cell.setOwner(&owner_);
        cell.setEvent(event);
        cell.update();
    }

    void fill(const std::shared_ptr<ScrubberEvent>& event) { fill(*cell_, event); }

    QQuickItem* outlet(const char* name) const { return qvariant_cast<QQuickItem*>(cell_->property(name)); }
    ImageView& preview() const { return *qobject_cast<ImageView*>(outlet("previewImageView")); }
    ImageView& icon() const { return *qobject_cast<ImageView*>(outlet("eventTypeImageView")); }
    ImageCache& cache() const { return *ToolkitContext::shared()->imageCache; }
    QString date() const { return outlet("eventDateTimeaLabel")->property("text").toString(); }

    /// A picture of one colour in a file; its URL.
    std::string picture(const QString& name, const QColor& color) {
        QImage image(64, 48, QImage::Format_RGB32);
        image.fill(color);
        EXPECT_TRUE(image.save(folder_.filePath(name)));
        return QUrl::fromLocalFile(folder_.filePath(name)).toString().toStdString();
    }

    /// Loaders have threads of their own, so what they bring is waited for by turns and not by time.
    bool comes(const std::function<bool()>& condition) {
        ui_.advance(std::chrono::milliseconds(100));  // so long a cell is in view before its picture is asked for
        for (int turn = 0; turn < 2'000'000 && !condition(); ++turn) {
            ui_.scheduler().runUntilIdle();
            std::this_thread::yield();
        }
        return condition();
    }

    VirtualUi ui_;
    test::FakeOwner owner_;
    QTemporaryDir folder_;
    std::unique_ptr<ScrubberCell> cell_;
};

TEST_F(CellTest, TellsEntriesApart) {
    const QImage motion = imageNamed("scrubberEventTypeMotion");
    const QImage bell = imageNamed("scrubberEventTypeDoorbellMissed");
    const QString time = "60000 hh:mma Asia/Tokyo";
    const std::tuple<std::function<void(ScrubberEvent&)>, QString, QImage> cases[] = {
        {[](auto& e) { e.setType(ScrubberEventTypeHead); }, "", {}},
        {[](auto& e) { e.setType(ScrubberEventTypeLive); }, "", {}},
        {[](auto& e) { e.resetToDefault(); }, "loading...", {}},
        {[](auto& e) { e.setTimeAsValue(0); }, "loading...", motion},
        {[](auto& e) { e.setName("DoorBell"); }, time, bell},
        {[](auto& e) { e.setName(std::nullopt); }, time, {}},
        {[this](auto& e) {
             e.setType(ScrubberEventTypeGroup);
             e.setChilds({item(), item(), item()});
         },
         time + "(3)", motion},
    };
    for (const auto& [change, expected, image] : cases) {
        const auto event = item();
        change(*event);
        fill(event);
        EXPECT_EQ(date(), expected);
        EXPECT_EQ(outlet("liveViewLabel")->isVisible(), event->type() == ScrubberEventTypeLive);
        EXPECT_EQ(icon().image(), image);
    }
    fill(nullptr);
    EXPECT_EQ(date(), "") << "an entry that is gone is shown as a spacer";
}

TEST_F(CellTest, ALateFrameStaysOffACellThatShowsAnotherEntry) {
    const auto first = item(3);
    first->setVideoUrl(picture("first.png", Qt::blue));
    fill(first);
    const auto second = item(4);
    cell_->setEvent(second);  // without an update: the tag is still the first one's

    const auto witness = makeCell();
    witness->setSize({134, 120});
    const auto third = item(5);
    third->setVideoUrl(first->videoUrl());
    for (int round = 0; round < 3; ++round) {
        cache().clearMemory();
        fill(*witness, third);
        ASSERT_TRUE(comes([this] { return !cache().imageFromMemoryCacheForKey("7_5").isNull(); }));
    }
    EXPECT_TRUE(preview().image().isNull());
}

TEST_F(CellTest, PicturesOfWhatIsSeenAreLoadedInTheSizeThatIsSeen) {
    const auto passing = item(3);
    passing->setImageUrl(picture("passing.png", Qt::blue));
    fill(passing);
    ui_.advance(std::chrono::milliseconds(90));
    const auto seen = item(4);
    seen->setImageUrl(picture("seen.png", Qt::red));
    seen->setVideoUrl(passing->imageUrl());
    fill(seen);
    ui_.advance(std::chrono::milliseconds(100));
    cell_->prepareForReuse();  // its load has begun
    ASSERT_TRUE(comes([this] { return !cache().imageFromMemoryCacheForKey("7_4").isNull(); }));
    EXPECT_TRUE(preview().image().isNull());
    EXPECT_TRUE(cache().imageFromMemoryCacheForKey("7_3").isNull());
    EXPECT_EQ(cache().imageFromMemoryCacheForKey("7_4").pixelColor(2, 2), QColor(Qt::red)) << "an image before a film";

    const auto width = [this] { return preview().image().width(); };
    cell_->setSize({20, 20});
    cache().clearMemory();
    fill(seen);
    ASSERT_TRUE(comes([&] { return width() == 20; }));
    cell_->setSize({40, 40});
    ASSERT_TRUE(comes([&] { return width() == 40; })) << "a picture of a smaller size was left";
    cell_->setSize({20, 20});
    fill(seen);
    cell_->setSize({134, 120});
    ASSERT_TRUE(comes([&] { return width() == 64; }));

    owner_.config.setDataSourceType(ScrubberDataSourceTypeRecords);
    fill(item(4));
    EXPECT_TRUE(preview().image().isNull()) << "an event's picture for a recording of the same number";
}

}  // namespace
}  // namespace korvane
