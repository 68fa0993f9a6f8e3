#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <optional>

#include "korvane/views/timeline/ScrubberCommon/ScrubberEventQuery.h"

namespace korvane {

/// Lower and upper bounds of the moments and ids of some entries. A list keeps one for each run of its entries, so that
/// a search skips the runs in which nothing can fit. Each entry widens the bounds when it is changed, and they never
/// narrow. The values that stand for none, -1 and 0, do not count. All functions may be called from any thread.
class ScrubberEventBounds {
  public:
    void widen(TimeMs timeAsValue, std::optional<std::int64_t> identificator) {
        if (timeAsValue != noMoment) moments_.widen(timeAsValue);
        if (identificator.value_or(noId) != noId) ids_.widen(*identificator);
    }

    /// False when no entry fits. An entry that got its values before this call is not missed.
    bool mayHold(const ScrubberEventQuery& query) const {
        const bool isMomentIn = moments_.meets(query.notBefore, query.notAfter) ||
                                (query.notBefore <= noMoment && noMoment <= query.notAfter);
        return isMomentIn && (!query.identificator || ids_.meets(*query.identificator, *query.identificator));
    }

  private:
    static constexpr TimeMs noMoment = -1;
    static constexpr std::int64_t noId = 0;

    class Range {
      public:
        void widen(std::int64_t value) {
            auto low = low_.load(std::memory_order_relaxed);
            while (value < low && !low_.compare_exchange_weak(low, value, std::memory_order_relaxed)) {
            }
            auto high = high_.load(std::memory_order_relaxed);
            while (value > high && !high_.compare_exchange_weak(high, value, std::memory_order_relaxed)) {
            }
        }

        bool meets(std::int64_t from, std::int64_t to) const {
            return low_.load(std::memory_order_relaxed) <= to && from <= high_.load(std::memory_order_relaxed);
        }

      private:
        // Nothing at first. Relaxed, since who has read a value from its entry has passed the lock of that entry,
        // under which the bounds were widened.
        std::atomic<std::int64_t> low_ = std::numeric_limits<std::int64_t>::max();
        std::atomic<std::int64_t> high_ = std::numeric_limits<std::int64_t>::min();
    };

    Range moments_;
    Range ids_;
};

}  // namespace korvane
