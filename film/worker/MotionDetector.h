#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "korvane/base/Time.h"

namespace korvane {

/// A frame's brightness in coarse cells.
struct CellImage {
    static constexpr int gridColumns = 80;
    static constexpr int gridRows = 45;
    std::array<std::uint8_t, std::size_t{gridColumns} * gridRows> cells{};
};

/// A stretch in which something moves.
struct Motion {
    TimeMs start = 0;
    TimeMs end = 0;
    bool operator==(const Motion&) const = default;
};

/// Finds motion in a sequence of coarse images. A change of the whole picture's brightness is none, nor is one that a
/// single image shows.
class MotionDetector {
  public:
    /// Images closer together than this need not be given.
    static constexpr TimeMs sampleEvery = 180;
    /// Two movements with less rest between them are one.
    static constexpr TimeMs rest = 1200;

    enum class Change { None, Began, Ended };

    /// Times ascend. Began: motion is seen, its start lies at or shortly before `time`.
    Change add(TimeMs time, const CellImage& image);

    /// Motions that were seen, ascending; the last may go on.
    const std::vector<Motion>& motions() const { return motions_; }

    bool isMoving() const { return moving_; }

    /// Whether two images differ enough for something to have moved.
    static bool isChange(const CellImage& before, const CellImage& after);

    /// How many cells differ between two images once their common change of brightness is taken out.
    static int changedCells(const CellImage& before, const CellImage& after);

    /// One list of many, those that less than a rest divides joined.
    static std::vector<Motion> join(std::vector<Motion> motions);

  private:
    struct Sample {
        TimeMs time;
        CellImage image;
    };

    std::deque<Sample> recent_;
    std::vector<Motion> motions_;
    bool moving_ = false;
    TimeMs firstHigh_ = -1;
};

}  // namespace korvane
