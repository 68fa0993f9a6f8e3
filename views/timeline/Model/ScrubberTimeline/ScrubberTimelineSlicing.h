#pragma once

#include <cstdint>
#include <memory>

#include "base/Time.h"
#include "views/timeline/Model/ScrubberTimeline/ScrubberTimelineItem.h"

namespace korvane {

/// Length of a segment, ms.
inline constexpr TimeMs defaultSegmentSize = 240'000;

/// How many segments a period from `start` to `end`, ms, is sliced into: at least one, also when it is turned round.
std::uint64_t segmentsOfPeriod(TimeMs start, TimeMs end);

/// The timeline of that period: segments of defaultSegmentSize, and one for what is left at the end. The caller has
/// seen that their number is bearable.
std::shared_ptr<ScrubberTimelineItem> sliceTimeline(TimeMs start, TimeMs end);

}  // namespace korvane
