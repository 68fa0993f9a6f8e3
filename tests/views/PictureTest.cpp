#include <QPainter>
#include <cstdlib>

#include "tests/views/StripFixture.h"
#include "toolkit/ImageCache.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

/// What a strip looks like, checked where it matters. With KORVANE_PICTURES naming a folder the pictures are kept
/// there.
class PictureTest : public StripTest {
  protected:
    QImage picture(const QString& name) {
        settle();
        const QImage image = ui_.grab();
        if (const char* folder = std::getenv("KORVANE_PICTURES")) {
            EXPECT_TRUE(image.save(QString::fromUtf8(folder) + u'/' + name));
        }
        return image;
    }

    /// Previews for the events with these ids, a colour each, with a bright horizon.
    static void paintPreviews(std::int64_t count) {
        for (std::int64_t id = 1; id <= count; ++id) {
            QImage image(320, 180, QImage::Format_RGB32);
            image.fill(QColor::fromHsv(static_cast<int>(id * 47 % 360), 120, 150));
            QPainter painter(&image);
            painter.fillRect(0, 110, 320, 70, QColor(0, 0, 0, 90));
            ToolkitContext::shared()->imageCache->storeImageToMemory(image, QStringLiteral("7_%1").arg(id));
        }
    }
};

TEST_F(PictureTest, LiveEndCellsAndHead) {
    paintPreviews(12);
    service_.withFootage([this](ScriptedFootage& footage) {
        for (std::int64_t id = 1; id <= 12; ++id) {
            footage.addEvent(
                {id, ui_.scheduler().utcNow() + (id - 12) * 400'000, id % 4 == 0 ? "doorbell" : "motion", ""});
        }
    });
    ScrubberConfig& config = view_->getConfig();
    config.setCellWidth(134);
    config.setBackgroundColor(QColor(0x12, 0x14, 0x18));
    config.setBackgroundCellColor(QColor(0x1d, 0x20, 0x26));
    config.setScrubberCenterMarkColor(QColor(0xff, 0x5a, 0x5f));
    view_->applyConfig();
    load(0);
    const QImage live = picture("strip-live.png");
    EXPECT_EQ(live.pixelColor(400, 60), QColor(0xff, 0x5a, 0x5f)) << "the mark";
    EXPECT_EQ(live.pixelColor(700, 100), QColor(0x1d, 0x20, 0x26)) << "the live cell's background";
    EXPECT_NEAR(live.pixelColor(330, 20).hue(), 12 * 47 % 360, 2) << "the newest preview";

    moveTo(6);
    picture("strip-cells.png");
    moveTo(1);
    const QImage head = picture("strip-head.png");
    EXPECT_EQ(head.pixelColor(100, 60), QColor(0x1d, 0x20, 0x26));
}

TEST_F(PictureTest, LightByDefault) {
    paintPreviews(12);
    view_->getConfig() = ScrubberConfig();
    view_->applyConfig();
    load(40);
    view_->toEvent(view_->getEvent(8), false);
    ui_.advance(50ms);
    cell(8)->startProgress(view_.get());
    double base = 0;
    double previous = 0;
    const auto event = view_->getEvent(8);
    cell(8)->advanceProgressTo(event->start() + 20'000, event->start(), event->end(), base, previous);
    ui_.advance(1100ms);
    const QImage light = picture("strip-light.png");
    EXPECT_EQ(light.pixelColor(400, 60), QColor(184, 36, 38));
    EXPECT_EQ(light.pixelColor(360, 92), QColor("#e5484d")) << "the bar of the playing cell";
}

}  // namespace
}  // namespace korvane::test
