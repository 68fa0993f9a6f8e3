#include <gtest/gtest.h>

#include <cstdlib>

#include "korvane/tests/views/storm/Storm.h"

namespace korvane::test {
namespace {

// A sanitizer makes a step many times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint64_t seeds = 12;
#else
constexpr std::uint64_t seeds = 50;
#endif
constexpr int steps = 2'000;

class StormTest : public testing::TestWithParam<std::uint64_t> {};

TEST_P(StormTest, KeepsItsPromises) {
    EXPECT_EQ(Storm(GetParam()).run(steps), "");
}

/// KORVANE_STORM_FIRST_SEED tries other seeds than every run does.
std::uint64_t firstSeed() {
    const char* const given = std::getenv("KORVANE_STORM_FIRST_SEED");
    return given ? std::strtoull(given, nullptr, 10) : 1;
}

TEST_P(StormTest, TheTimelineKeepsThemToo) {
    EXPECT_EQ(Storm(GetParam(), Storm::Widget::Timeline).run(steps), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, StormTest, testing::Range<std::uint64_t>(firstSeed(), firstSeed() + seeds));

TEST(StormSeedTest, DoesTheSameAgain) {
    const auto digest = [] {
        Storm storm(7);
        storm.run(500);
        return storm.digest();
    };
    EXPECT_EQ(digest(), digest());
}

}  // namespace
}  // namespace korvane::test
