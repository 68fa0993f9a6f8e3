#pragma once

#include <cstdint>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/IndexPath.h"

namespace korvane {

/// A run of items: first, and one past the last.
struct ItemRange {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    bool contains(std::int64_t item) const { return item >= begin && item < end; }
    bool operator==(const ItemRange&) const = default;
};

/// Frames of one horizontal section whose first and last items have sizes of their own and whose others share one.
/// Everything is arithmetic, at any count. Content coordinates, points.
class CollectionLayout {
  public:
    struct Sizes {
        Size first;
        Size inner;
        Size last;
        bool operator==(const Sizes&) const = default;
    };

    CollectionLayout() = default;

    /// Lengths that are negative or not finite count as 0. A step from item to item (inner width and spacing) of less
    /// than 1 point counts as 1, so that there are never more items in view than points. A sole item has the first
    /// size.
    CollectionLayout(std::int64_t count, const Sizes& sizes, double spacing, const EdgeInsets& sectionInset);

    std::int64_t count() const { return count_; }
    double contentWidth() const;

    /// The zero rectangle for an item that does not exist.
    Rect frame(std::int64_t item) const;

    /// Nothing in the gap between two items, nor beside, above or below them.
    IndexPath itemAt(Point point) const;

    /// The item at `x`, or in a gap the nearer one of its neighbours; nothing without items.
    IndexPath nearestItem(double x) const;

    /// The items that share at least a part of [left, right) with their frames.
    ItemRange itemsIn(double left, double right) const;

  private:
    double innerBegin() const;
    std::int64_t firstEndingAfter(double x) const;

    std::int64_t count_ = 0;
    Sizes sizes_;
    double spacing_ = 0;
    double step_ = 1;
    EdgeInsets inset_;
};

}  // namespace korvane
