#include "korvane/toolkit/FlowLayout.h"

#include "korvane/base/Log.h"

namespace korvane {

void FlowLayout::setMinimumLineSpacing(double points) {
    minimumLineSpacing_ = points;
}

void FlowLayout::setMinimumInteritemSpacing(double points) {
    minimumInteritemSpacing_ = points;
    invalidateLayout();
}

void FlowLayout::setSectionInset(const EdgeInsets& inset) {
    sectionInset_ = inset;
    invalidateLayout();
}

void FlowLayout::setScrollDirection(ScrollDirection direction) {
    if (direction == ScrollDirection::Horizontal) return;
    logError("FlowLayout", "setScrollDirection: only horizontal strips are laid out");
}

void FlowLayout::invalidateLayout() {
    if (invalidated_) invalidated_();
}

}  // namespace korvane
