#include "views/timeline/Presentation/CellScale.h"

#include <gtest/gtest.h>

#include <limits>

namespace korvane {
namespace {

constexpr TimeMs earliest = std::numeric_limits<TimeMs>::min();
constexpr TimeMs latest = std::numeric_limits<TimeMs>::max();

TEST(CellScaleTest, PositionIsAWholeSecondOrTheStart) {
    struct Case {
        CellScale scale;
        double offset;
        TimeMs position;
    };
    const Case cases[] = {
        {{1000500, 1060500, 120}, 60, 1030000},
        {{1000500, 1060500, 120}, 0, 1000500},  // 1000000 lies before the start
        {{1000500, 1060500, 120}, 120, 1060000},
        {{1000500, 1060500, 120}, 122, 1000500},  // 1061000 lies behind the end
        {{1000500, 1060500, 120}, -1, 1000500},
        {{1000500, 1060500, 0}, 60, 1000500},
        {{1000500, 1060500, 0}, 0, 1000500},
        {{1000500, 1060500, 120}, std::numeric_limits<double>::quiet_NaN(), 1000500},
        {{5000, 5000, 120}, 60, 5000},
        {{earliest, latest, 100}, 1e300, earliest},
    };
    for (const Case& c : cases) EXPECT_EQ(c.scale.positionAt(c.offset), c.position) << c.offset;
}

TEST(CellScaleTest, OffsetIsAMultipleOfAHalf) {
    struct Case {
        CellScale scale;
        TimeMs position;
        double offset;
    };
    const Case cases[] = {
        {{60000, 120000, 134}, 60000, 0},
        {{60000, 120000, 134}, 120000, 134},
        {{60000, 120000, 134}, 70000, 22.5},
        {{60000, 120000, 134.35}, 120000, 134.5},
        {{0, 4, 1}, 1, 0.5},
        {{0, 4, 1}, -1, -0.5},
        {{5000, 5000, 134}, 9000, 0},
        {{60000, 120000, 0}, 90000, 0},
    };
    for (const Case& c : cases) EXPECT_DOUBLE_EQ(c.scale.offsetOf(c.position), c.offset) << c.position;
}

}  // namespace
}  // namespace korvane
