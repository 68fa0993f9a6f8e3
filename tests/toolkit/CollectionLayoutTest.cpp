#include "korvane/toolkit/CollectionLayout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace korvane {
namespace {

const CollectionLayout::Sizes sizes{{388, 120}, {134, 100}, {392, 120}};

// The same by plain sums.
std::vector<Rect> framesOf(std::int64_t count, const CollectionLayout::Sizes& s, double spacing,
                           const EdgeInsets& inset) {
    std::vector<Rect> frames;
    double x = inset.left;
    for (std::int64_t i = 0; i < count; ++i) {
        const Size& size = i == 0 ? s.first : i == count - 1 ? s.last : s.inner;
        frames.push_back({x, inset.top, size.width, size.height});
        x += size.width + spacing;
    }
    return frames;
}

TEST(CollectionLayout, FollowsPlainSums) {
    const std::tuple<std::int64_t, CollectionLayout::Sizes, double, EdgeInsets> cases[] = {
        {1, sizes, 3, {}},
        {2, sizes, 3, {}},
        {2, {{388, 120}, {}, {392, 120}}, 0, {}},  // without an inner one
        {3, sizes, 0, {}},
        {50, sizes, 3, {5, 7, 9, 11}},
        {20, {{0, 90}, {33.25, 90}, {0, 90}}, 2.5, {}},
    };
    for (const auto& [count, lengths, spacing, inset] : cases) {
        const CollectionLayout layout(count, lengths, spacing, inset);
        const auto frames = framesOf(count, lengths, spacing, inset);
        EXPECT_DOUBLE_EQ(layout.contentWidth(), frames.back().right() + inset.right);
        for (double x = -20; x < frames.back().right() + 20; x += 0.5) {
            IndexPath hit;
            ItemRange seen{0, 0};
            for (std::int64_t i = count - 1; i >= 0; --i) {
                const Rect& frame = frames[static_cast<std::size_t>(i)];
                EXPECT_EQ(layout.frame(i), frame);
                if (frame.contains({x, frame.y + 1})) hit = i;
                if (frame.width > 0 && frame.x < x + 80 && frame.right() > x) {
                    seen.end = std::max(seen.end, i + 1);
                    seen.begin = i;
                }
            }
            ASSERT_EQ(layout.itemAt({x, inset.top + 1}), hit) << "x " << x << " of " << count;
            const ItemRange range = layout.itemsIn(x, x + 80);
            if (seen.end > 0) {
                ASSERT_LE(range.begin, seen.begin) << "x " << x << " of " << count;
                ASSERT_GE(range.end, seen.end) << "x " << x << " of " << count;
                ASSERT_LE(range.end - range.begin, seen.end - seen.begin + 1);
            } else {
                ASSERT_LE(range.end - range.begin, 1) << "x " << x << " of " << count;
            }
        }
    }
}

TEST(CollectionLayout, BadLengthsStayHarmless) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<CollectionLayout> layouts = {
        CollectionLayout(),
        CollectionLayout(-5, sizes, 3, {}),
        CollectionLayout(1'000'000, {{0, 0}, {0, 0}, {0, 0}}, 0, {}),
        CollectionLayout(1'000'000, {{-4, 10}, {nan, 10}, {inf, 10}}, -8, {nan, inf, -1, 0}),
    };
    for (const auto& layout : layouts) {
        EXPECT_TRUE(std::isfinite(layout.contentWidth()));
        EXPECT_GE(layout.contentWidth(), 0);
        const ItemRange seen = layout.itemsIn(100, 900);
        EXPECT_LE(seen.end - seen.begin, 801) << "never more items than points";
        EXPECT_EQ(layout.itemAt({nan, 5}), std::nullopt);
        EXPECT_EQ(layout.frame(-1), Rect());
        EXPECT_EQ(layout.frame(layout.count()), Rect());
        for (const auto& range : {layout.itemsIn(-inf, inf), layout.itemsIn(nan, nan)}) {
            EXPECT_GE(range.begin, 0);
            EXPECT_LE(range.end, layout.count());
        }
    }
}

}  // namespace
}  // namespace korvane
