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
        {{-1500, 10500, 120}, 0, -1000},            // truncated towards zero
        {{1000999, 1061998, 120}, 119.9, 1059000},  // 60.9 s and 1000.9 s lose their parts before the sum
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
        {{0, 4, 88.9999999999}, 1, 22.5},  // 22.25 in single precision
        {{0, 4, 88.9999}, 1, 22},
        {{earliest, latest, 100}, 0, 50},
        {{latest - 1, latest, 100}, latest, 100},
        {{120000, 60000, 134}, 105000, 33.5},
    };
    for (const Case& c : cases) EXPECT_DOUBLE_EQ(c.scale.offsetOf(c.position), c.offset) << c.position;
}

}  // namespace
}  // namespace korvane
