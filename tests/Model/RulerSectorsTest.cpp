#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "korvane/base/Log.h"
#include "korvane/views/timeline/Model/TimelineSearch.h"

namespace korvane {
namespace {

using Periods = std::vector<TimelinePair>;
using Starts = std::vector<TimeSec>;
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
    Starts drain() {
        Starts starts;
        while (const auto request = sectors.next()) {
            starts.push_back(request->start);
            sectors.giveUp(*request);
            EXPECT_EQ(sectors.state(request->start), RulerSectorState::Unknown);
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
        Starts queued;
    };
    const Case cases[] = {{sector, 2 * sector, {sector}},
                          {5000, 6000, {}},
                          {sector, 12'000, {sector}},
                          {5000, 30'000, {0, sector}},
                          {0, 0, {0}},
                          {2 * sector, sector, {}},
                          {-5, 5, {}},
                          {-sector, -5, {-sector}},
                          {-sector - 1, sector, {-sector, 0}},
                          {0, -5, {0}}};
    for (const auto& [start, end, queued] : cases) {
        EXPECT_EQ(sectors.updateTimeline(start, end), queued.size()) << start << " " << end;
        EXPECT_EQ(sectors.updateTimeline(start, end), 0u) << "it is in the queue";
        EXPECT_EQ(drain(), queued) << start << " " << end;
    }
    EXPECT_EQ(logged, 0);
    constexpr auto most = std::numeric_limits<TimeSec>::max();
    constexpr auto least = std::numeric_limits<TimeSec>::min();
    for (const TimeSec start : {least, TimeSec{0}}) {
        EXPECT_EQ(sectors.updateTimeline(start, most), static_cast<std::size_t>(RulerSectors::mostSectorsAtOnce));
        EXPECT_EQ(drain().front(), start / sector * sector);
    }
    EXPECT_EQ(logged, 2);
    EXPECT_EQ((RulerSectors::Request{most / sector * sector}.endMs()), most);
    EXPECT_EQ((RulerSectors::Request{least / sector * sector}.startMs()), least);
}

TEST_F(RulerSectorsTest, WhatIsRecordedStaysRecorded) {
    for (std::uint32_t seed = 0; seed < 500; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](std::uint32_t n) { return static_cast<TimeMs>(random() % n) * 1000; };
        const bool isOrderly = seed % 4 == 0;
        Periods given;
        for (TimeMs end = 0; given.size() < 1 + seed % 6;) {
            const TimeMs start = isOrderly ? end + below(5) : below(60) - 9000;
            end = isOrderly ? start + below(5) : below(60) - 9000;
            given.emplace_back(start, end);
        }
        logged = 0;
        ASSERT_TRUE(answer(0, timelineOf(0, given)));
        const auto kept = sectors.snapshot()->at(0);
        ASSERT_TRUE(!isOrderly || (logged == 0 && kept->periods()->size() == given.size())) << seed;
        for (TimeSec time = -20; time < 60; ++time) {
            const bool isRecorded = std::ranges::any_of(given, [time](const TimelinePair& p) {
                const auto [from, to] = std::minmax({p.start(), p.end()});
                return from <= time * 1000 && time * 1000 <= to;
            });
            const auto holds = [time](const TimelinePair& p) { return p.start() <= time && time <= p.end(); };
            ASSERT_EQ(std::ranges::any_of(*kept->periods(), holds), isRecorded) << seed << " at " << time;
            const auto found = static_cast<std::size_t>(indexElement(kept.get(), time));
            ASSERT_TRUE(time < 0 || !isRecorded || holds(kept->periods()->at(found))) << seed << " at " << time;
        }
        const auto overlap = [](const TimelinePair& a, const TimelinePair& b) { return a.end() > b.start(); };
        ASSERT_EQ(std::ranges::adjacent_find(*kept->periods(), overlap), kept->periods()->end()) << seed;
    }
}

TEST_F(RulerSectorsTest, WhatHasBeenFlownOverMayBeAskedForAgain) {
    sectors.updateTimeline(0, 600 * sector);
    sectors.dropOutside(500 * sector, 502 * sector);
    EXPECT_EQ(sectors.updateTimeline(400 * sector, 401 * sector), 1u);
    EXPECT_EQ(drain(), (Starts{0, 500 * sector, 501 * sector, 502 * sector, 400 * sector}));
}

}  // namespace
}  // namespace korvane
