#include <gtest/gtest.h>

#include <limits>

#include "korvane/views/timeline/Model/ReplyValues.h"
#include "korvane/views/timeline/Model/TimelineSearch.h"

namespace korvane {
namespace {

TEST(TimelineSearch, FindsThePeriodOfATimeOrTheNextOne) {
    Timeline timeline(0, 10'000);
    EXPECT_EQ(indexElement(nullptr, 5), -3);
    EXPECT_EQ(indexElement(&timeline, 5), -3);
    for (const std::size_t count : {0, 1, 2, 3, 4, 700}) {
        std::vector<TimelinePair> periods;
        for (std::size_t i = 0; i < count; ++i) {
            const auto start = static_cast<std::int64_t>(7 + i * 13);
            periods.emplace_back(start, start + 6);
        }
        timeline.setPeriods(periods);
        for (std::int64_t time = -1; time <= 10'001; ++time) {
            std::size_t expected = 0;
            while (expected + 1 < count && periods[expected].end() < time) ++expected;
            ASSERT_EQ(indexElement(&timeline, time), count == 0 ? -3 : static_cast<std::int32_t>(expected)) << time;
        }
    }
}

TEST(ReplyValues, TakesIntegersInTheirUsualDisguises) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    const std::pair<Reply, std::int64_t> integers[] = {{12, 12}, {-3, -3}, {"12", 12}, {12.0, 12}, {most, most}};
    for (const auto& [value, integer] : integers) EXPECT_EQ(integerValue(&value), integer) << value.dump();
    const Reply others = {~std::uint64_t{0}, 1e300, 12.5, "12x", "", "99999999999999999999", true, nullptr, {12}};
    for (const Reply& value : others) EXPECT_EQ(integerValue(&value), std::nullopt) << value.dump();
    EXPECT_EQ(integerValue(nullptr), std::nullopt);
}

}  // namespace
}  // namespace korvane
