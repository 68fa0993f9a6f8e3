#pragma once

#include <cstdint>

namespace korvane {

/// A stretch of time for which the camera holds a recording; both ends belong to it. The unit is that of its Timeline.
class TimelinePair {
  public:
    TimelinePair() = default;
    /// Nothing checks that `start` does not exceed `end`.
    TimelinePair(std::int64_t start, std::int64_t end) : start_(start), end_(end) {}

    std::int64_t start() const { return start_; }
    void setStart(std::int64_t start) { start_ = start; }
    std::int64_t end() const { return end_; }
    void setEnd(std::int64_t end) { end_ = end; }

    bool operator==(const TimelinePair&) const = default;

  private:
    std::int64_t start_ = 0;
    std::int64_t end_ = 0;
};

}  // namespace korvane
