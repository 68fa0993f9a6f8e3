#include <limits>
#include <random>

#include "korvane/base/SaturatingTime.h"
#include "korvane/base/UtcTime.h"
#include "korvane/tests/Model/DayTreeFixture.h"

namespace korvane::test {
namespace {

class DayTreeNumbering : public DayTreeTest {
  protected:
    using Random = std::mt19937;

    static TimeMs draw(Random& random, TimeMs below) {
        return static_cast<TimeMs>(random() % static_cast<std::uint64_t>(below));
    }

    // Days out of order and told twice, at the epoch and before it; periods that overlap, touch, are turned round or
    // have no length. Ascending and orderly when `isTidy`.
    static std::vector<ToldDay> drawTree(Random& random, bool isTidy) {
        const TimeMs first = random() % 8 == 0 ? -2 * dayMs : march1;
        std::vector<ToldDay> days(random() % 5);
        TimeMs next = first;
        for (std::size_t d = 0; d < days.size(); ++d) {
            const TimeMs begin = first + (isTidy ? static_cast<TimeMs>(d) : draw(random, 4)) * dayMs;
            days[d].date = formatUtc(begin).substr(0, 10);
            next = std::max(next, begin);
            for (auto count = random() % (random() % 8 == 0 ? 16 : 4); count > 0; --count) {
                const TimeMs start = isTidy ? next : begin + (draw(random, 7) - 1) * slice / 2;
                TimeMs length = draw(random, 4) * slice + (random() % 2 ? draw(random, slice) : 0);
                if (!isTidy && random() % 6 == 0) length = -length;
                days[d].periods.emplace_back(start, start + length);
                next = start + length + (random() % 2 ? draw(random, slice) : 0);
            }
        }
        return days;
    }

    // Each period in pieces of four minutes; one that has no length or is turned round stays whole.
    static Spans slicesOf(const std::vector<ToldDay>& days) {
        Spans slices;
        for (const auto& day : days) {
            for (auto [start, end] : day.periods) {
                const auto add = [&](TimeMs from, TimeMs to) {
                    slices.emplace_back(longLongValue(static_cast<double>(from)),
                                        longLongValue(static_cast<double>(to)));
                };
                for (; start < end && saturatingAdd(start, slice) < end; start += slice) add(start, start + slice);
                add(start, end);
            }
        }
        return slices;
    }

    static void addEvents(Random& random, ScrubberTimelineItem& timeline) {
        ScrubberTimelineItem::Events events(random() % 5);
        const TimeMs start = longLongValue(timeline.startDateTime());
        for (auto& event : events) {
            event.setDateTime(static_cast<double>(start + draw(random, 8) * slice / 2 - slice / 2));
            event.setName("event " + std::to_string(random() % 100));
        }
        timeline.addEvents(events);
    }

    // What a walk over days, timelines and segments gives for a segment.
    struct Walked {
        std::shared_ptr<ScrubberTimelineDayItem> day;
        std::shared_ptr<ScrubberTimelineItem> timeline;
        const ScrubberTimelineSegmentItem* segment = nullptr;
    };

    std::vector<Walked> walk() {
        std::vector<Walked> found;
        for (std::int64_t d = 0; const auto day = provider->getTimelineDayItemByIndex(d); ++d) {
            for (const auto& timeline : day->timelines()) {
                EXPECT_EQ(provider->getTimelineItemByIndex(timelines++), timeline);
                for (const auto& segment : timeline->segments()) found.push_back({day, timeline, &segment});
            }
        }
        EXPECT_EQ(provider->getTimelineItemByIndex(timelines), nullptr);
        EXPECT_EQ(provider->getTimelineItemByIndex(-1), nullptr);
        return found;
    }

    void expectEntry(std::int64_t index, const Walked& walked) {
        const auto event = entry(index);
        ASSERT_TRUE(event);
        const auto fields = event->fields();
        const auto [start, end] = spanOf(*walked.segment);
        EXPECT_EQ(std::tuple(fields.type, fields.identificator, fields.camid, fields.name, fields.timezone),
                  std::tuple(ScrubberEventTypeItem, index - 1, 7, "record_segment", "UTC"));
        EXPECT_EQ(std::tuple(fields.timeAsValue, fields.start, fields.end), std::tuple(start, start, end));
        std::vector<std::pair<TimeMs, std::string>> expected, childs;
        for (const auto& e : walked.timeline->events()) {
            const TimeMs time = longLongValue(e.dateTime());
            if (start <= time && time < end) expected.emplace_back(time, e.name());
        }
        for (const auto& c : fields.childs) childs.emplace_back(c->timeAsValue(), c->name().value_or("?"));
        EXPECT_EQ(childs, expected);
        const auto path = provider->getTimelineSegmentItemByIndex(index - 1);
        ASSERT_TRUE(path);
        EXPECT_EQ(std::tuple(path->day, path->timeline, path->segment.get()),
                  std::tuple(walked.day, walked.timeline, walked.segment));
    }

    std::shared_ptr<ScrubberEvent> entry(std::int64_t index) { return provider->OnScrubberGetEventByIndex(index); }

    // The searches against the plain ones, which make every entry.
    void expectSearches(Random& random, TimeMs position) {
        ScrubberEventQuery query{draw(random, 12) - 2, position, saturatingAdd(position, draw(random, slice * 2)),
                                 std::nullopt};
        if (random() % 4 == 0) query = {query.fromIndex, -dayMs, position, draw(random, 12) - 2};
        if (random() % 8 == 0) query.notBefore = std::numeric_limits<TimeMs>::min();
        expectPlainSearches(*provider, position, query);
    }

    std::int64_t timelines = 0;
};

TEST_F(DayTreeNumbering, EqualsAPlainWalkOverRandomTrees) {
    for (unsigned seed = 0; seed < roundsOf(2000) && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto days = drawTree(random, seed % 2 == 0);
        load(days);
        ASSERT_EQ(spansOf(*provider), slicesOf(days));
        timelines = 0;
        for (const auto& walked : walk()) {
            if (random() % 3 == 0) addEvents(random, *walked.timeline);
        }
        timelines = 0;
        const auto walked = walk();
        const auto count = static_cast<std::int64_t>(walked.size());
        ASSERT_EQ(provider->OnScrubberGetEventsCount(), count == 0 ? 0 : count + 2);
        for (const std::int64_t outside : {count + 2, count + 3, std::int64_t{-1}, std::int64_t{-2}}) {
            EXPECT_EQ(entry(outside), nullptr);
            EXPECT_FALSE(provider->getTimelineSegmentItemByIndex(outside < 0 ? outside : outside - 2));
        }
        expectSearches(random, -1);
        if (count == 0) {
            EXPECT_EQ(entry(0), nullptr);
            continue;
        }
        EXPECT_EQ(entry(0)->type(), ScrubberEventTypeHead);
        EXPECT_EQ(entry(count + 1)->type(), ScrubberEventTypeLive);
        for (std::int64_t k = 0; k < count; ++k) expectEntry(k + 1, walked[static_cast<std::size_t>(k)]);
        for (const auto& each : walked) {
            const auto [start, end] = spanOf(*each.segment);
            for (const TimeMs time : {start, end, start - 1, end - 1, end + 1, (start + end) / 2}) {
                if (random() % 8 == 0) expectSearches(random, time);
            }
        }
    }
}

TEST_F(DayTreeNumbering, SearchesEqualPlainOnesFarAndWide) {
    constexpr TimeMs least = std::numeric_limits<TimeMs>::min();
    constexpr TimeMs most = std::numeric_limits<TimeMs>::max();
    const std::vector<ToldDay> trees[] = {
        {{"2024-03-01", {{march1, march1 + 3 * dayMs}}}, {"2024-03-02", {{march1 + dayMs, march1 + dayMs + slice}}}},
        {{"2024-03-02", {{march1 + dayMs, march1 + dayMs + 1}}}, {"2024-03-01", {{march1 - dayMs, march1 + dayMs}}}},
        {{"2024-03-01", {{least, least + 500'000}, {0, 0}, {march1 + 10, march1}, {most - 500'000, most}}}},
        {{"2024-03-01", {{most - 500'000, most}, {march1, march1 + slice}}}, {"1970-01-01", {{-slice, 1}}}},
    };
    for (const auto& tree : trees) {
        SCOPED_TRACE(&tree - trees);
        load(tree);
        EXPECT_EQ(spansOf(*provider), slicesOf(tree));
        Random random;
        for (const TimeMs around : {least + 1, TimeMs{0}, march1, march1 + dayMs, march1 + 3 * dayMs, most - 1}) {
            for (const TimeMs beside : {-1, 0, 1}) expectSearches(random, around + beside);
        }
    }
}

TEST(DayTreeItems, ReadBoxedTimesAsIntegers) {
    const std::pair<double, TimeMs> cases[] = {
        {1.9, 1},
        {-1.9, -1},
        {1e300, std::numeric_limits<TimeMs>::max()},
        {-1e300, std::numeric_limits<TimeMs>::min()},
        {0x1p63, std::numeric_limits<TimeMs>::max()},
        {-0x1p63, std::numeric_limits<TimeMs>::min()},
        {std::numeric_limits<double>::quiet_NaN(), 0},
    };
    for (const auto& [boxed, read] : cases) EXPECT_EQ(longLongValue(boxed), read) << boxed;
}

}  // namespace
}  // namespace korvane::test
