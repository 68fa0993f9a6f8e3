#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/Time.h"
#include "korvane/client/Timeline.h"

namespace korvane {

/// What the host of a time ruler answers to. An empty member is an operation that it does not answer. The view holds
/// the record weakly, so the host keeps it. One that throws counts as one that gave nothing, with a log line. All times
/// are ms. TimelineView::stopUpdates(), and with it another camera and the view's end, wait for a member that runs; so
/// none of the first two may wait for the main thread.
struct TimelineViewDelegate {
    /// The recorded time of a window, in place of the camera's: `start` and `end` as asked, and ascending periods. Null
    /// for a failure; a timeline without periods for nothing recorded. Runs on the ruler's request thread, one call at
    /// a time.
    std::function<std::shared_ptr<Timeline>(TimeMs start, TimeMs end)> OnTimelineDataRequest;

    /// Once a second while there is a player, unless the user holds the position. The duration is always -1; the range
    /// comes whether one is in force or not. Runs on the ruler's position thread.
    std::function<void(TimeMs position, TimeMs withDuration, TimeMs withRangeStart, TimeMs withRangeEnd)>
        OnTimelinePositionChanged;

    /// The token of the calendar's source has `timeLeft` ms to live.
    std::function<std::int32_t(std::int64_t timeLeft)> onSharedTokenWillExpireIn;
};

}  // namespace korvane
