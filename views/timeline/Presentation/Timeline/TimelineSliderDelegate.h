#pragma once

#include "korvane/base/Time.h"

namespace korvane {

/// Who owns a ruler and hears of it. Times are seconds since the epoch, positions are x in points of the ruler.
class TimelineSliderDelegate {
  public:
    virtual ~TimelineSliderDelegate() = default;

    /// The sectors from `start` to `end` are to be fetched. Comes again at each draw until they are there, so it must
    /// neither wait nor ask twice. Like makePositionVisible() it is called on the main thread or, while that waits, on
    /// the one that draws the scene: neither may touch items or emit signals there.
    virtual void updateTimeline(TimeSec start, TimeSec end) = 0;

    /// The knob has run off to the right, to `position`, and the ruler is to follow to `time`. Must not draw by itself.
    virtual void makePositionVisible(TimeSec time, float position) = 0;

    /// The user takes hold of the position; `time` is always 0. Main thread, like those that follow.
    virtual void startPositionChanging(TimeSec time, float position) = 0;
    virtual void continuePositionChanging(TimeSec time, float position) = 0;
    virtual void endPositionChanging(TimeSec time, float position) = 0;

    /// The ruler is being destroyed without clean(); nothing of it may be used from then on. Main thread.
    virtual void sliderGoes() {}
};

}  // namespace korvane
