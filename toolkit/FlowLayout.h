#pragma once

#include <functional>
#include <utility>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/IndexPath.h"

namespace korvane {

enum class ScrollDirection { Vertical = 0, Horizontal = 1 };

/// Settings of a collection view's layout. Owned by the view it was given to; each change makes that view lay itself
/// out anew. Main thread only.
class FlowLayout {
  public:
    virtual ~FlowLayout() = default;

    /// Kept and reported; a single horizontal row has no second line.
    double minimumLineSpacing() const { return minimumLineSpacing_; }
    void setMinimumLineSpacing(double points);

    /// Gap between neighbours.
    double minimumInteritemSpacing() const { return minimumInteritemSpacing_; }
    void setMinimumInteritemSpacing(double points);

    /// Used where the delegate gives no inset of its own.
    const EdgeInsets& sectionInset() const { return sectionInset_; }
    void setSectionInset(const EdgeInsets& inset);

    /// Only Horizontal is laid out; Vertical is refused with a log line.
    ScrollDirection scrollDirection() const { return ScrollDirection::Horizontal; }
    void setScrollDirection(ScrollDirection direction);

    /// Sizes, insets and count are asked for again in the next layout pass.
    void invalidateLayout();

    /// For the view that takes the layout over.
    void setInvalidationHandler(std::function<void()> handler) { invalidated_ = std::move(handler); }

  private:
    double minimumLineSpacing_ = 10;
    double minimumInteritemSpacing_ = 10;
    EdgeInsets sectionInset_;
    std::function<void()> invalidated_;
};

}  // namespace korvane
