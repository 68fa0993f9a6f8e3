#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "korvane/base/Geometry.h"

namespace korvane {

/// Finds the taps in the touches of a Control, one finger's at a time. A tap is a press and a lift at most 500 ms apart
/// by the times of the events, with the finger never more than 10 points from where it came down; both numbers are
/// ours. Main thread only.
class TapRecognizer {
  public:
    /// The numbers are those that an action compares with; the ones left out belong to gestures that last.
    enum State {
        StatePossible = 0,  ///< no touch yet, or one that may become a tap
        StateEnded = 3,     ///< the last touch was a tap
        StateFailed = 5,    ///< the last touch is none
    };
    /// May remove the recogniser and let its control go as a call of the control may.
    using Action = std::function<void(TapRecognizer&)>;

    TapRecognizer() = default;
    explicit TapRecognizer(Action action) : action_(std::move(action)) {}

    /// Called for each tap, in StateEnded. May be empty.
    void setAction(Action action) { action_ = std::move(action); }

    int numberOfTapsRequired() const { return 1; }
    /// Anything but 1 is refused with a log line.
    void setNumberOfTapsRequired(int taps);

    /// That of the last touch, until the next one begins.
    State state() const { return state_; }
    /// Where the last touch was last, in points of the control; 0,0 before the first one.
    Point location() const { return location_; }

    // What has become of the touch, with times in ms; the control calls these.
    void touchBegan(Point at, double time);
    void touchMoved(Point at);
    void touchEnded(Point at, double time);
    void touchCancelled();

  private:
    struct Press {
        Point at;
        double time = 0;
    };

    Action action_;
    State state_ = StatePossible;
    Point location_;
    std::optional<Press> press_;  // as long as the touch may become a tap
};

}  // namespace korvane
