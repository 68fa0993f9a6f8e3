#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDayItem.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventQuery.h"

namespace korvane {

/// A segment with its parents, all of them held.
struct ScrubberTimelineSegmentPath {
    std::shared_ptr<ScrubberTimelineDayItem> day;
    std::shared_ptr<ScrubberTimelineItem> timeline;
    std::shared_ptr<ScrubberTimelineSegmentItem> segment;
    /// Place of the segment in its timeline.
    std::size_t indexInTimeline = 0;
};

/// A finished tree of days with its numbering: the segments of all timelines of all days in order, 0 and up. The sums
/// are laid down once, so the shape of the days must not change any more; events and records may still come. Who holds
/// a tree may ask it after the provider has dropped it: segments that have been cleared are not found then.
///
/// Never changes; any thread.
class ScrubberTimelineTree {
  public:
    using Days = std::vector<std::shared_ptr<ScrubberTimelineDayItem>>;

    /// The most segments up to which a load fills a provider's tree: thirty years round the clock.
    static constexpr std::uint64_t maxSegments = 4'000'000;

    ScrubberTimelineTree() = default;
    /// `localZone` names the zone of this device, which the tree's entries take on.
    ScrubberTimelineTree(Days days, std::string localZone);

    const Days& days() const { return days_; }
    const std::string& localZone() const { return localZone_; }
    std::int64_t segmentCount() const { return segmentCount_; }

    /// Clears all timelines, for those who still hold one.
    void emptyTimelines() const;

    /// The timeline at `index` of the flat run of all timelines; null past the end.
    std::shared_ptr<ScrubberTimelineItem> timeline(std::uint64_t index) const;

    /// The segment of that number; nothing past the end.
    std::optional<ScrubberTimelineSegmentPath> segment(std::uint64_t index) const;

    /// The days that have segments from number `first` to `last`, both included.
    Days daysBetween(std::int64_t first, std::int64_t last) const;

    /// The first segment, by number, that begins at `position` or has it in its span, the end excluded; -1 without one.
    /// A segment that begins before 0 has no span.
    std::int64_t findSegment(TimeMs position) const;

    /// As findSegment(), the end of the span included. A moment before the first segment of all gives that one, as a
    /// place where the moment does not exist.
    ScrubberEventPlace findClosestSegment(TimeMs position) const;

    /// The first segment from number `fromIndex` (0 and up) on that begins between two moments, both included; -1
    /// without one.
    std::int64_t findSegmentByStart(std::int64_t fromIndex, TimeMs notBefore, TimeMs notAfter) const;

  private:
    // A day with timelines.
    struct Run {
        // Held, since the day lets go of it when it is cleared.
        std::shared_ptr<ScrubberTimelineBlock> block;
        std::size_t day = 0;
        // Numbers of its first segment and of its first timeline.
        std::int64_t firstSegment = 0;
        std::uint64_t firstTimeline = 0;
        // The moments between which its periods lie.
        TimeMs start = 0;
        TimeMs reach = 0;
    };
    using Runs = std::vector<Run>;

    struct RunInTime {
        TimeMs start = 0;
        // The last moment that it, or one that begins before it, has to do with.
        TimeMs reachSoFar = 0;
        std::size_t run = 0;
    };

    void addDay(std::size_t day);
    void orderByTime();
    Runs::const_iterator runOf(std::int64_t segment) const;
    Runs::const_iterator firstReaching(TimeMs time) const;
    template <typename Match>
    static std::int64_t findInRun(const Run& run, TimeMs notBefore, TimeMs notAfter, const Match& match);
    template <typename Match>
    std::int64_t findAt(TimeMs time, const Match& match) const;

    Days days_;
    std::string localZone_;
    Runs runs_;
    // In order of their begins.
    std::vector<RunInTime> byTime_;
    std::int64_t segmentCount_ = 0;
    std::uint64_t timelineCount_ = 0;
    // The days' periods begin in ascending order, so that byTime_ is the order of the numbers too.
    bool isAscending_ = true;
};

}  // namespace korvane
