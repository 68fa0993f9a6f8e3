#include <gtest/gtest.h>

#include <tuple>

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

}  // namespace
}  // namespace korvane::test
