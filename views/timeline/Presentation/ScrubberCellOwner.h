#pragma once

#include <QString>

#include "korvane/base/Geometry.h"
#include "korvane/base/Time.h"
#include "korvane/toolkit/IndexPath.h"
#include "korvane/views/timeline/Presentation/PlaybackHost.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"
#include "korvane/views/timeline/ScrubberConfig.h"

namespace korvane {

/// What a cell needs of the view it belongs to. Main thread only.
class ScrubberCellOwner {
  public:
    virtual ~ScrubberCellOwner() = default;

    virtual ScrubberConfig& getConfig() = 0;

    /// Outlives every cell that plays.
    virtual PlaybackHost& playbackHost() = 0;

    /// `time`, ms, by a Unicode TS 35 pattern in a named zone, with AM or PM for an "a".
    virtual QString formatTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const = 0;

    /// The entry's own moment, ms: a drag writes another one into its timeAsValue. -1 for none.
    virtual TimeMs momentOf(const ScrubberEvent::Fields& event) const { return event.timeAsValue; }

    /// The strip's content offset.
    virtual Point getBaseOffset() const = 0;

    /// Moves the strip by some points.
    virtual void scrollOnDeltaX(IndexPath indexPath, double delta) = 0;
};

}  // namespace korvane
