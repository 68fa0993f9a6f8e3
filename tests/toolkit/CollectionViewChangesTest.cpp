#include <QQuickItem>
#include <limits>
#include <random>
#include <utility>

#include "korvane/tests/toolkit/StripFixture.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

struct CollectionViewChanges : StripTest {};

TEST_F(CollectionViewChanges, CellsAreBoundedAndNoneIsMadeAfterWarmUp) {
    count = 1'000'000;
    reload();
    for (int i = 0; i < 40; ++i) start(x() + 29);
    const int warm = made;
    EXPECT_LE(warm, 10);
    filled = 0;
    for (int i = 0; i < 400; ++i) start(134'007.0 * i);
    EXPECT_EQ(made, warm);
    EXPECT_LE(filled, 400 * warm) << "items off the screen were asked for";
    strip->scrollToItemAtIndexPath(999'998, CollectionViewScrollPosition::Right, false);
    ui.settle();
    auto* cell = strip->cellForItemAtIndexPath(999'998);
    ASSERT_TRUE(cell);
    EXPECT_DOUBLE_EQ(cell->x() + cell->width(), 800);
    EXPECT_EQ(strip->indexPathForItemAtPoint({x() + 799, 60}), 999'998);
    strip->scrollToItemAtIndexPath(999'999, CollectionViewScrollPosition::Left, false);
    EXPECT_DOUBLE_EQ(x(), strip->contentSize().width - 800);
    EXPECT_EQ(made, warm);
}

TEST_F(CollectionViewChanges, CellsThatTouchShowNoSeam) {
    spacing = 0;
    std::mt19937 random(3);
    for (const double width : {134.35, 100.5, 33.3333, 250.05}) {
        cellWidth = width;
        delete strip;
        makeStrip(1000);
        strip->setX(width / 7);
        for (int i = 0; i < 20; ++i) {
            const double left = std::uniform_real_distribution<double>(-50, width * 980)(random);
            animate(i % 2 * 0.3, [&] { strip->setContentOffset({left, 0}); });
            ui.advance(48ms);
            expectCellsInPlace();
        }
    }
}

TEST_F(CollectionViewChanges, OffsetMayBeSetBeyondTheEndAndStaysThroughLayouts) {
    const double end = strip->contentSize().width - 800;
    strip->setContentOffset({end + 10, 0});
    strip->collectionViewLayout()->invalidateLayout();
    reload();
    EXPECT_EQ(x(), end + 10);
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        strip->setContentOffset({bad, 0});
        strip->setContentOffset({0, bad});
    }
    EXPECT_EQ(x(), end + 10);
    count = 3;
    reload();
    EXPECT_EQ(x(), strip->contentSize().width - 800 + 10) << "as far beyond the new end";
    strip->setContentInset({10, 5, 20, 0});
    ui.settle();
    strip->scrollToItemAtIndexPath(0, CollectionViewScrollPosition::Left, false);
    EXPECT_EQ(strip->contentOffset(), (Point{-5, -10}));
}

TEST_F(CollectionViewChanges, ReconfiguredCellsAreFilledInPlace) {
    start(300);
    const auto visible = strip->indexPathsForVisibleItems();
    base = 5000;
    filled = 0;
    strip->reconfigureItemsAtIndexPaths({-1, 900, 5000});
    strip->reconfigureItemsAtIndexPaths(visible);
    expectCellsInPlace();
    EXPECT_EQ(filled, 0) << "nothing was recycled";
    strip->reloadData();
    onFill = [] { FAIL() << "of a list that is gone"; };
    strip->reconfigureItemsAtIndexPaths(visible);
    onFill = nullptr;
    ui.settle();
    onFill = [this] { delete std::exchange(strip, nullptr); };
    strip->reconfigureItemsAtIndexPaths(visible);
    EXPECT_FALSE(strip);
}

TEST_F(CollectionViewChanges, BatchesEndConsistent) {
    const std::tuple<std::vector<std::int64_t>, std::int64_t> cases[] = {
        {{5, -1, 3, 5, 4, 5000}, 997}, {{4}, 1000}, {{4, 5}, 400}, {{0, 1, 2}, 0}};
    for (const auto& [deleted, countAfter] : cases) {
        count = 1000;
        base = 0;
        strip->reloadData();
        start(1200);
        int completions = 0;
        strip->performBatchUpdates(
            [&] {
                base = 1000 - countAfter;
                count = countAfter;
                strip->deleteItemsAtIndexPaths(deleted);
            },
            [&](bool) { ++completions; });
        ui.settle();
        EXPECT_EQ(completions, 1);
        EXPECT_EQ(strip->numberOfItems(), countAfter);
        expectCellsInPlace();
    }
    strip->performBatchUpdates([] { throw 1; }, {});
    bool isDone = false;
    strip->performBatchUpdates([this] { delete std::exchange(strip, nullptr); }, [&](bool) { isDone = true; });
    ui.settle();
    EXPECT_TRUE(isDone);
}

TEST_F(CollectionViewChanges, CellsThatWereNotDequeuedAreRefused) {
    NumberCell foreign;
    const int warm = made;
    for (CollectionViewCell* const given : {static_cast<CollectionViewCell*>(&foreign), {}}) {
        oddCell = [this, given](IndexPath item) {
            strip->dequeueReusableCell(QStringLiteral("cell"), item);
            return given;
        };
        reload();
        EXPECT_FALSE(strip->cellForItemAtIndexPath(0));
    }
    EXPECT_EQ(made, warm) << "what was dequeued in vain is used again";
}

}  // namespace
}  // namespace korvane
