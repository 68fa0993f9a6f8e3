#include <gtest/gtest.h>

#include "korvane/views/timeline/ScrubberConfig.h"

namespace korvane {
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

}  // namespace
}  // namespace korvane
