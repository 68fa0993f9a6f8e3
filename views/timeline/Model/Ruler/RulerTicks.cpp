#include "korvane/views/timeline/Model/Ruler/RulerTicks.h"

#include <algorithm>
#include <cmath>

#include "korvane/views/timeline/Model/Ruler/Truncated.h"

namespace korvane {

RulerTicks::RulerTicks(const RulerWindow& window, const RulerTickStyle& style)
    : style_(style), drawable_(window.drawableWidth()) {
    const float stride = style.strokeStepWidth;
    if (!std::isfinite(stride) || stride < 1) return;
    step_ = truncated(window.scale() * stride);
    if (step_ <= 0) return;

    quotient_ = window.left() / step_;
    const TimeSec remainder = window.left() % step_;
    shift_ = truncated(static_cast<float>(-remainder) / window.scale());
    const double strides = std::trunc((static_cast<double>(shift_) + drawable_) / stride);
    count_ = static_cast<int>(std::clamp(strides, -2.0, std::ceil(drawable_)) + 2);
    while (count_ > 0 && !(std::isfinite(placeOf(count_)) && timeOf(count_))) --count_;
}

RulerTick RulerTicks::tick(int index) const {
    if (index < 1 || index > count_) return {};
    const bool isOdd = index % 2 == 1;
    RulerTick tick{.index = index, .x = placeOf(index), .time = *timeOf(index)};
    tick.hasLine = tick.x <= drawable_;
    tick.hasLabel = style_.strokeTextNamingType != 1 || isOdd;
    tick.isLabelBelow = style_.strokeTextPositionType == 2 || (style_.strokeTextPositionType == 0 && isOdd);
    return tick;
}

std::optional<double> RulerTicks::labelX(double x, double textWidth) const {
    if (!std::isfinite(x) || !(textWidth >= 0)) return std::nullopt;
    const double half = textWidth * 0.5;
    const double end = x + half;
    double shift = 0;
    if (end > drawable_) {
        if (end - drawable_ >= half) return std::nullopt;
        shift = std::trunc(RulerWindow::trailingMargin + (drawable_ - end));
    }
    return std::max(0.0, shift + (x - half));
}

std::optional<TimeSec> RulerTicks::timeOf(int index) const {
    TimeSec time = 0;
    const bool isTooFar = __builtin_add_overflow(quotient_, index, &time) || __builtin_mul_overflow(time, step_, &time);
    return isTooFar ? std::nullopt : std::optional(time);
}

float RulerTicks::placeOf(int index) const {
    const float first = RulerWindow::leadingMargin + static_cast<float>(shift_);
    return first + static_cast<float>(index) * style_.strokeStepWidth;
}

}  // namespace korvane
