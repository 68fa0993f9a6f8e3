#pragma once

#include <memory>
#include <optional>

#include "korvane/base/Time.h"
#include "korvane/client/Timeline.h"

namespace korvane {

/// What the threads of a time ruler work for: source, player and picture. An exception that leaves a function ends that
/// call alone, with a line in the log. No function may wait for a thread that may be in RulerUpdates::stopUpdates().
class RulerUpdatesHost {
  public:
    virtual ~RulerUpdatesHost() = default;

    /// The recorded time of a window, ms, or null. Blocks on the request thread; never called twice at a time.
    virtual std::shared_ptr<const Timeline> fetch(TimeMs start, TimeMs end) = 0;

    /// Has the fetch() under way give null soon, where it waits for a network: KorvaneCamera::cancelSyncRequests() of
    /// the camera that it asks, which need not be the ruler's any more. Called again every 20 ms until fetch() has
    /// returned, on any thread and beside it. Doing nothing has fetch() waited for.
    virtual void breakOffFetch() = 0;

    /// The records have changed. On the request thread.
    virtual void timelineReload() = 0;
    /// The records have not changed, but what is known of a sector has. On the request thread.
    virtual void sectorStateChanged() {}

    /// Where the player is, ms, 0 or below for nowhere; nothing without a player. On the position thread, like those
    /// that follow.
    virtual std::optional<TimeMs> playerPosition() = 0;
    /// The position as the player gave it, ms, for the application.
    virtual void positionChanged(TimeMs position) = 0;
    /// The same for the knob, in seconds; 0 or below for no knob.
    virtual void showPosition(TimeSec position) = 0;
};

}  // namespace korvane
