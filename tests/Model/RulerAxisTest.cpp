#include <gtest/gtest.h>

#include <tuple>

#include "korvane/views/timeline/Model/Ruler/RulerScales.h"
#include "korvane/views/timeline/Model/Ruler/RulerTicks.h"

namespace korvane {
namespace {

constexpr auto none = std::nullopt;

TEST(RulerWindow, TiesPointsToTimes) {
    const std::pair<double, TimeSec> touches[] = {{160, 1000}, {0, 840}, {319.9, 1159}, {159.1, 1000}};
    for (const auto& [x, time] : touches) EXPECT_EQ((RulerWindow{1000, 1, 320}.timeAt(x)), time) << x;
    const RulerWindow window{-7, 0.7F, 321.5};
    EXPECT_EQ(window.sector(), 218);
    EXPECT_EQ(window.left(), -7 - 109);
    EXPECT_EQ(window.right(), -7 + 109);
    EXPECT_EQ(window.knobX(-15), 101.0F / 0.7F);
    EXPECT_EQ(window.trackX(-15), 10 + 101.0F / 0.7F);
}

TEST(RulerWindow, KeepsSectorsInARange) {
    const std::optional<RulerRange> wide = RulerRange{1000, 5000}, narrow = RulerRange{1000, 1100};
    using Center = std::optional<TimeSec>;
    const std::tuple<TimeSec, std::optional<RulerRange>, Center, Center> rows[] = {
        {2000, none, 2310, 1690}, {2000, wide, 2310, 1690}, {4700, wide, 4845, 4390},
        {4845, wide, 4845, 4535}, {4846, wide, none, 4536}, {1155, wide, 1465, 1155},
        {1154, wide, 1464, none}, {1464, wide, 1774, 1155}, {1050, narrow, none, none}};
    for (const auto& [center, range, next, previous] : rows) {
        EXPECT_EQ((RulerWindow{center, 1, 320}.nextSector(range)), next) << center;
        EXPECT_EQ((RulerWindow{center, 1, 320}.prevSector(range)), previous) << center;
    }
    const std::pair<RulerRange, TimeSec> ranges[] = {{*narrow, 1050}, {*wide, 1155}, {{-3, 0}, -2}, {{9, 4}, 7}};
    for (const auto& [range, center] : ranges) EXPECT_EQ((RulerWindow{0, 1, 320}.centerFor(range)), center);
}

TEST(RulerTicks, StandOnMultiplesOfTheStep) {
    const std::tuple<RulerWindow, int, double, TimeSec, TimeSec> rows[] = {{{1155, 1, 320}, 6, 30, 1020, 60},
                                                                           {{1175, 1, 320}, 7, 70, 1080, 60},
                                                                           {{100'000, 20, 320}, 6, 25, 97'200, 1200},
                                                                           {{100'000, 120, 320}, 6, 52, 86'400, 7200},
                                                                           {{55, 1, 320}, 7, 110, 0, 60},
                                                                           {{1000, 0.7F, 320}, 6, 56, 924, 42},
                                                                           {{1000, 0.01F, 320}, 0, 0, 0, 0},
                                                                           {{1000, 1, 10}, 2, 30, 1020, 60}};
    for (const auto& [window, count, firstX, firstTime, step] : rows) {
        const RulerTicks ticks(window, {60, 0, 0});
        EXPECT_EQ(ticks.count(), count) << firstTime;
        for (int i = 1; i <= count; ++i) {
            EXPECT_EQ(ticks.tick(i).x, firstX + (i - 1) * 60) << firstTime;
            EXPECT_EQ(ticks.tick(i).time, firstTime + (i - 1) * step);
            EXPECT_EQ(ticks.tick(i).hasLine, ticks.tick(i).x <= window.width - 10) << firstTime;
        }
    }
}

TEST(RulerTicks, PlaceLabels) {
    const std::pair<RulerTickStyle, const char*> styles[] = {{{60, 0, 0}, "btbtbt"},
                                                             {{60, 1, 0}, "b-b-b-"},
                                                             {{60, 0, 2}, "bbbbbb"},
                                                             {{60, 2, 1}, "tttttt"},
                                                             {{60, 1, 9}, "t-t-t-"}};
    const RulerWindow window{1155, 1, 320};
    for (const auto& [style, expected] : styles) {
        std::string seen;
        for (int i = 1; i <= RulerTicks(window, style).count(); ++i) {
            const RulerTick tick = RulerTicks(window, style).tick(i);
            seen += !tick.hasLabel ? '-' : RulerTicks::labelY(tick.isLabelBelow, 40) == 32 ? 'b' : 't';
        }
        EXPECT_EQ(seen, expected);
    }
    EXPECT_EQ(RulerTicks({1155, 4, 320}, {0.5F, 0, 0}).count(), 0);
    const std::tuple<double, double, std::optional<double>> labels[] = {
        {150, 80, 110}, {307, 80, 230},  {309.5, 80, 230.5}, {310, 80, none},
        {310, 0, 310},  {400, 80, none}, {30, 80, 0}};
    for (const auto& [x, width, labelX] : labels)
        EXPECT_EQ(RulerTicks(window, {60, 0, 0}).labelX(x, width), labelX) << x;
}

TEST(RulerScales, TogglesCyclesAndIgnores) {
    using Scales = RulerScales;
    const std::tuple<int, int, int, int, std::optional<float>> rows[] = {{0, 0, 1, 0, 1.0F},   {1, 1, 2, 1, 20.0F},
                                                                         {2, 2, 0, 2, 120.0F}, {3, 0, 0, 9, 24.25F},
                                                                         {4, 0, 0, 4, none},   {-1, 0, 0, -1, none}};
    for (const auto& row : rows) {
        const int i = std::get<0>(row);
        EXPECT_EQ(
            std::tuple(i, Scales::toggled(i), Scales::next(i), Scales::previousRow(i, 9), Scales::scaleOf(i, 24.25F)),
            row);
    }
    EXPECT_EQ(Scales::rangeScale({100, 7300}, 320), 22.5F);
    EXPECT_EQ(Scales::rangeScale({100, 7300}, 0), 0);
}

}  // namespace
}  // namespace korvane
