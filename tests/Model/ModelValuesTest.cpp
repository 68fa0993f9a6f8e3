#include <gtest/gtest.h>

#include <limits>

#include "views/timeline/Model/ReplyValues.h"
#include "views/timeline/Model/TimelineSearch.h"
#include "views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {
namespace {

TEST(TimelineSearch, FindsThePeriodOrTheNextOne) {
    using Periods = std::vector<TimelinePair>;
    const struct {
        std::optional<Periods> periods;
        std::vector<std::pair<std::int64_t, std::int32_t>> indexOfTime;
    } cases[] = {
        {std::nullopt, {{5, -3}, {-1, -3}}},
        {Periods{}, {{5, -3}, {101, -3}}},
        {Periods{{10, 20}}, {{5, 0}, {90, 0}}},
        {Periods{{10, 20}, {30, 40}}, {{5, 0}, {20, 0}, {25, 1}, {35, 1}, {90, 1}}},
        {Periods{{10, 20}, {30, 40}, {50, 60}},
         {{-1, 0}, {5, 0}, {15, 0}, {20, 0}, {25, 1}, {30, 1}, {45, 2}, {50, 2}, {70, 2}, {101, 2}}},
    };
    EXPECT_EQ(indexElement(nullptr, 5), -3);
    for (const auto& c : cases) {
        Timeline timeline(0, 100);
        timeline.setPeriods(c.periods);
        for (const auto& [time, index] : c.indexOfTime) EXPECT_EQ(indexElement(&timeline, time), index) << time;
    }
}

TEST(TimelineSearch, AgreesWithAWalkOverManyPeriods) {
    Timeline timeline(0, 10'000);
    std::vector<TimelinePair> periods;
    for (std::int64_t start = 7; start < 9'000; start += 13) periods.emplace_back(start, start + 6);
    timeline.setPeriods(periods);
    for (std::int64_t time = 0; time <= 10'000; ++time) {
        std::size_t expected = 0;
        while (expected + 1 < periods.size() && periods[expected].end() < time) ++expected;
        ASSERT_EQ(indexElement(&timeline, time), static_cast<std::int32_t>(expected)) << time;
    }
}

TEST(ScrubberEvent, IsBuiltLiveForTheUnsetTimeOnly) {
    const struct {
        TimeMs time;
        std::int32_t type;
        std::string text;
    } cases[] = {
        {-1, ScrubberEventTypeLive, ""},
        {0, ScrubberEventTypeItem, "1970-01-01T00:00:00.000Z"},
        {-2, ScrubberEventTypeItem, "1969-12-31T23:59:59.998Z"},
        {1'700'000'000'123, ScrubberEventTypeItem, "2023-11-14T22:13:20.123Z"},
    };
    for (const auto& c : cases) {
        const auto event = ScrubberEvent::build(12, c.time);
        EXPECT_EQ(event->type(), c.type);
        EXPECT_EQ(event->timeAsValue(), c.time);
        EXPECT_EQ(event->time(), c.text);
        EXPECT_EQ(event->identificator(), 12);
        EXPECT_EQ(ScrubberEvent::build(c.time)->identificator(), 0);
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
