#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "korvane/base/Log.h"
#include "korvane/views/timeline/Model/TimelineSearch.h"

namespace korvane {
namespace {

using Periods = std::vector<TimelinePair>;
constexpr TimeSec sector = RulerSectors::sectorLength;

std::shared_ptr<Timeline> timelineOf(TimeMs start, std::optional<Periods> periods) {
    auto timeline = std::make_shared<Timeline>(start, start + sector * 1000);
    timeline->setPeriods(std::move(periods));
    return timeline;
}

class RulerSectorsTest : public testing::Test {
  protected:
    RulerSectorsTest() {
        setLogSink([this](std::string_view) { ++logged; });
    }
    ~RulerSectorsTest() override { setLogSink({}); }

    /// All that is queued, which leaves the queue.
    std::vector<TimeSec> drain() {
        std::vector<TimeSec> starts;
        while (const auto request = sectors.next()) {
            starts.push_back(request->start);
            sectors.giveUp(*request);
        }
        return starts;
    }

    bool answer(TimeSec start, const std::shared_ptr<Timeline>& timeline) {
        sectors.updateTimeline(start, start);
        return sectors.answer(*sectors.next(), timeline);
    }

    int logged = 0;
    RulerSectors sectors;
};

TEST_F(RulerSectorsTest, WhichSectorsASpanAsksFor) {
    struct Case {
        TimeSec start, end;
        std::vector<TimeSec> queued;
    };
    const Case cases[] = {{sector, 2 * sector, {sector}},
                          {5000, 6000, {}},
                          {sector, 12'000, {sector}},
                          {5000, 30'000, {0, sector}},
                          {0, 0, {0}},
                          {2 * sector, sector, {}},
                          {2 * sector, 5, {}},
                          {-5, 5, {}},
                          {-sector, -5, {-sector}},
                          {-sector - 1, sector, {-sector, 0}},
                          {0, -5, {0}},
                          {sector, 2 * sector + 9, {sector}},
                          {0, 3 * sector, {0, sector, 2 * sector}}};
    for (const auto& [start, end, queued] : cases) {
        EXPECT_EQ(sectors.updateTimeline(start, end), queued.size()) << start << " " << end;
        EXPECT_EQ(sectors.updateTimeline(start, end), 0u) << "it is in the queue";
        EXPECT_EQ(drain(), queued) << start << " " << end;
    }
    EXPECT_EQ(logged, 0);
    constexpr auto most = std::numeric_limits<TimeSec>::max();
    constexpr auto least = std::numeric_limits<TimeSec>::min();
    for (const auto& [start, end] :
         {std::pair(least, most), std::pair(TimeSec{0}, most), std::pair(least, TimeSec{0})}) {
        logged = 0;
        sectors.updateTimeline(start, end);
        const auto queued = drain();
        EXPECT_EQ(queued.size(), static_cast<std::size_t>(RulerSectors::mostSectorsAtOnce));
        EXPECT_EQ(queued.front(), start / sector * sector);
        EXPECT_EQ(logged, 1);
    }
    const RulerSectors::Request last{most / sector * sector}, first{least / sector * sector}, usual{-sector};
    EXPECT_EQ(last.endMs(), most);
    EXPECT_EQ(first.startMs(), least);
    EXPECT_EQ(std::pair(usual.startMs(), usual.endMs()), std::pair(TimeMs{-10'800'000}, TimeMs{0}));
}

TEST_F(RulerSectorsTest, WhatAnAnswerLeaves) {
    using State = RulerSectorState;
    const auto recorded = timelineOf(0, Periods{{-1999, 1999}, {3000, 4001}});
    const auto foreign = timelineOf(sector * 1000 + 1, Periods{{sector * 1000, sector * 1000}});
    struct Case {
        std::shared_ptr<Timeline> timeline;
        bool isStored, isFree;
        State ofAsked, ofNext;
    };
    const Case cases[] = {{nullptr, false, true, State::Failed, State::Unknown},
                          {timelineOf(0, std::nullopt), false, true, State::Empty, State::Unknown},
                          {timelineOf(0, Periods()), false, true, State::Empty, State::Unknown},
                          {timelineOf(sector * 1000, Periods()), false, false, State::Unknown, State::Empty},
                          {recorded, true, true, State::Recorded, State::Unknown},
                          {foreign, true, false, State::Unknown, State::Recorded}};
    for (const auto& [timeline, isStored, isFree, ofAsked, ofNext] : cases) {
        SCOPED_TRACE(&timeline - &cases[0].timeline);
        sectors.clear();
        EXPECT_EQ(sectors.state(0), State::Unknown);
        EXPECT_EQ(answer(0, timeline), isStored);
        EXPECT_EQ(std::pair(sectors.state(0), sectors.state(sector)), std::pair(ofAsked, ofNext));
        EXPECT_EQ(sectors.snapshot()->size(), isStored ? 1u : 0u);
        EXPECT_EQ(sectors.updateTimeline(0, 0), isFree ? 1u : 0u);
        const State asking = isStored ? ofAsked : State::Loading;
        EXPECT_EQ(sectors.state(0), isFree ? asking : ofAsked);
        // The window's end is a sector: the next one is free, queued for its own sake, and stays so.
        EXPECT_EQ(sectors.updateTimeline(sector, 2 * sector), 1u);
        if (isFree) sectors.answer(*sectors.next(), foreign);
        EXPECT_EQ(sectors.updateTimeline(sector, 2 * sector), 0u);
    }
    sectors.clear();
    answer(0, recorded);
    const auto kept = sectors.snapshot()->at(0);
    EXPECT_EQ(*kept->periods(), (Periods{{-1, 1}, {3, 4}}));
    EXPECT_EQ(kept->end(), sector);
    EXPECT_EQ(recorded->end(), sector * 1000) << "the source's own";
}

TEST_F(RulerSectorsTest, SnapshotsStandStill) {
    const auto recorded = timelineOf(0, Periods{{1, 2}});
    answer(0, recorded);
    const auto* page = sectors.snapshot().get();
    answer(sector, timelineOf(sector * 1000, Periods{{1, 2}}));
    EXPECT_EQ(sectors.snapshot().get(), page) << "nobody reads: nothing is copied";
    const auto held = sectors.snapshot();
    answer(2 * sector, timelineOf(2 * sector * 1000, Periods{{1, 2}}));
    EXPECT_EQ(std::pair(held->size(), sectors.snapshot()->size()), std::pair(std::size_t{2}, std::size_t{3}));
    sectors.updateTimeline(0, 0);
    const auto request = *sectors.next();
    sectors.clear();
    sectors.updateTimeline(0, 0);
    EXPECT_FALSE(sectors.answer(request, recorded)) << "asked for before";
    sectors.giveUp(request);
    EXPECT_EQ(std::pair(held->size(), sectors.snapshot()->size()), std::pair(std::size_t{2}, std::size_t{0}));
    EXPECT_EQ(drain(), std::vector<TimeSec>{0});
}

TEST_F(RulerSectorsTest, WhatIsRecordedStaysRecorded) {
    constexpr TimeSec longest = 60;
    for (std::uint32_t seed = 0; seed < 500; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](TimeSec n) { return static_cast<TimeSec>(random() % static_cast<std::uint32_t>(n)); };
        const bool isOrderly = seed % 4 == 0;
        Periods given;
        TimeSec at = -9;
        for (TimeSec i = 0, count = 1 + below(6); i < count; ++i) {
            at = isOrderly ? at + below(5) : below(longest) - 9;
            const TimeSec end = isOrderly ? at + below(4) : below(longest) - 9;
            given.emplace_back(at * 1000, end * 1000);
            if (isOrderly) at = end;
        }
        auto timeline = timelineOf(0, given);
        timeline->setEnd((longest - 20) * 1000);
        logged = 0;
        ASSERT_TRUE(answer(0, timeline));
        const auto kept = sectors.snapshot()->at(0);
        ASSERT_TRUE(!isOrderly || kept->periods()->size() == given.size());
        ASSERT_LE(logged, isOrderly ? 0 : 1);
        for (TimeSec time = -20; time < longest; ++time) {
            const auto holds = [&](const Periods& periods, TimeSec unit) {
                return std::ranges::any_of(periods, [&](const TimelinePair& p) {
                    const auto [from, to] = std::minmax(p.start(), p.end());
                    return from <= time * unit && time * unit <= to;
                });
            };
            ASSERT_EQ(holds(*kept->periods(), 1), holds(given, 1000)) << seed << " at " << time;
            if (time < kept->start() || time > kept->end()) continue;
            std::size_t expected = 0;
            while (expected + 1 < kept->periods()->size() && (*kept->periods())[expected].end() < time) ++expected;
            const auto found = static_cast<std::size_t>(indexElement(kept.get(), time));
            const TimelinePair& period = (*kept->periods())[found];
            // Of two that touch, either holds the second.
            const bool isHit = period.start() <= time && time <= period.end();
            ASSERT_TRUE(found == expected || isHit) << seed << " at " << time;
        }
    }
}

}  // namespace
}  // namespace korvane
