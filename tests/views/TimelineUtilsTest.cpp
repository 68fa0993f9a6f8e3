#include "korvane/views/timeline/Utils/TimelineUtils.h"

#include <gtest/gtest.h>

#include <tuple>

namespace korvane {
namespace {

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

}  // namespace
}  // namespace korvane
