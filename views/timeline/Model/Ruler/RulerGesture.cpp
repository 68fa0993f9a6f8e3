#include "korvane/views/timeline/Model/Ruler/RulerGesture.h"

#include <cmath>

#include "korvane/views/timeline/Model/Ruler/Truncated.h"

namespace korvane {
namespace {

bool isFinite(Point point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

RulerPosition positionAt(const RulerWindow& window, Point at) {
    return {window.timeAt(at.x), narrowed(at.x)};
}

bool isWithin(const RulerRange& range, TimeSec center, TimeSec reach) {
    return saturatingAdd(center, reach) <= range.end_range && saturatingSubtract(center, reach) >= range.start_range;
}

RulerTrace restTrace(const std::optional<RulerRange>& range, TimeSec time) {
    if (!range) return {"Set position ", time, ""};
    if (range->contains(time)) return {"Set position ", time, " in range"};
    return {"No set position ", time, " out of range"};
}

}  // namespace

RulerGestureStep RulerGesture::begin(Point at, Point knob) {
    isTracking_ = isFinite(at);
    if (!isTracking_) return {};
    previousTouchPoint_ = firstTouchPoint_ = lastTouchPoint_ = at;
    b_isThumbTouched_ = Rect{knob.x - 10.0, knob.y - 10.0, 15.0, 15.0}.contains(at);
    if (b_isThumbTouched_) return {.startPosition = RulerPosition{0, narrowed(at.x)}};
    return {.trackingMode = true};
}

RulerGestureStep RulerGesture::drag(const RulerWindow& window, const std::optional<RulerRange>& range, Point at) {
    if (!isTracking_ || !isFinite(at)) return {};
    lastTouchPoint_ = at;
    RulerGestureStep step = moved(window, range, at);
    if (b_isThumbTouched_) {
        RulerWindow shown = window;
        shown.center_time = step.center_time.value_or(window.center_time);
        step.continuePosition = positionAt(shown, at);
    }
    return step;
}

RulerGestureStep RulerGesture::moved(const RulerWindow& window, const std::optional<RulerRange>& range, Point at) {
    if (!range && b_isThumbTouched_) return {};
    const float dx = narrowed(at.x - previousTouchPoint_.x);
    const TimeSec center = saturatingSubtract(window.center_time, truncated(window.scale() * dx));
    if (range && !isWithin(*range, center, window.sector() / 2)) {
        return {.trace = RulerTrace{"TimelineSlider: Range limited", std::nullopt, ""}};
    }
    previousTouchPoint_ = at;
    return {.center_time = center};
}

RulerGestureStep RulerGesture::end(const RulerWindow& window, const std::optional<RulerRange>& range, Point at) {
    if (!isTracking_) return {};
    isTracking_ = false;
    if (!isFinite(at)) at = lastTouchPoint_;
    RulerGestureStep step;
    if (at.x == firstTouchPoint_.x) {
        step.trace = restTrace(range, window.timeAt(at.x));
    } else {
        step.trace = RulerTrace{"moving position, no set!", std::nullopt, ""};
    }
    if (b_isThumbTouched_) {
        step.endPosition = positionAt(window, at);
    } else {
        step.trackingMode = false;
    }
    b_isThumbTouched_ = false;
    return step;
}

RulerGestureStep RulerGesture::tap(const RulerWindow& window, Point at) {
    if (!isFinite(at)) return {};
    const RulerPosition position = positionAt(window, at);
    return {.startPosition = RulerPosition{0, position.x}, .continuePosition = position, .endPosition = position};
}

}  // namespace korvane
