#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "korvane/views/timeline/Presentation/PlaybackHost.h"

namespace korvane::test {

/// A player that does what the test sets. What playback asks for may be set from any thread.
class FakePlaybackHost : public PlaybackHost {
  public:
    using Event = std::shared_ptr<ScrubberEvent>;

    bool isScrolling() const override { return scrolls; }
    std::int32_t OnScrubberEventPlayStarted(const Event& /*event*/) override { return ++started; }
    std::int32_t OnScrubberEventPlayFinished(const Event& /*event*/) override { return ++finished; }
    void OnScrubberGetRangeForPlayingEvent(const Event& /*event*/, TimeMs* start, TimeMs* end) override {
        *start = rangeStart;
        *end = rangeEnd;
    }
    void OnScrubberSetCurrentPositionForPlayingEvent(const Event& /*event*/, TimeMs newPosition) override {
        sought.push_back(newPosition);
    }
    TimeMs OnScrubberGetCurrentPositionForPlayingEvent(const Event& /*event*/) override {
        ++polls;
        return position;
    }

    std::vector<TimeMs> sought;
    std::atomic<TimeMs> rangeStart = 0;
    std::atomic<TimeMs> rangeEnd = 0;
    std::atomic<TimeMs> position = 0;
    std::atomic<bool> scrolls = false;
    std::atomic<int> polls = 0;
    std::atomic<int> started = 0;
    std::atomic<int> finished = 0;
};

}  // namespace korvane::test
