#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/client/TimelinePair.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineItem.h"

namespace korvane {

/// Length of a segment, ms.
inline constexpr TimeMs defaultSegmentSize = 240'000;

/// All that is recorded of a day: a timeline a period, and the segments of all of them in a row. A day of short periods
/// has as many timelines as segments, so each kind lies in one piece, and who holds one of them holds them all.
///
/// Its shape never changes; any thread.
class ScrubberTimelineBlock {
  public:
    /// How many segments a period is sliced into: at least one, also when it is turned round.
    static std::uint64_t segmentsOf(const TimelinePair& period);

    /// Slices each period, of ms, into segments of defaultSegmentSize, and one for what is left at its end. The caller
    /// has seen that their number is bearable.
    explicit ScrubberTimelineBlock(const std::vector<TimelinePair>& periods);

    ScrubberTimelineBlock(const ScrubberTimelineBlock&) = delete;
    ScrubberTimelineBlock& operator=(const ScrubberTimelineBlock&) = delete;

    /// In the order of the periods.
    std::span<ScrubberTimelineItem> timelines() { return timelines_; }
    std::size_t segmentCount() const { return segments_.size(); }
    /// Place in the row of the first segment of the timeline at `timeline`, which is not past the end.
    std::size_t firstSegment(std::size_t timeline) const { return firstSegments_[timeline]; }
    /// The timeline of the segment at a place in the row, which is not past the end.
    std::size_t timelineOfSegment(std::size_t segment) const;

    /// The moments between which all periods lie, ms; of no meaning without one.
    TimeMs start() const { return start_; }
    TimeMs reach() const { return reach_; }
    /// Whether the periods begin and end in order of time.
    bool isAscending() const { return isAscending_; }
    /// The first timeline that may have to do with `time`, ms, or with what comes after it.
    std::size_t firstReaching(TimeMs time) const;

  private:
    std::vector<ScrubberTimelineItem> timelines_;
    std::vector<ScrubberTimelineSegmentItem> segments_;
    // A word apiece beside the timelines: these are searched.
    std::vector<std::uint32_t> firstSegments_;
    TimeMs start_ = 0;
    TimeMs reach_ = 0;
    bool isAscending_ = true;
};

}  // namespace korvane
