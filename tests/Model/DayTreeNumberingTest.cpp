#include <algorithm>
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
    static constexpr TimeMs least = std::numeric_limits<TimeMs>::min();
    static constexpr TimeMs most = std::numeric_limits<TimeMs>::max();
    static constexpr Span ends[] = {{least, least + 500'000}, {most - 500'000, most}, {most, march1}, {0, 0}};

    static TimeMs draw(Random& random, TimeMs below) {
        return static_cast<TimeMs>(random() % static_cast<std::uint64_t>(below));
    }

    // Days out of order and told twice, at the epoch and before it; periods that overlap, touch, are turned round, have
    // no length or lie where time ends. Ascending and orderly when `isTidy`.
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
                if (!isTidy && random() % 8 == 0) days[d].periods.back() = ends[random() % std::size(ends)];
                // A gap or an overlap of a second, as neighbours of one recording have, or any gap.
                next = start + length + (random() % 2 ? draw(random, slice) : draw(random, 2003) - 1001);
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
            event.setDateTime(static_cast<double>(saturatingAdd(start, draw(random, 8) * slice / 2 - slice / 2)));
            event.setName("event " + std::to_string(random() % 100));
        }
        timeline.addEvents(events);
    }

    void expectEntry(std::int64_t index, const ScrubberTimelineSegmentPath& path, const Span& span) {
        const auto fields = entry(index)->fields();
        EXPECT_EQ(std::tuple(fields.identificator, fields.camid, fields.name, fields.timezone),
                  std::tuple(index - 1, 7, "record_segment", "UTC"));
        EXPECT_EQ(std::tuple(fields.timeAsValue, Span(fields.start, fields.end), spanOf(*path.segment)),
                  std::tuple(span.first, span, span));
        std::vector<std::pair<TimeMs, std::string>> expected, childs;
        for (const auto& e : path.timeline->events()) {
            const TimeMs time = longLongValue(e.dateTime());
            if (span.first <= time && time < span.second) expected.emplace_back(time, e.name());
        }
        for (const auto& c : fields.childs) childs.emplace_back(c->timeAsValue(), c->name().value_or("?"));
        EXPECT_EQ(childs, expected);
        EXPECT_EQ(path.segment.get(), &path.timeline->segments()[path.indexInTimeline]);
        EXPECT_EQ(std::ranges::count(path.day->timelines(), path.timeline), 1);
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
};

TEST_F(DayTreeNumbering, EqualsAPlainWalkOverRandomTrees) {
    for (unsigned seed = 0; seed < roundsOf(2000) && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto days = drawTree(random, seed % 2 == 0);
        load(days);
        const auto slices = slicesOf(days);
        const auto count = static_cast<std::int64_t>(slices.size());
        std::int64_t timelines = 0;
        for (; const auto timeline = provider->getTimelineItemByIndex(timelines); ++timelines) {
            if (random() % 3 == 0) addEvents(random, *timeline);
        }
        for (const auto& day : days) timelines -= static_cast<std::int64_t>(day.periods.size());
        EXPECT_EQ(timelines, 0);
        EXPECT_EQ(provider->getTimelineItemByIndex(-1), nullptr);
        const std::int64_t all = count == 0 ? 0 : count + 2;
        ASSERT_EQ(provider->OnScrubberGetEventsCount(), all);
        for (std::int64_t i = -2; i <= count + 3; ++i) {
            const auto span = provider->OnScrubberGetEventSpanByIndex(i);
            const auto event = entry(i);
            ASSERT_EQ(std::pair(event != nullptr, span.has_value()), std::pair(i >= 0 && i < all, i >= 0 && i < all));
            const auto path = provider->getTimelineSegmentItemByIndex(i - 1);
            ASSERT_EQ(path.has_value(), i > 0 && i <= count);
            if (path) expectEntry(i, *path, slices[static_cast<std::size_t>(i - 1)]);
            if (!event) continue;
            EXPECT_EQ(std::tuple(span->type, span->timeAsValue, span->start, span->end),
                      std::tuple(event->type(), event->timeAsValue(), event->start(), event->end()));
            EXPECT_EQ(span->type, i == 0         ? ScrubberEventTypeHead
                                  : i == all - 1 ? ScrubberEventTypeLive
                                                 : ScrubberEventTypeItem);
        }
        for (const TimeMs time : {TimeMs{-1}, least + 1, most - 1, TimeMs{0}, march1}) expectSearches(random, time);
        for (const auto& [start, end] : slices) {
            for (const TimeMs beside : {TimeMs{-1}, TimeMs{0}, TimeMs{1}, draw(random, slice)}) {
                if (random() % 8 == 0) expectSearches(random, saturatingAdd(random() % 2 ? start : end, beside));
            }
        }
    }
}

// Looked up with the tree, and with each tree anew.
TEST_F(DayTreeNumbering, EntriesTakeOnTheZoneOfTheDeviceAsTheTreeFoundIt) {
    const char* const before = std::getenv("TZ");
    const std::string kept = before ? before : "";
    for (const std::string zone : {"Europe/Berlin", "Asia/Tokyo"}) {
        setenv("TZ", zone.c_str(), 1);
        load({{"2024-03-01", {{march1, march1 + slice}}}});
        setenv("TZ", "America/New_York", 1);
        ScrubberTimelineItem::Events events(1);
        events[0].setDateTime(static_cast<double>(march1));
        provider->getTimelineItemByIndex(0)->setEvents(events);
        for (const auto& event : {entry(0), entry(1)->childs().at(0), entry(2)}) EXPECT_EQ(event->timezone(), zone);
        EXPECT_EQ(entry(1)->timezone(), "UTC");
    }
    before ? setenv("TZ", kept.c_str(), 1) : unsetenv("TZ");
}

}  // namespace
}  // namespace korvane::test
