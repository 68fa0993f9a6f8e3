#include "korvane/views/timeline/Presentation/MarkedStrip.h"

#include <algorithm>
#include <utility>

#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/Coordinates.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

constexpr double spacerMargin = 8;     // a spacer leaves this much beside the mark
constexpr double restingOffset = 1.5;  // an item rests with its begin this far left of the pointer
constexpr double fixedTimeLimit = 0.001;
constexpr double secondsPerItem = 0.5;
constexpr double longestScrollSeconds = 1.0;

/// How long a scroll over `way` points takes. Only long scrolls are capped: a short way to the left gives 0 or below,
/// which is no animation at all.
double scrollSeconds(double fixedTime, double way, double itemWidth) {
    const double seconds = fixedTime > fixedTimeLimit ? fixedTime : way / itemWidth * secondsPerItem;
    return seconds < -longestScrollSeconds || seconds > longestScrollSeconds ? longestScrollSeconds : seconds;
}

}  // namespace

void MarkedStrip::setItems(QQuickItem* container, CollectionView* strip, QQuickItem* mark) {
    container_ = container;
    strip_ = strip;
    mark_ = mark;
}

Point MarkedStrip::pointer() const {
    return convertPoint(centerOf(mark_), container_, strip_);
}

IndexPath MarkedStrip::indexPathFromPointer() const {
    return isPrepared() ? strip_->indexPathForItemAtPoint(pointer()) : std::nullopt;
}

IndexPath MarkedStrip::nearestIndexPath() const {
    return isPrepared() ? strip_->nearestIndexPath(pointer().x) : std::nullopt;
}

// A new layout may put the strip elsewhere, so it comes before the pointer is read.
bool MarkedStrip::isPrepared() const {
    return strip_ && strip_->prepareLayoutIfNeeded();
}

double MarkedStrip::offsetBetweenPointerAndItemBegin(IndexPath indexPath) const {
    if (!isPrepared()) return 0;
    return pointer().x - (strip_->layoutAttributesForItemAtIndexPath(indexPath).value_or(Rect{}).x + restingOffset);
}

double MarkedStrip::contentOffsetAt(IndexPath indexPath, double offset) const {
    return baseOffset().x + offset - offsetBetweenPointerAndItemBegin(indexPath);
}

Point MarkedStrip::baseOffset() const {
    return strip_ ? strip_->contentOffset() : Point{};
}

void MarkedStrip::setBaseOffsetX(double x) {
    if (strip_) strip_->setContentOffset({x, baseOffset().y});
}

void MarkedStrip::scrollToPointer(IndexPath indexPath, double fixedAnimationTime,
                                  std::function<void(bool hasFinished)> completion) {
    if (!indexPath || *indexPath <= 0 || !isPrepared()) return;
    const double itemWidth = strip_->layoutAttributesForItemAtIndexPath(indexPath).value_or(Rect{}).width;
    const double way = offsetBetweenPointerAndItemBegin(indexPath);
    const double target = baseOffset().x - way;
    auto done = life_.guard([completion = std::move(completion)](bool hasFinished) {
        if (completion) completion(hasFinished);
    });
    const ToolkitContext::Use use(strip_->context());
    animate(
        scrollSeconds(fixedAnimationTime, way, itemWidth), [this, target] { setBaseOffsetX(target); }, std::move(done));
}

Rect MarkedStrip::inContainer(const QQuickItem* item) const {
    return convertRect(boundsOf(item), item, container_);
}

double MarkedStrip::headWidth() const {
    return std::max(0.0, inContainer(mark_).x - inContainer(strip_).x - spacerMargin);
}

double MarkedStrip::tailWidth() const {
    return std::max(0.0, inContainer(strip_).right() - inContainer(mark_).right() - spacerMargin);
}

}  // namespace korvane
