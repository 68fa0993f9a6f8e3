#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"

#include <algorithm>
#include <cmath>

#include "korvane/views/timeline/Model/Ruler/Truncated.h"

namespace korvane {
namespace {

constexpr double widestAxis = 1'000'000;

float placeOf(TimeSec seconds, float scale, float margin) {
    if (scale == 0) return RulerWindow::noPlace;
    const float x = margin + static_cast<float>(seconds) / scale;
    return std::isfinite(x) ? x : RulerWindow::noPlace;
}

}  // namespace

float RulerWindow::scale() const {
    return std::isfinite(pix_scale) && pix_scale > 0 ? pix_scale : 0;
}

double RulerWindow::drawableWidth() const {
    const double drawable = width - leadingMargin - trailingMargin;
    return std::isfinite(drawable) ? std::clamp(drawable, 0.0, widestAxis) : 0;
}

TimeSec RulerWindow::sector() const {
    return truncated(scale() * drawableWidth());
}

TimeSec RulerWindow::half() const {
    return truncated(scale() * (drawableWidth() * 0.5));
}

TimeSec RulerWindow::left() const {
    return saturatingSubtract(center_time, half());
}

TimeSec RulerWindow::right() const {
    return saturatingAdd(center_time, half());
}

TimeSec RulerWindow::timeAt(double x) const {
    const double middle = std::isfinite(width) ? width * 0.5 : 0;
    return saturatingAdd(center_time, truncated(scale() * (x - middle)));
}

float RulerWindow::trackX(TimeSec time) const {
    return placeOf(saturatingSubtract(time, left()), scale(), leadingMargin);
}

float RulerWindow::knobX(TimeSec time) const {
    return placeOf(saturatingSubtract(time, left()), scale(), 0);
}

TimeSec RulerWindow::centerFor(const RulerRange& range) const {
    return saturatingAdd(range.start_range, std::min(range.length(), sector()) / 2);
}

std::optional<TimeSec> RulerWindow::nextSector(const std::optional<RulerRange>& range) const {
    const TimeSec next = saturatingAdd(center_time, sector());
    if (!range) return next;
    const TimeSec reach = sector() / 2;
    if (saturatingAdd(center_time, reach) > range->end_range) return std::nullopt;
    if (saturatingAdd(next, reach) < range->end_range) return next;
    return saturatingSubtract(range->end_range, reach);
}

std::optional<TimeSec> RulerWindow::prevSector(const std::optional<RulerRange>& range) const {
    const TimeSec previous = saturatingSubtract(center_time, sector());
    if (!range) return previous;
    const TimeSec reach = sector() / 2;
    if (saturatingSubtract(center_time, reach) < range->start_range) return std::nullopt;
    if (saturatingSubtract(previous, reach) > range->start_range) return previous;
    return saturatingAdd(range->start_range, reach);
}

}  // namespace korvane
