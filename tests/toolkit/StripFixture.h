#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/CollectionView.h"

namespace korvane {

/// A cell that knows what it was filled with.
class NumberCell : public CollectionViewCell {
  public:
    using CollectionViewCell::CollectionViewCell;
    void prepareForReuse() override { number = -1; }
    std::int64_t number = -1;
};

/// A strip of 800 x 120 with cells of 134 points and gaps of 3 between two spacers, which notes each callback.
class StripTest : public testing::Test, public CollectionViewDataSource, public CollectionViewDelegate {
  protected:
    StripTest() { makeStrip(1000); }

    void makeStrip(std::int64_t items) {
        count = items;
        strip = new CollectionView(ui.root());
        strip->registerFactory(
            [this] {
                ++made;
                return std::make_unique<NumberCell>();
            },
            QStringLiteral("cell"));
        auto layout = std::make_unique<FlowLayout>();
        layout->setMinimumInteritemSpacing(spacing);
        strip->setCollectionViewLayout(std::move(layout), false, {});
        strip->setSize({800, 120});
        strip->setDataSource(this);
        strip->setDelegate(this);
        ui.settle();
        start(0);
    }

    void TearDown() override { delete strip; }

    std::int64_t collectionViewNumberOfItemsInSection(CollectionView&, std::int64_t) override { return count; }

    CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath item) override {
        if (oddCell) return oddCell(item);
        auto* cell = static_cast<NumberCell*>(view.dequeueReusableCell(QStringLiteral("cell"), item));
        EXPECT_EQ(cell->number, -1) << "a recycled cell was not prepared";
        const auto frame = view.layoutAttributesForItemAtIndexPath(item);
        EXPECT_TRUE(frame && std::abs(cell->width() - frame->width) < 1) << "a cell is filled before it has its size";
        cell->number = item.value_or(-1) + base;
        ++filled;
        if (onFill) onFill();
        return cell;
    }

    void collectionViewReconfigureCell(CollectionView&, CollectionViewCell& cell, IndexPath item) override {
        static_cast<NumberCell&>(cell).number = item.value_or(-1) + base;
        if (onFill) onFill();
    }

    Size collectionViewLayoutSizeForItemAtIndexPath(CollectionView& view, IndexPath item) override {
        const bool isSpacer = item == IndexPath(0) || item == IndexPath(count - 1);
        return {isSpacer ? view.width() / 2 - 9 : cellWidth, view.height()};
    }

    void collectionViewDidSelectItemAtIndexPath(CollectionView&, IndexPath item) override {
        note("select " + std::to_string(item.value_or(-1)));
    }
    void scrollViewWillBeginDragging(CollectionView& view) override {
        EXPECT_TRUE(view.isDragging());
        note("begin");
    }
    void scrollViewDidScroll(CollectionView& /*view*/) override {
        if (log.empty() || log.back() != "scroll") log.push_back("scroll");
        if (onScroll) onScroll();
    }
    void scrollViewDidEndDragging(CollectionView& view, bool willDecelerate) override {
        EXPECT_FALSE(view.isDragging());
        note(willDecelerate ? "end, decelerates" : "end");
    }
    void scrollViewWillBeginDecelerating(CollectionView& view) override {
        EXPECT_TRUE(view.isDecelerating());
        note("decelerating");
    }
    void scrollViewDidEndDecelerating(CollectionView& view) override {
        EXPECT_FALSE(view.isDecelerating());
        note("stopped");
    }

    void note(const std::string& what) { log.push_back(what); }

    double x() const { return strip->contentOffset().x; }

    void reload() {
        strip->reloadData();
        ui.settle();
    }

    void start(double offset) {
        strip->setContentOffset({offset, 0});
        ui.settle();
        log.clear();
    }

    /// Runs until nothing moves; fails when that takes longer than five seconds.
    void rest() {
        for (int frame = 0; frame < 320 && strip->isDecelerating(); ++frame) ui.advance(std::chrono::milliseconds(16));
        ui.settle();
        EXPECT_FALSE(strip->isDecelerating());
    }

    /// Each cell stands where the layout says, to a pixel, for what is seen, and shows its own number.
    void expectCellsInPlace() {
        const double left = strip->seenContentOffset().x;
        for (std::int64_t item = 0; item < strip->numberOfItems() && item < 5000; ++item) {
            const auto frame = strip->layoutAttributesForItemAtIndexPath(item);
            ASSERT_TRUE(frame);
            if (frame->right() <= left || frame->x >= left + strip->width()) continue;
            auto* cell = static_cast<NumberCell*>(strip->cellForItemAtIndexPath(item));
            ASSERT_TRUE(cell) << "item " << item << " in view has no cell";
            EXPECT_EQ(cell->number, item + base);
            EXPECT_EQ(cell->indexPath(), item);
            EXPECT_TRUE(cell->isVisible());
            EXPECT_NEAR(cell->x(), frame->x - left, 1);
            EXPECT_NEAR(cell->x() + cell->width(), frame->right() - left, 1);
            const double inScene = strip->mapToScene(cell->position()).x();
            EXPECT_NEAR(inScene, std::round(inScene), 1e-6) << "not on a pixel";
            if (const auto* next = strip->cellForItemAtIndexPath(item + 1)) {
                EXPECT_NEAR(next->x(), cell->x() + cell->width() + spacing, 1e-6);
            }
        }
        std::int64_t visible = 0;
        for (const QQuickItem* child : strip->childItems()) visible += child->isVisible() ? 1 : 0;
        EXPECT_LE(visible, 2 * (strip->width() / cellWidth + 2));
    }

    using Log = std::vector<std::string>;

    VirtualUi ui;
    CollectionView* strip = nullptr;
    std::int64_t count = 0;
    std::int64_t base = 0;
    double cellWidth = 134;
    double spacing = 3;
    int made = 0;
    int filled = 0;
    Log log;
    std::function<void()> onFill;
    std::function<CollectionViewCell*(IndexPath)> oddCell;  // in place of a good one
    std::function<void()> onScroll;
};

}  // namespace korvane
