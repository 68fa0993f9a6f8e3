#pragma once

#include <atomic>
#include <cstdint>

namespace korvane {

/// What has become of the fetch that fills an item of the day tree. Every value but the first blocks a new one until
/// the tree is built anew.
enum ScrubberTimelineStatus : std::int64_t {
    ScrubberTimelineStatusFailed = -1,
    ScrubberTimelineStatusNotAsked = 0,
    ScrubberTimelineStatusUnderWay = 1,
    ScrubberTimelineStatusDone = 2,
};

/// The status field of an item. Any thread.
class ScrubberTimelineStatusField {
  public:
    std::int64_t get() const { return value_.load(); }
    void set(std::int64_t value) { value_.store(value); }

    /// From not asked to under way; false when another caller has been faster.
    bool begin() {
        std::int64_t expected = ScrubberTimelineStatusNotAsked;
        return value_.compare_exchange_strong(expected, ScrubberTimelineStatusUnderWay);
    }

  private:
    std::atomic<std::int64_t> value_ = ScrubberTimelineStatusNotAsked;
};

}  // namespace korvane
