#include <tuple>

#include "korvane/tests/views/StripFixture.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/views/timeline/ScrubberConfig.h"
#include "korvane/views/timeline/Utils/TimelineUtils.h"

namespace korvane::test {
namespace {

TEST(ConfigTest, CopyTakesEverythingButTheZone) {
    EXPECT_EQ(ScrubberConfig::makeCopy(nullptr), ScrubberConfig());

    ScrubberConfig config;
    config.setCellWidth(99);
    config.setEventGrouping(true);
    config.setScrubberApiPort(8080);
    config.setEventTypeImages(QHash<QString, QImage>{{"motion", QImage(4, 4, QImage::Format_ARGB32)}});
    config.setDateTimeZone("Asia/Tokyo");
    const ScrubberConfig copy = ScrubberConfig::makeCopy(&config);
    EXPECT_NE(copy, config);
    config.setDateTimeZone(ScrubberConfig().dateTimeZone());
    EXPECT_EQ(copy, config);

    config.resetToDefault();
    EXPECT_EQ(config, ScrubberConfig());
}

TEST(TimelineUtilsTest, ReadsColorsAsTheWidgetsWriteThem) {
    const std::tuple<const char*, double, QColor> cases[] = {
        {"#fff", 0.5, QColor::fromRgbF(1, 1, 1, 0.5F)},
        {"a1B", 1.0, QColor(0xaa, 0x11, 0xbb)},
        {"#333333", 1.0, QColor(0x33, 0x33, 0x33)},
        {"11223344", 0.25, QColor::fromRgbF(0x11 / 255.0F, 0x22 / 255.0F, 0x33 / 255.0F, 0.25F)},
        {"##12#34#56", 1.0, QColor(0x12, 0x34, 0x56)},
        {"12345", 1.0, QColor(0x00, 0x01, 0x23)},
        {"11223344zz", 1.0, QColor(0x11, 0x22, 0x33)},
        {"112233445566", 1.0, QColor(0xff, 0xff, 0xff)},
        {"", 1.0, QColor(0, 0, 0)},
        {"nonsense", 1.0, QColor(0, 0, 0)},
    };
    for (const auto& [text, alpha, color] : cases)
        EXPECT_EQ(TimelineUtils::colorFromHexString(text, alpha), color) << text;
}

TEST(TimelineUtilsTest, DrawsAnEmojiInTheMiddleOfATransparentSquare) {
    const QImage image = TimelineUtils::emojiToImage("O", 40, 20);
    ASSERT_EQ(image.deviceIndependentSize(), QSizeF(40, 40));
    QRect inked;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) inked |= QRect(x, y, 1, 1);
        }
    }
    ASSERT_FALSE(inked.isEmpty());
    EXPECT_NEAR(inked.center().x(), 20, 1.5);
    EXPECT_NEAR(inked.center().y(), 20, 4);
    for (const double side : {0.0, -1.0, 1e9}) EXPECT_TRUE(TimelineUtils::emojiToImage("O", side, 20).isNull());
}

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
