#pragma once

#include <optional>
#include <string_view>

#include "korvane/base/Geometry.h"
#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/Ruler/RulerRange.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"

namespace korvane {

/// A position that a gesture tells: a time in seconds and the finger's x in points.
struct RulerPosition {
    TimeSec time = 0;
    float x = 0;
    bool operator==(const RulerPosition&) const = default;
};

/// A line for the trace: `text`, then, where there is a time, "N (time T)" with the seconds and the time as people read
/// it, then `tail`.
struct RulerTrace {
    std::string_view text;
    std::optional<TimeSec> time;
    std::string_view tail;
    bool operator==(const RulerTrace&) const = default;
};

/// What the ruler has to do after a step of a gesture, in the order of the members; what is not set, it leaves out.
struct RulerGestureStep {
    /// The new centre: show it, repaint, and report that the value has changed.
    std::optional<TimeSec> center_time = std::nullopt;
    std::optional<RulerTrace> trace = std::nullopt;
    /// Switches tracking mode, in which the ruler does not follow the position.
    std::optional<bool> trackingMode = std::nullopt;
    std::optional<RulerPosition> startPosition = std::nullopt;
    std::optional<RulerPosition> continuePosition = std::nullopt;
    std::optional<RulerPosition> endPosition = std::nullopt;
    bool operator==(const RulerGestureStep&) const = default;
};

/// Turns the points of one finger on the ruler into movements of the axis and of the position. Points are in the
/// ruler's coordinates. A point that is not finite changes nothing, except that `end` then takes the last good one; a
/// gesture that begins at such a point is none. Calls outside a gesture do nothing. No lock: one thread at a time.
class RulerGesture {
  public:
    /// A finger comes down; `knob` is where the knob was drawn last. The knob is hit up to 10 points to its left and
    /// above and less than 5 to its right and below.
    RulerGestureStep begin(Point at, Point knob);

    /// The finger moves. Without a range the axis follows unless the knob is held. In a range it always follows, by
    /// steps that keep the whole view within the range; a refused step adds to the next one. Each accepted step loses
    /// its fraction of a second.
    RulerGestureStep drag(const RulerWindow& window, const std::optional<RulerRange>& range, Point at);

    /// The finger lifts. Sets no position unless the knob is held.
    RulerGestureStep end(const RulerWindow& window, const std::optional<RulerRange>& range, Point at);

    /// The gesture is taken away. Tracking mode and `b_isThumbTouched` stay until the next one.
    void cancel() { isTracking_ = false; }

    /// A tap sets the position, also outside a range. Ask with the window as it is after `startPosition` was told when
    /// telling it may move the centre.
    static RulerGestureStep tap(const RulerWindow& window, Point at);

    bool b_isThumbTouched() const { return b_isThumbTouched_; }

  private:
    RulerGestureStep moved(const RulerWindow& window, const std::optional<RulerRange>& range, Point at);

    Point previousTouchPoint_;
    Point firstTouchPoint_;
    Point lastTouchPoint_;
    bool b_isThumbTouched_ = false;
    bool isTracking_ = false;
};

}  // namespace korvane
