#pragma once

#include <QString>
#include <cstdint>
#include <memory>

#include "base/Geometry.h"
#include "base/Time.h"
#include "toolkit/IndexPath.h"
#include "views/timeline/ScrubberCommon/ScrubberConfig.h"
#include "views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// What a cell needs of the view it belongs to. Times are ms. Main thread, except for the callbacks of playback, which
/// come from any thread.
class ScrubberCellOwner {
  public:
    virtual ~ScrubberCellOwner() = default;

    virtual ScrubberConfig& getConfig() = 0;

    /// `time` by a Unicode TS 35 pattern in a named zone, with AM or PM for an "a".
    virtual QString formatTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const = 0;

    /// The strip's content offset.
    virtual Point getBaseOffset() const = 0;

    /// Moves the strip by some points.
    virtual void scrollOnDeltaX(IndexPath indexPath, double delta) = 0;

    /// Whether the strip has moved in this turn of the main loop. Any thread.
    virtual bool isScrolling() const { return false; }

    virtual std::int32_t OnScrubberEventPlayStarted(const std::shared_ptr<ScrubberEvent>& event) = 0;
    virtual std::int32_t OnScrubberEventPlayFinished(const std::shared_ptr<ScrubberEvent>& event) = 0;
    /// Either pointer may be null.
    virtual void OnScrubberGetRangeForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event, TimeMs* startRange,
                                                   TimeMs* endRange) = 0;
    virtual void OnScrubberSetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                             TimeMs newPosition) = 0;
    virtual TimeMs OnScrubberGetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event) = 0;
};

}  // namespace korvane
