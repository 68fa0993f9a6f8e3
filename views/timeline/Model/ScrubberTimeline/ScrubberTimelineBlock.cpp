#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineBlock.h"

#include <algorithm>

#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/SearchNear.h"

namespace korvane {
namespace {

constexpr auto segmentSize = static_cast<std::uint64_t>(defaultSegmentSize);

// Unsigned, since the distance of two moments may be more than a signed number holds.
std::uint64_t lengthOf(TimeMs start, TimeMs end) {
    return end > start ? static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(start) : 0;
}

TimeMs laterBy(TimeMs start, std::uint64_t length) {
    return static_cast<TimeMs>(static_cast<std::uint64_t>(start) + length);
}

TimeMs startOf(const ScrubberTimelineItem& timeline) {
    return longLongValue(timeline.startDateTime());
}

// The last moment that a timeline has to do with.
TimeMs reachOf(const ScrubberTimelineItem& timeline) {
    return std::max(startOf(timeline), longLongValue(timeline.endDateTime()));
}

void slice(const TimelinePair& period, std::span<ScrubberTimelineSegmentItem> segments) {
    for (std::size_t k = 0; k < segments.size(); ++k) {
        const bool isLast = k + 1 == segments.size();
        const TimeMs end = isLast ? period.end() : laterBy(period.start(), (k + 1) * segmentSize);
        segments[k].setStartDateTime(static_cast<double>(laterBy(period.start(), k * segmentSize)));
        segments[k].setEndDateTime(static_cast<double>(end));
    }
}

std::size_t segmentsOfAll(const std::vector<TimelinePair>& periods) {
    std::size_t count = 0;
    for (const auto& period : periods) count += ScrubberTimelineBlock::segmentsOf(period);
    return count;
}

}  // namespace

std::uint64_t ScrubberTimelineBlock::segmentsOf(const TimelinePair& period) {
    const std::uint64_t length = lengthOf(period.start(), period.end());
    if (length <= segmentSize) return 1;
    return length / segmentSize + (length % segmentSize != 0 ? 1 : 0);
}

ScrubberTimelineBlock::ScrubberTimelineBlock(const std::vector<TimelinePair>& periods)
    : timelines_(periods.size()), segments_(segmentsOfAll(periods)) {
    firstSegments_.reserve(periods.size());
    std::span<ScrubberTimelineSegmentItem> rest = segments_;
    for (std::size_t i = 0; i < periods.size(); ++i) {
        const auto segments = rest.first(segmentsOf(periods[i]));
        firstSegments_.push_back(static_cast<std::uint32_t>(segments_.size() - rest.size()));
        rest = rest.subspan(segments.size());
        slice(periods[i], segments);
        timelines_[i].setStartDateTime(static_cast<double>(periods[i].start()));
        timelines_[i].setEndDateTime(static_cast<double>(periods[i].end()));
        timelines_[i].setSegments(segments);
    }
    if (timelines_.empty()) return;
    start_ = startOf(*std::ranges::min_element(timelines_, {}, startOf));
    reach_ = reachOf(*std::ranges::max_element(timelines_, {}, reachOf));
    isAscending_ = std::ranges::is_sorted(timelines_, {}, startOf) && std::ranges::is_sorted(timelines_, {}, reachOf);
}

std::size_t ScrubberTimelineBlock::timelineOfSegment(std::size_t segment) const {
    const std::size_t evenly = segment * timelines_.size() / segments_.size();
    return searchNear(firstSegments_, evenly + 1, [segment](std::uint32_t first) { return first <= segment; }) - 1;
}

std::size_t ScrubberTimelineBlock::firstReaching(TimeMs time) const {
    if (!isAscending_ || time <= start_) return 0;
    // In floating point, which does not overflow; the 1 is for a day of no length.
    const double length = static_cast<double>(reach_) - static_cast<double>(start_) + 1;
    const double share = std::min((static_cast<double>(time) - static_cast<double>(start_)) / length, 1.0);
    const auto evenly = static_cast<std::size_t>(share * static_cast<double>(timelines_.size()));
    return searchNear(timelines_, evenly, [time](const auto& timeline) { return reachOf(timeline) < time; });
}

}  // namespace korvane
