#include "views/timeline/Model/ScrubberTimeline/ScrubberTimelineSlicing.h"

#include <utility>

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

}  // namespace

std::uint64_t segmentsOfPeriod(TimeMs start, TimeMs end) {
    const std::uint64_t length = lengthOf(start, end);
    if (length <= segmentSize) return 1;
    return length / segmentSize + (length % segmentSize != 0 ? 1 : 0);
}

std::shared_ptr<ScrubberTimelineItem> sliceTimeline(TimeMs start, TimeMs end) {
    ScrubberTimelineItem::Segments segments(segmentsOfPeriod(start, end));
    for (std::size_t k = 0; k < segments.size(); ++k) {
        segments[k].setStartDateTime(static_cast<double>(laterBy(start, k * segmentSize)));
        const bool isLast = k + 1 == segments.size();
        segments[k].setEndDateTime(static_cast<double>(isLast ? end : laterBy(start, (k + 1) * segmentSize)));
    }
    auto timeline = std::make_shared<ScrubberTimelineItem>();
    timeline->setStartDateTime(static_cast<double>(start));
    timeline->setEndDateTime(static_cast<double>(end));
    timeline->setSegments(std::move(segments));
    return timeline;
}

}  // namespace korvane
