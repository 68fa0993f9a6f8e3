#include "korvane/base/Base64Url.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

TEST(Base64Url, RoundTripsAllLengthsAndRefusesTheRest) {
    std::string bytes;
    for (int i = 0; i < 260; ++i) {
        const auto decoded = decodeBase64Url(encodeBase64Url(bytes));
        ASSERT_TRUE(decoded);
        ASSERT_EQ(*decoded, bytes);
        bytes += static_cast<char>(i * 37);
    }
    EXPECT_EQ(encodeBase64Url("\xfb\xff"), "-_8");
    for (const char* bad : {"A", "AA==", "A+A/", "AAAAA", "A A", "AA\n"}) EXPECT_FALSE(decodeBase64Url(bad)) << bad;
}

}  // namespace
}  // namespace korvane
