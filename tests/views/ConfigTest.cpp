#include <gtest/gtest.h>

#include "korvane/views/timeline/ScrubberConfig.h"

namespace korvane {
namespace {

TEST(ConfigTest, ProtocolDefaultsBringTheirPort) {
    struct Case {
        std::int32_t defaults;
        std::int32_t type;
        std::int32_t port;
        const char* text;
    };
    const Case cases[] = {{0, 0, 80, "http"}, {1, 1, 443, "https"}, {2, 1, 8443, "https"}, {-1, 1, 8443, "https"}};
    for (const Case& c : cases) {
        ScrubberConfig config;
        config.setScrubberApiPort(8443);
        config.setScrubberApiProtocolDefaults(c.defaults);
        EXPECT_EQ(config.getScrubberApiProtocolType(), c.type) << c.defaults;
        EXPECT_EQ(config.getScrubberApiPort(), c.port) << c.defaults;
        EXPECT_EQ(config.getScrubberApiProtocolAsString(), c.text) << c.defaults;
    }
    ScrubberConfig odd;
    odd.setScrubberApiProtocolType(7);
    EXPECT_EQ(odd.getScrubberApiProtocolAsString(), "https");
    EXPECT_EQ(odd.getScrubberApiPort(), 443);
}

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
