#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/server/sample/Movement.h"

namespace korvane {

struct PlannedRecording {
    TimeMs start = 0;
    TimeMs duration = 0;
    /// Ascending, with rests between them.
    std::vector<Movement> movements;

    TimeMs end() const { return start + duration; }
};

/// What the sample's three days hold.
struct SamplePlan {
    /// Ascending; some follow without a gap, none overlap.
    std::vector<PlannedRecording> recordings;
    /// When somebody rings.
    std::vector<TimeMs> doorbells;

    static constexpr const char* yardTimezone = "America/New_York";

    /// One seed and end give one plan. The last recording ends within the hour before `end`.
    static SamplePlan make(std::uint64_t seed, TimeMs end);
};

}  // namespace korvane
