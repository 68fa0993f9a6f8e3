#pragma once

#include <atomic>
#include <cstdint>

namespace korvane {

/// What has become of the fetch that fills an item of the day tree. Only an item that has not been asked is fetched.
/// One that failed goes back to that once it may be asked again, and one that has been filled when it is let go of; a
/// segment of which the service has no records stays failed until the tree is built anew.
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
    bool begin() { return change(ScrubberTimelineStatusNotAsked, ScrubberTimelineStatusUnderWay); }
    /// False when it was not at `from`.
    bool change(std::int64_t from, std::int64_t to) { return value_.compare_exchange_strong(from, to); }

  private:
    std::atomic<std::int64_t> value_ = ScrubberTimelineStatusNotAsked;
};

}  // namespace korvane
