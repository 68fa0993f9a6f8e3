#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCellCustomDrawImagesLayer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/toolkit/Canvas.h"

namespace korvane {
namespace {

constexpr const char* classPath = "ScrubberTimelineView: ScrubberTimelineCellCustomDrawImagesLayer";
constexpr double iconSide = 16.0;
constexpr double halfIcon = iconSide * 0.5;
constexpr int leastCount = 2;  // a single icon that was left out is not worth a number
constexpr int fontSize = 8;

/// In the middle of the layer's height, around a part of its width but within it.
Rect iconRect(const Rect& bounds, float position) {
    double x = bounds.width * static_cast<double>(position) + bounds.x - halfIcon;
    x = std::max(x, 0.0);
    if (x + iconSide > bounds.right()) x = bounds.right() - iconSide;
    return {x, bounds.y + bounds.height * 0.5 - halfIcon, iconSide, iconSide};
}

/// An empty rectangle overlaps nothing, and those that only touch do not overlap.
bool overlap(const Rect& a, const Rect& b) {
    if (a.width <= 0 || a.height <= 0 || b.width <= 0 || b.height <= 0) return false;
    return a.x < b.right() && b.x < a.right() && a.y < b.bottom() && b.y < a.bottom();
}

}  // namespace

ScrubberTimelineCellCustomDrawImagesLayer::ScrubberTimelineCellCustomDrawImagesLayer() {
    font_.setPixelSize(fontSize);
    font_.setWeight(QFont::Thin);
}

void ScrubberTimelineCellCustomDrawImagesLayer::clean() {
    positions_.clear();
    images_.clear();
}

void ScrubberTimelineCellCustomDrawImagesLayer::drawInContext(Canvas& canvas) {
    if (positions_.empty() || images_.empty()) return;
    if (images_.size() < positions_.size() && !std::exchange(lackIsLogged_, true)) {
        logError(classPath, "drawInContext: fewer images than positions");
    }
    canvas.saveState();
    canvas.setFillColor(tintColor_);
    Rect previous;
    int leftOut = 1;
    const std::size_t count = std::min(positions_.size(), images_.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (std::isnan(positions_[i])) continue;
        const Rect current = iconRect(bounds(), positions_[i]);
        if (overlap(current, previous)) {
            ++leftOut;
            continue;
        }
        if (leftOut >= leastCount) drawCount(canvas, leftOut, previous);
        previous = current;
        canvas.drawImage(images_[i], current);
        leftOut = 0;
    }
    canvas.restoreState();
}

void ScrubberTimelineCellCustomDrawImagesLayer::drawCount(Canvas& canvas, int count, const Rect& belowIcon) const {
    const TextLine text(AttributedString{QString::number(count), TextAlignmentCenter, font_, tintColor_, 0});
    const Size size = canvas.measureText(text);
    const double x = belowIcon.x + belowIcon.width * 0.5 - size.width * 0.5;
    canvas.drawText(text, {x, belowIcon.bottom(), size.width, size.height});
}

}  // namespace korvane
