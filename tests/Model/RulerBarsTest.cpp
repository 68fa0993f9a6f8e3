#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "korvane/views/timeline/Model/Ruler/RulerBars.h"
#include "korvane/views/timeline/Model/Ruler/RulerScales.h"
#include "korvane/views/timeline/Model/Ruler/RulerTicks.h"
#include "korvane/views/timeline/Model/Ruler/Truncated.h"

namespace korvane {
namespace {

using Bars = std::vector<RulerBar>;
using Periods = std::vector<TimelinePair>;

Timeline sectorOf(const Periods& periods, TimeSec start = -100, TimeSec end = 1'000'000) {
    Timeline sector(start, end);
    sector.setPeriods(periods);
    return sector;
}

Bars barsOf(const Timeline& sector, const RulerWindow& window, std::int32_t mode, float knobX) {
    Bars bars;
    RulerBars walk(&sector, window, mode, knobX);
    while (const auto bar = walk.next()) bars.push_back(*bar);
    return bars;
}

TEST(RulerBars, PaintsOnePeriodByItsPlace) {
    const RulerWindow window{1000, 1, 320};
    struct Row {
        TimeSec start, end;
        float x0, x1, playedX1;
    };
    const Row rows[] = {{900, 1000, 65, 155, 100}, {900, 905, 65, 66, 66},    {900, 910, 65, 66, 66},
                        {800, 1000, 10, 155, 100}, {845, 1000, 10, 155, 100}, {800, 850, 10, 11, 11},
                        {1000, 1155, 165, 310, 0}, {1000, 1200, 165, 310, 0}, {1145, 1200, 309, 310, 0},
                        {1150, 1154, 315, 316, 0}, {800, 1200, 10, 310, 100}, {935, 1000, 100, 155, 100},
                        {845, 1155, 0, 0, 0},      {845, 1200, 0, 0, 0},      {800, 1155, 0, 0, 0},
                        {800, 845, 0, 0, 0},       {1155, 1200, 0, 0, 0}};
    for (const auto& [start, end, x0, x1, playedX1] : rows) {
        const Timeline period = sectorOf({{start, end}});
        EXPECT_EQ(barsOf(period, window, 0, 100), Bars(x1 > 0 ? 1 : 0, {x0, x1})) << start << "-" << end;
        EXPECT_EQ(barsOf(period, window, 1, 100), Bars(playedX1 > 0 ? 1 : 0, {x0, playedX1})) << start << "-" << end;
        EXPECT_EQ(barsOf(period, window, 1, 0), Bars{}) << start << "-" << end;
    }
    EXPECT_EQ(barsOf(sectorOf({{846, 846}, {847, 850}}), window, 0, 0), (Bars{{11, 12}, {12, 13}}));
    EXPECT_EQ(barsOf(sectorOf({{900, 921}}), {1000, 2, 320}, 0, 0), (Bars{{115, 115.5}}));
    EXPECT_EQ(barsOf(sectorOf({{800, 1000}}, 0, 845), window, 0, 0), Bars{});
    EXPECT_EQ(RulerBars(nullptr, window, 0, 0).next(), std::nullopt);
}

Bars unionOf(Bars bars) {
    std::sort(bars.begin(), bars.end(), [](const RulerBar& a, const RulerBar& b) { return a.x0 < b.x0; });
    Bars joined;
    for (const RulerBar& bar : bars) {
        if (joined.empty() || bar.x0 > joined.back().x1) joined.push_back(bar);
        joined.back().x1 = std::max(joined.back().x1, bar.x1);
    }
    return joined;
}

TEST(RulerBars, JoinedCoverWhatSingleBarsCover) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        std::mt19937 random(seed);
        const auto draw = [&](TimeSec most) { return std::uniform_int_distribution<TimeSec>(0, most)(random); };
        RulerWindow window{0, 1 + static_cast<float>(draw(3900)) / 100, 12 + static_cast<double>(draw(1000)) / 10};
        const auto longest = static_cast<TimeSec>(12 * window.pix_scale);
        const TimeSec widestGap = draw(3) == 0 ? longest : 2;
        Periods periods(1000);
        for (TimeSec time = 0; TimelinePair & period : periods) {
            period.setStart(time + draw(draw(40) == 0 ? widestGap : 2));
            time = period.start() + draw(draw(40) == 0 ? longest : 2);
            period.setEnd(time);
        }
        const TimelinePair& edge = periods[static_cast<std::size_t>(draw(999))];
        window.center_time = (draw(1) == 0 ? edge.start() : edge.end()) + (draw(2) - 1) * (window.sector() / 2);
        const auto mode = static_cast<std::int32_t>(draw(1));
        const auto knobX = static_cast<float>(draw(120));

        Bars singles;
        for (const TimelinePair& period : periods) {
            for (const RulerBar& bar : barsOf(sectorOf({period}), window, mode, knobX)) singles.push_back(bar);
        }
        const Bars bars = barsOf(sectorOf(periods), window, mode, knobX);
        ASSERT_EQ(unionOf(bars), unionOf(singles)) << seed;
        ASSERT_LE(static_cast<double>(bars.size()), std::max(64.0, window.drawableWidth()) + 13) << seed;
    }
}

TEST(Ruler, StaysFiniteAndEndsWithOddInput) {
    constexpr TimeSec most = INT64_MAX;
    const double reals[] = {0,   10.5,   -1,   1,     0.3,  12,  310,      1e-45,    -1e-300,
                            1e9, -1e300, 3e38, -2e19, 1e18, NAN, INFINITY, -INFINITY};
    const TimeSec times[] = {INT64_MIN, most, 0, -1, 1, 7, -20, most / 2, -10'800, 1'600'000'000};
    for (unsigned seed = 0; seed < 10'000; ++seed) {
        std::mt19937 random(seed);
        const auto real = [&] { return reals[random() % std::size(reals)]; };
        const auto time = [&] { return times[random() % std::size(times)]; };
        const bool isPlain = random() % 2 == 0;
        const RulerWindow window = isPlain ? RulerWindow{0, 1, 22} : RulerWindow{time(), narrowed(real()), real()};

        const RulerRange range{time(), time()};
        ASSERT_TRUE(window.left() <= window.center_time && window.center_time <= window.right()) << seed;
        ASSERT_TRUE(window.prevSector({}) <= window.center_time && window.center_time <= window.nextSector({})) << seed;
        ASSERT_TRUE(window.nextSector(range).value_or(range.end_range) <= range.end_range) << seed;
        ASSERT_TRUE(range.length() < 0 || range.contains(window.centerFor(range))) << seed;
        ASSERT_TRUE(std::isfinite(window.trackX(time()) + window.knobX(time()))) << seed;
        ASSERT_TRUE(window.scale() == 0 || window.timeAt(-INFINITY) <= window.timeAt(real())) << seed;
        const float fitting = RulerScales::rangeScale(range, real());
        ASSERT_TRUE(fitting >= 0 && std::isfinite(fitting)) << seed;

        const RulerTicks ticks(window, {narrowed(real()), 0, 0});
        ASSERT_LE(ticks.count(), window.drawableWidth() + 3) << seed;
        ASSERT_FALSE(ticks.tick(0).hasLabel || ticks.tick(ticks.count() + 1).hasLabel) << seed;
        for (int i = 1; i <= ticks.count(); i += 1 + ticks.count() / 50) {
            const RulerTick tick = ticks.tick(i);
            ASSERT_TRUE(i == 1 || tick.time > ticks.tick(1).time) << seed;
            ASSERT_TRUE(std::isfinite(tick.x + ticks.labelX(tick.x, real()).value_or(0))) << seed;
        }

        Periods periods(random() % 60);
        for (TimelinePair& period : periods)
            period = {time() % (isPlain ? 40 : most), time() % (random() % 2 == 0 ? 40 : most)};
        const Timeline sector = sectorOf(periods, time(), time());
        const Bars bars = barsOf(sector, window, static_cast<std::int32_t>(random() % 2), narrowed(real()));
        ASSERT_LE(bars.size(), periods.size()) << seed;
        for (const RulerBar& bar : bars) ASSERT_TRUE(0 <= bar.x0 && bar.x0 <= bar.x1 && std::isfinite(bar.x1)) << seed;
    }
}

}  // namespace
}  // namespace korvane
