#pragma once

#include <chrono>
#include <optional>

#include "korvane/base/Scheduler.h"
#include "korvane/base/Time.h"

namespace korvane {

/// Tells which moment is to be seen while a player runs. Used by one thread.
class PlaybackClock {
  public:
    /// `scheduler` outlives the clock.
    explicit PlaybackClock(const Scheduler& scheduler) : scheduler_(scheduler) {}

    /// From now on `moment` (ms) and what follows it.
    void start(TimeMs moment) { zero_ = scheduler_.monotonicNow() - std::chrono::milliseconds(moment); }
    void halt() { zero_.reset(); }
    bool isRunning() const { return zero_.has_value(); }

    /// Of a clock that runs.
    TimeMs moment() const {
        return std::chrono::floor<std::chrono::milliseconds>(scheduler_.monotonicNow() - *zero_).count();
    }
    /// When `moment` (ms) is or was due, on the scheduler's monotonic clock. Of a clock that runs.
    std::chrono::microseconds timeOf(TimeMs moment) const { return *zero_ + std::chrono::milliseconds(moment); }

  private:
    const Scheduler& scheduler_;
    std::optional<std::chrono::microseconds> zero_;
};

}  // namespace korvane
