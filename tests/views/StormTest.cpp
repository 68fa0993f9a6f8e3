#include "korvane/tests/support/service/Seeds.h"
#include "korvane/tests/views/storm/Storm.h"

namespace korvane::test {
namespace {

constexpr int steps = 2'000;

class StormTest : public testing::TestWithParam<unsigned> {};

TEST_P(StormTest, KeepsItsPromises) {
    EXPECT_EQ(Storm(GetParam()).run(steps), "");
}

TEST_P(StormTest, TheTimelineKeepsThemToo) {
    EXPECT_EQ(Storm(GetParam(), Storm::Widget::Timeline).run(steps), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, StormTest, stormSeeds(28));

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
