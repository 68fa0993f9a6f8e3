#include <gtest/gtest.h>

#include <limits>

#include "base/UtcTime.h"
#include "views/timeline/Model/ReplyValues.h"
#include "views/timeline/Model/SaturatingTime.h"
#include "views/timeline/Model/TimelineSearch.h"
#include "views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {
namespace {

TEST(TimelineSearch, FindsThePeriodOrTheNextOne) {
    using Periods = std::vector<TimelinePair>;
    const Periods three = {{10, 20}, {30, 40}, {50, 60}};
    const Periods two = {{10, 20}, {30, 40}};
    const struct {
        std::optional<Periods> periods;
        std::int64_t time;
        std::int32_t index;
    } cases[] = {
        {std::nullopt, 5, -3},
        {Periods{}, 5, -3},
        {Periods{}, -1, -3},
        {three, 5, 0},
        {three, 15, 0},
        {three, 20, 0},
        {three, 25, 1},
        {three, 30, 1},
        {three, 45, 2},
        {three, 50, 2},
        {three, 70, 2},
        {three, -1, 0},
        {three, 101, 2},
        {two, 35, 1},
        {two, 25, 1},
        {two, 20, 0},
        {two, 90, 1},
        {two, 5, 0},
        {Periods{{10, 20}}, 90, 0},
    };
    EXPECT_EQ(indexElement(nullptr, 5), -3);
    for (const auto& c : cases) {
        Timeline timeline(0, 100);
        timeline.setPeriods(c.periods);
        EXPECT_EQ(indexElement(&timeline, c.time), c.index) << "time " << c.time;
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

TEST(ScrubberEvent, ResetBringsAllDefaultsBackAndLetsMembersGo) {
    const auto group = ScrubberEvent::build(3, 1000);
    const auto member = ScrubberEvent::build(4, 1000);
    group->setChilds({member});
    member->setParent(group);
    group->setTimezone("Asia/Tokyo");
    group->setName(std::nullopt);
    group->resetToDefault();

    const auto fields = group->fields();
    EXPECT_EQ(fields.type, ScrubberEventTypePending);
    EXPECT_EQ(fields.identificator, 0);
    EXPECT_EQ(fields.name, "");
    EXPECT_EQ(fields.timeAsValue, -1);
    EXPECT_EQ(fields.timezone, localTimeZoneName());
    EXPECT_EQ(group->childCount(), 0u);
    EXPECT_EQ(member.use_count(), 1);
    EXPECT_EQ(member->parent(), group);
}

TEST(SaturatingTime, StaysAtTheEndsOfTheRange) {
    constexpr TimeMs most = std::numeric_limits<TimeMs>::max();
    constexpr TimeMs least = std::numeric_limits<TimeMs>::min();
    EXPECT_EQ(saturatingAdd(most - 1, 5), most);
    EXPECT_EQ(saturatingAdd(least + 1, -5), least);
    EXPECT_EQ(saturatingAdd(-5, 5), 0);
    EXPECT_EQ(saturatingSubtract(most, -1), most);
    EXPECT_EQ(saturatingSubtract(least, 1), least);
}

TEST(ReplyValues, TakesIntegersInTheirUsualDisguises) {
    const struct {
        Reply value;
        std::optional<std::int64_t> integer;
    } cases[] = {
        {12, 12},
        {-3, -3},
        {"12", 12},
        {12.0, 12},
        {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::max()},
        {std::numeric_limits<std::uint64_t>::max(), std::nullopt},
        {1e300, std::nullopt},
        {12.5, std::nullopt},
        {"12x", std::nullopt},
        {"", std::nullopt},
        {"99999999999999999999", std::nullopt},
        {true, std::nullopt},
        {nullptr, std::nullopt},
        {Reply::array({12}), std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(integerValue(&c.value), c.integer) << c.value.dump();
    EXPECT_EQ(integerValue(nullptr), std::nullopt);
}

}  // namespace
}  // namespace korvane
