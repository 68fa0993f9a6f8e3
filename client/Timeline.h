#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "korvane/client/TimelinePair.h"

namespace korvane {

/// A window of time with the recorded stretches found in it. The bounds are those that were asked for, not those of the
/// first and last stretch. All times are in one unit: milliseconds as the service gives them, seconds in the ruler.
/// A plain value; no lock of its own.
class Timeline {
  public:
    Timeline() = default;
    Timeline(std::int64_t start, std::int64_t end) : start_(start), end_(end) {}

    std::int64_t start() const { return start_; }
    void setStart(std::int64_t start) { start_ = start; }
    std::int64_t end() const { return end_; }
    void setEnd(std::int64_t end) { end_ = end; }

    /// Ascending and not overlapping; absent until set.
    const std::optional<std::vector<TimelinePair>>& periods() const { return periods_; }
    void setPeriods(std::optional<std::vector<TimelinePair>> periods) { periods_ = std::move(periods); }

  private:
    std::int64_t start_ = 0;
    std::int64_t end_ = 0;
    std::optional<std::vector<TimelinePair>> periods_;
};

}  // namespace korvane
