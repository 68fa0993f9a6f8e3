#pragma once

#include <chrono>

#include "korvane/base/Time.h"

namespace korvane {

/// In what the playback of one kind of cell differs from the other's.
struct PlaybackRules {
    /// The position (ms) that a run takes for shown already: met first, it moves nothing.
    TimeMs firstPosition = -1;
    /// Bar and strip go on following the position once the end has been told.
    bool advancesAfterFinish = false;
    /// Nothing is asked or told while the owner's strip moves.
    bool holdsWhileScrolling = false;
};

/// What a run of playback remembers from tick to tick.
struct PlaybackProgress {
    TimeMs lastPosition = -1;
    bool played = false;
    bool finished = false;
};

/// What is to be done in one tick, in this order.
struct PlaybackTick {
    bool tellsStarted = false;
    bool tellsFinished = false;
    bool advances = false;
    std::chrono::milliseconds wait{};
    PlaybackProgress progress;
};

/// How long a tick lasts, and how long one waits for the animation of an advance to report its end.
inline constexpr std::chrono::milliseconds playbackTickTime(1000);
inline constexpr std::chrono::milliseconds playbackAdvanceTime(3000);

/// The decision of one tick, for the player's `position` in a range that ends at `endRange` (ms, -1 for none).
PlaybackTick playbackTick(const PlaybackRules& rules, const PlaybackProgress& before, TimeMs endRange, TimeMs position);

}  // namespace korvane
