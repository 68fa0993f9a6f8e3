#include "korvane/tests/views/StripFixture.h"
#include "korvane/toolkit/ImageCache.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

/// Previews for the events up to this id, a colour each.
void paintPreviews(std::int64_t count) {
    for (std::int64_t id = 1; id <= count; ++id) {
        QImage image(320, 180, QImage::Format_RGB32);
        image.fill(QColor::fromHsv(static_cast<int>(id * 47 % 360), 120, 150));
        ToolkitContext::shared()->imageCache->storeImageToMemory(image, QStringLiteral("7_%1").arg(id));
    }
}

using PictureTest = StripTest;

TEST_F(PictureTest, LiveEndHeadAndPlayingCell) {
    paintPreviews(12);
    const QColor mark(0xff, 0x5a, 0x5f);
    const QColor background(0x1d, 0x20, 0x26);
    view_->getConfig().setBackgroundCellColor(background);
    view_->getConfig().setScrubberCenterMarkColor(mark);
    view_->applyConfig();
    load(12);
    const QImage live = ui_.grab();
    EXPECT_EQ(live.pixelColor(400, 60), mark);
    EXPECT_EQ(live.pixelColor(700, 100), background) << "the live cell's";
    EXPECT_NEAR(live.pixelColor(330, 20).hue(), 12 * 47 % 360, 2) << "the newest preview";
    moveTo(1);
    EXPECT_EQ(ui_.grab().pixelColor(100, 60), background) << "the head's";

    const auto event = view_->getEvent(8);
    view_->toEvent(event, false);
    ui_.advance(50ms);
    cell(8)->startProgress(owner());
    double base = 0;
    double previous = 0;
    cell(8)->advanceProgressTo(event->start() + 20'000, event->start(), event->end(), base, previous);
    ui_.advance(1100ms);
    EXPECT_EQ(ui_.grab().pixelColor(360, 92), QColor("#e5484d")) << "the bar of the playing cell";
}

}  // namespace
}  // namespace korvane::test
