#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// What the host of a scrubber answers to. An empty member is an operation that it does not answer. The view holds the
/// record weakly, so the host keeps it. Members run on the main thread unless told otherwise; one that throws counts as
/// one that gave nothing, with a log line. An entry handed over may be null when it has left the list meanwhile. The
/// host may destroy the view from within any member that runs on the main thread.
struct ScrubberViewDelegate {
    using Event = std::shared_ptr<ScrubberEvent>;

    /// A scroll that selected an entry has ended.
    std::function<void(const Event& event)> OnScrubberDidSelectEvent;

    // In ScrubberTimelineView start and continue carry the recording under the mark, as far as the day tree knows it,
    // when it is known: late, once for several steps, or not at all. Its end comes after the motion that a drag leaves,
    // too. They come for the day tree alone.

    /// A drag begins with this entry under the mark.
    std::function<void(const Event& event)> OnScrubberDraggingStartFlyOverEvent;
    /// At each step of a drag. The moment under the mark is written into the entry's timeAsValue and stays there.
    std::function<void(const Event& event)> OnScrubberDraggingContinueFlyOverEvent;
    /// The finger lifted, and the strip does not go on moving by itself.
    std::function<void(const Event& event)> OnScrubberDraggingEndFlyOverEvent;

    /// ScrubberTimelineView alone: at each step of a drag and of the motion after it, with the moment under the mark in
    /// the entry's timeAsValue.
    std::function<void(const Event& event)> OnScrubberFlyOverEvent;

    /// On each setState(), also to the same state. Both are ScrubberState; the status is 0 or the service's code.
    /// Runs on the thread that set the state.
    std::function<void(std::int32_t from, std::int32_t toState, std::int32_t withStatus)> OnScrubberStateChangedFrom;

    /// Playback of the selected entry. These run on the playing cell's own thread, the range and the new position also
    /// on the main thread during a seek. Times are ms.
    std::function<std::int32_t(const Event& event)> OnScrubberEventPlayStarted;
    /// The answer 1 lets the next entry follow when the setting continuousEventPlaying is on.
    std::function<std::int32_t(const Event& event)> OnScrubberEventPlayFinished;
    /// May narrow the range that is played; either pointer may be null.
    std::function<void(const Event& event, TimeMs* startRange, TimeMs* endRange)> OnScrubberGetRangeForPlayingEvent;
    /// The player's position, -1 for none.
    std::function<TimeMs(const Event& event)> OnScrubberGetCurrentPositionForPlayingEvent;
    /// Seek.
    std::function<void(const Event& event, TimeMs newPosition)> OnScrubberSetCurrentPositionForPlayingEvent;

    /// ScrubberView alone. The source's token has `timeLeft` ms to live, below zero once it has expired. Repeated every
    /// 5 s from 5 minutes before the expiry until the token is swapped or the source closed. Runs on a thread of the
    /// client library.
    std::function<std::int32_t(std::int64_t timeLeft)> onSharedTokenWillExpireIn;
};

}  // namespace korvane
