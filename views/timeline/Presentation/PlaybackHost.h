#pragma once

#include <cstdint>
#include <memory>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// Whom a playing cell asks for the player and tells of playback. Times are ms. Any thread.
class PlaybackHost {
  public:
    virtual ~PlaybackHost() = default;

    /// Whether the strip has moved in this turn of the main loop.
    virtual bool isScrolling() const { return false; }

    virtual std::int32_t OnScrubberEventPlayStarted(const std::shared_ptr<ScrubberEvent>& event) = 0;
    virtual std::int32_t OnScrubberEventPlayFinished(const std::shared_ptr<ScrubberEvent>& event) = 0;
    /// Either pointer may be null.
    virtual void OnScrubberGetRangeForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event, TimeMs* startRange,
                                                   TimeMs* endRange) = 0;
    virtual void OnScrubberSetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                             TimeMs newPosition) = 0;
    /// -1 while the player plays nothing.
    virtual TimeMs OnScrubberGetCurrentPositionForPlayingEvent(const std::shared_ptr<ScrubberEvent>& event) = 0;
};

}  // namespace korvane
