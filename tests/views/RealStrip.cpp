#include "korvane/tests/views/RealStrip.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QtTest/QTest>

#include "korvane/toolkit/ImageView.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"

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

}  // namespace

void RealStripTest::SetUp() {
    storage_ = std::move(*Storage::open(folder_ / "camera.db"));
    camera_ = storage_->cameraForFolder(folder_.path(), "Yard", "UTC")->id;
    const std::string picture = jpeg();
    const TimeMs first = (scheduler().utcNow() / hour - recordingCount) * hour;
    for (TimeMs start = first; start < first + recordingCount * hour; start += hour) {
        std::vector<NewEvent> events;
        for (TimeMs time = start; time < start + hour; time += 30'000) events.push_back({time, "motion", picture});
        const SourceFile file{std::to_string(start) + ".mp4", 1, 1, ""};
        ASSERT_FALSE(storage_->storeRecording(camera_, file, NewRecord{start, start + hour, picture}, events));
    }
    ASSERT_TRUE(server_.start());
    window_.resize(800, 120);
    window_.show();
    makeView();
}

RealStripTest::~RealStripTest() {
    view_.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void RealStripTest::makeView() {
    view_ = std::make_unique<ScrubberView>(TimelineEnvironment{toolkit_, service_}, Rect{}, window_.contentItem());
    view_->getConfig().setCellWidth(100);
    view_->applyConfig();
}

bool RealStripTest::until(const std::function<bool()>& condition) const {
    constexpr std::chrono::seconds patience(60);
    const auto begin = scheduler().monotonicNow();
    while (!condition() && scheduler().monotonicNow() - begin < patience) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::EventLoopExec, 10);
    }
    return condition();
}

void RealStripTest::drag(double by) {
    constexpr int steps = 10;
    constexpr int pace = 5;
    QPoint at(400, 60);
    QTest::mousePress(&window_, Qt::LeftButton, {}, at);
    for (int step = 1; step <= steps; ++step) QTest::mouseMove(&window_, at + QPoint(int(by) * step / steps, 0), pace);
    at.rx() += int(by);
    QTest::mouseRelease(&window_, Qt::LeftButton, {}, at, 200);
}

bool RealStripTest::showsPreviews() const {
    const auto cells = window_.contentItem()->findChildren<ScrubberCell*>();
    int shown = 0;
    for (const ScrubberCell* cell : cells) {
        const auto event = cell->isVisible() ? cell->getEvent() : nullptr;
        if (!event || event->type() != ScrubberEventTypeItem) continue;
        ++shown;
        if (qvariant_cast<ImageView*>(cell->property("previewImageView"))->image().isNull()) return false;
    }
    return shown > 0;
}

}  // namespace korvane::test
