#include "korvane/views/timeline/Presentation/CellScale.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

namespace korvane {
namespace {

constexpr TimeMs earliest = std::numeric_limits<TimeMs>::min();
constexpr TimeMs latest = std::numeric_limits<TimeMs>::max();

TEST(CellScaleTest, PositionIsAWholeSecondOrTheStart) {
    const std::tuple<CellScale, double, TimeMs> cases[] = {
        {{1000500, 1060500, 120}, 60, 1030000},
        {{1000500, 1060500, 120}, 0, 1000500},  // 1000000 lies before the start
        {{1000500, 1060500, 120}, 120, 1060000},
        {{1000500, 1060500, 120}, 122, 1000500},  // 1061000 lies behind the end
        {{1000500, 1060500, 120}, -1, 1000500},
        {{1000500, 1060500, 0}, 60, 1000500},
        {{1000500, 1060500, 0}, 0, 1000500},
        {{1000500, 1060500, 120}, std::numeric_limits<double>::quiet_NaN(), 1000500},
        {{5000, 5000, 120}, 60, 5000},
        {{-1500, 10500, 120}, 0, -1000},            // truncated towards zero
        {{1000999, 1061998, 120}, 119.9, 1059000},  // 60.9 s and 1000.9 s lose their parts before the sum
        {{earliest, latest, 100}, 1e300, earliest},
    };
    for (const auto& [scale, offset, position] : cases) EXPECT_EQ(scale.positionAt(offset), position) << offset;
}

TEST(CellScaleTest, OffsetIsAMultipleOfAHalf) {
    const std::tuple<CellScale, TimeMs, double> cases[] = {
        {{60000, 120000, 134}, 60000, 0},
        {{60000, 120000, 134}, 120000, 134},
        {{60000, 120000, 134}, 70000, 22.5},
        {{60000, 120000, 134.35}, 120000, 134.5},
        {{0, 4, 1}, 1, 0.5},
        {{0, 4, 1}, -1, -0.5},
        {{5000, 5000, 134}, 9000, 0},
        {{60000, 120000, 0}, 90000, 0},
        {{0, 4, 88.9999999999}, 1, 22.5},  // 22.25 in single precision
        {{0, 4, 88.9999}, 1, 22},
        {{earliest, latest, 100}, 0, 50},
        {{latest - 1, latest, 100}, latest, 100},
        {{120000, 60000, 134}, 105000, 33.5},
    };
    for (const auto& [scale, position, offset] : cases) EXPECT_DOUBLE_EQ(scale.offsetOf(position), offset) << position;
}

}  // namespace
}  // namespace korvane
