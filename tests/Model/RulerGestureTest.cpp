#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <tuple>

#include "korvane/views/timeline/Model/Ruler/RulerGesture.h"

namespace korvane {
namespace {

std::string told(const RulerGestureStep& step) {
    std::ostringstream out;
    if (step.center_time) out << "at " << *step.center_time << " ";
    if (step.trace) out << step.trace->text << step.trace->time.value_or(0) << step.trace->tail << " ";
    if (step.trackingMode) out << (*step.trackingMode ? "track " : "follow ");
    const std::pair<char, std::optional<RulerPosition>> positions[] = {
        {'s', step.startPosition}, {'c', step.continuePosition}, {'e', step.endPosition}};
    for (const auto& [call, position] : positions) {
        if (position) out << call << position->time << "@" << position->x << " ";
    }
    return out.str();
}

TEST(RulerGesture, HitsTheKnobInItsBox) {
    const std::pair<Point, bool> touches[] = {{{91, 20}, true},    {{90, 20}, true},    {{89.9, 20}, false},
                                              {{104.9, 20}, true}, {{105, 20}, false},  {{100, 10}, true},
                                              {{100, 9.9}, false}, {{100, 24.9}, true}, {{100, 25}, false}};
    for (const auto& [at, isHit] : touches) {
        RulerGesture gesture;
        EXPECT_EQ(told(gesture.begin(at, {100, 20})).substr(0, 2), isHit ? "s0" : "tr") << at.x << "," << at.y;
        EXPECT_EQ(gesture.b_isThumbTouched(), isHit) << at.x << "," << at.y;
    }
}

TEST(RulerGesture, TellsWhatToDo) {
    constexpr RulerRange wide{1000, 5000}, early{1000, 1040}, late{1041, 5000};
    const std::tuple<RulerWindow, std::optional<RulerRange>, std::vector<double>, const char*> rows[] = {
        {{1000, 20, 320},
         {},
         {200, 210, 210.04, 211.03, NAN, 211},
         "track at 800 at 800 at 781 moving position, no set!0 follow "},
        {{1000, 1, 320}, {}, {100, 110, NAN}, "s0@100 c950@110 moving position, no set!0 e950@110 "},
        {{1200, 1, 320},
         wide,
         {100, 110, 200, 100},
         "s0@100 at 1190 c1140@110 TimelineSlider: Range limited0 c1230@200 Set position 1130 in range e1130@100 "},
        {{1100, 1, 320}, early, {100, 100}, "s0@100 Set position 1040 in range e1040@100 "},
        {{1000, 1, 320}, late, {200, 200}, "track No set position 1040 out of range follow "},
        {{1000, 1, 320}, {}, {INFINITY, 200, 210}, ""}};
    RulerGesture gesture;
    for (auto [window, range, touches, expected] : rows) {
        std::string seen = told(gesture.begin({touches[0], 20}, {100, 20}));
        for (std::size_t i = 1; i + 1 < touches.size(); ++i) {
            const RulerGestureStep step = gesture.drag(window, range, {touches[i], 20});
            window.center_time = step.center_time.value_or(window.center_time);
            seen += told(step);
        }
        seen += told(gesture.end(window, range, {touches.back(), 7}));
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(told(gesture.drag(window, range, {0, 0})) + told(gesture.end(window, range, {0, 0})), "");
    }
    EXPECT_EQ(told(RulerGesture::tap({1000, 1, 320}, {200, 20})), "s0@200 c1040@200 e1040@200 ");
}

TEST(RulerGesture, NeverLeavesTheRange) {
    for (unsigned seed = 0; seed < 3000; ++seed) {
        std::mt19937 random(seed);
        const auto draw = [&](double low, double high) { return std::uniform_real_distribution(low, high)(random); };
        const RulerRange range{static_cast<TimeSec>(draw(-1e5, 0)), static_cast<TimeSec>(draw(0, 1e5))};
        RulerWindow window{0, static_cast<float>(draw(0.01, 300)), draw(0, 700)};
        window.center_time = window.centerFor(range);
        RulerGesture gesture;
        gesture.begin({draw(90, 120), 20}, {100, 20});
        for (int i = 0; i < 60; ++i) {
            const auto center = gesture.drag(window, range, {draw(-50, 400) * (i % 9 == 0 ? 1e30 : 1), 20}).center_time;
            const TimeSec reach = window.sector() / 2;
            if (center) window.center_time = *center;
            ASSERT_TRUE(!center || (range.contains(*center - reach) && range.contains(*center + reach))) << seed;
        }
        ASSERT_TRUE(range.contains(window.center_time)) << seed;
    }
}

}  // namespace
}  // namespace korvane
