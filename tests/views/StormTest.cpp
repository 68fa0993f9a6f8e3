#include <gtest/gtest.h>

#include "tests/views/storm/Storm.h"

namespace korvane::test {
namespace {

constexpr int steps = 2'000;

class StormTest : public testing::TestWithParam<std::uint64_t> {};

TEST_P(StormTest, KeepsItsPromises) {
    EXPECT_EQ(Storm(GetParam()).run(steps), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, StormTest, testing::Range<std::uint64_t>(1, 101));

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
