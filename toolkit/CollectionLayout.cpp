#include "korvane/toolkit/CollectionLayout.h"

#include <algorithm>
#include <cmath>

namespace korvane {
namespace {

double length(double value) {
    return std::isfinite(value) && value > 0 ? value : 0;
}

Size cleaned(const Size& size) {
    return {length(size.width), length(size.height)};
}

}  // namespace

CollectionLayout::CollectionLayout(std::int64_t count, const Sizes& sizes, double spacing,
                                   const EdgeInsets& sectionInset)
    : count_(std::max<std::int64_t>(0, count)),
      sizes_{cleaned(sizes.first), cleaned(sizes.inner), cleaned(sizes.last)},
      spacing_(length(spacing)),
      step_(std::max(1.0, sizes_.inner.width + spacing_)),
      inset_{length(sectionInset.top), length(sectionInset.left), length(sectionInset.bottom),
             length(sectionInset.right)} {}

double CollectionLayout::contentWidth() const {
    return count_ == 0 ? 0 : frame(count_ - 1).right() + inset_.right;
}

Rect CollectionLayout::frame(std::int64_t item) const {
    if (item < 0 || item >= count_) return {};
    if (item == 0) return {inset_.left, inset_.top, sizes_.first.width, sizes_.first.height};
    const Size& size = item == count_ - 1 ? sizes_.last : sizes_.inner;
    return {innerBegin() + static_cast<double>(item - 1) * step_, inset_.top, size.width, size.height};
}

IndexPath CollectionLayout::itemAt(Point point) const {
    const std::int64_t item = firstEndingAfter(point.x);
    if (item < count_ && frame(item).contains(point)) return item;
    return std::nullopt;
}

IndexPath CollectionLayout::nearestItem(double x) const {
    if (count_ == 0) return std::nullopt;
    const std::int64_t item = std::min(firstEndingAfter(x), count_ - 1);
    const bool isNearerBefore = item > 0 && x - frame(item - 1).right() < frame(item).x - x;
    return isNearerBefore ? item - 1 : item;
}

ItemRange CollectionLayout::itemsIn(double left, double right) const {
    const std::int64_t begin = firstEndingAfter(left);
    std::int64_t end = firstEndingAfter(right);
    if (end < count_ && frame(end).x < right) ++end;
    return {begin, std::max(begin, end)};
}

double CollectionLayout::innerBegin() const {
    return inset_.left + sizes_.first.width + spacing_;
}

// The estimate is off by one at most: by rounding, or because the last item has another width.
std::int64_t CollectionLayout::firstEndingAfter(double x) const {
    if (count_ == 0 || frame(0).right() > x) return 0;
    const double steps = std::floor((x - innerBegin()) / step_);
    if (std::isnan(steps)) return count_;
    auto item = 1 + static_cast<std::int64_t>(std::clamp(steps, 0.0, static_cast<double>(count_)));
    item = std::min(item, count_);
    while (item > 1 && frame(item - 1).right() > x) --item;
    while (item < count_ && frame(item).right() <= x) ++item;
    return item;
}

}  // namespace korvane
