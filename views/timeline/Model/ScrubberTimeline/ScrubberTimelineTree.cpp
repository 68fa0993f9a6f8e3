#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineTree.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"

namespace korvane {
namespace {

using Segments = ScrubberTimelineItem::Segments;

struct Span {
    explicit Span(const ScrubberTimelineSegmentItem& segment)
        : start(longLongValue(segment.startDateTime())), end(longLongValue(segment.endDateTime())) {}

    bool isSpan() const { return start >= 0 && end > 0; }
    bool holds(TimeMs time) const { return start == time || (isSpan() && start <= time && time < end); }
    bool holdsWithEnd(TimeMs time) const { return start == time || (isSpan() && start <= time && time <= end); }

    TimeMs start;
    TimeMs end;
};

}  // namespace

ScrubberTimelineTree::ScrubberTimelineTree(Days days, std::string localZone)
    : days_(std::move(days)), localZone_(std::move(localZone)) {
    for (std::size_t day = 0; day < days_.size(); ++day) addDay(day);
    orderByTime();
}

void ScrubberTimelineTree::addDay(std::size_t day) {
    const auto block = days_[day]->block();
    if (!block || block->timelines().empty()) return;
    runs_.push_back({block, day, segmentCount_, timelineCount_, block->start(), block->reach()});
    segmentCount_ += static_cast<std::int64_t>(block->segmentCount());
    timelineCount_ += block->timelines().size();
}

void ScrubberTimelineTree::orderByTime() {
    isAscending_ = std::ranges::is_sorted(runs_, {}, &Run::start);
    byTime_.reserve(runs_.size());
    for (std::size_t run = 0; run < runs_.size(); ++run) byTime_.push_back({runs_[run].start, runs_[run].reach, run});
    std::ranges::stable_sort(byTime_, {}, &RunInTime::start);
    for (std::size_t i = 1; i < byTime_.size(); ++i) {
        byTime_[i].reachSoFar = std::max(byTime_[i].reachSoFar, byTime_[i - 1].reachSoFar);
    }
}

// In a tree whose days are in order of time.
ScrubberTimelineTree::Runs::const_iterator ScrubberTimelineTree::firstReaching(TimeMs time) const {
    const auto at = std::ranges::lower_bound(byTime_, time, {}, &RunInTime::reachSoFar);
    return runs_.begin() + (at - byTime_.begin());
}

void ScrubberTimelineTree::emptyTimelines() const {
    for (const Run& run : runs_) {
        for (auto& timeline : run.block->timelines()) timeline.clear();
    }
}

std::shared_ptr<ScrubberTimelineItem> ScrubberTimelineTree::timeline(std::uint64_t index) const {
    if (index >= timelineCount_) return nullptr;
    const Run& run = *(std::ranges::upper_bound(runs_, index, {}, &Run::firstTimeline) - 1);
    return {run.block, &run.block->timelines()[index - run.firstTimeline]};
}

// The day with that segment; the last one past the end.
ScrubberTimelineTree::Runs::const_iterator ScrubberTimelineTree::runOf(std::int64_t segment) const {
    const auto after = std::ranges::upper_bound(runs_, segment, {}, &Run::firstSegment);
    return after == runs_.begin() ? after : after - 1;
}

std::optional<ScrubberTimelineSegmentPath> ScrubberTimelineTree::segment(std::uint64_t index) const {
    if (index >= static_cast<std::uint64_t>(segmentCount_)) return std::nullopt;
    const auto number = static_cast<std::int64_t>(index);
    const Run& run = *runOf(number);
    const auto inDay = static_cast<std::size_t>(number - run.firstSegment);
    const std::size_t place = run.block->timelineOfSegment(inDay);
    auto& timeline = run.block->timelines()[place];
    const std::size_t inTimeline = inDay - run.block->firstSegment(place);
    const Segments segments = timeline.segments();
    if (inTimeline >= segments.size()) return std::nullopt;
    return ScrubberTimelineSegmentPath{
        days_[run.day], {run.block, &timeline}, {run.block, &segments[inTimeline]}, inTimeline};
}

ScrubberTimelineTree::Days ScrubberTimelineTree::daysBetween(std::int64_t first, std::int64_t last) const {
    Days found;
    for (auto run = runOf(first); run != runs_.end() && run->firstSegment <= last; ++run)
        found.push_back(days_[run->day]);
    return found;
}

// `match` is given the number of a timeline's first segment and its segments, and gives the place among them of one
// that fits. It is asked in order of the numbers, at least about each timeline that has to do with the range of time.
template <typename Match>
std::int64_t ScrubberTimelineTree::findInRun(const Run& run, TimeMs notBefore, TimeMs notAfter, const Match& match) {
    if (run.start > notAfter || run.reach < notBefore) return -1;
    const auto timelines = run.block->timelines();
    for (std::size_t i = run.block->firstReaching(notBefore); i < timelines.size(); ++i) {
        if (longLongValue(timelines[i].startDateTime()) > notAfter && run.block->isAscending()) break;
        const auto first = run.firstSegment + static_cast<std::int64_t>(run.block->firstSegment(i));
        if (const auto place = match(first, timelines[i].segments())) return first + static_cast<std::int64_t>(*place);
    }
    return -1;
}

// As findInRun(), in all days, whatever their order. Days hardly overlap, so this looks at one or two of them.
template <typename Match>
std::int64_t ScrubberTimelineTree::findAt(TimeMs time, const Match& match) const {
    std::int64_t number = -1;
    auto at = std::ranges::lower_bound(byTime_, time, {}, &RunInTime::reachSoFar);
    for (; at != byTime_.end() && at->start <= time; ++at) {
        const std::int64_t found = findInRun(runs_[at->run], time, time, match);
        if (found >= 0 && (number < 0 || found < number)) number = found;
    }
    return number;
}

std::int64_t ScrubberTimelineTree::findSegment(TimeMs position) const {
    return findAt(position, [position](std::int64_t, Segments segments) {
        std::optional<std::size_t> found;
        const std::size_t started = ScrubberTimelineItem::startedBy(segments, position);
        if (started > 0 && Span(segments[started - 1]).holds(position)) found = started - 1;
        return found;
    });
}

ScrubberEventPlace ScrubberTimelineTree::findClosestSegment(TimeMs position) const {
    if (const auto first = segment(0)) {
        const Span span(*first->segment);
        if (span.isSpan() && span.start >= position) return {0, span.start == position};
    }
    const std::int64_t number = findAt(position, [position](std::int64_t, Segments segments) {
        std::optional<std::size_t> found;
        const std::size_t started = ScrubberTimelineItem::startedBy(segments, position);
        // Where two segments meet, the earlier one holds the moment too.
        for (std::size_t i = started < 2 ? 0 : started - 2; i < started && !found; ++i) {
            if (Span(segments[i]).holdsWithEnd(position)) found = i;
        }
        return found;
    });
    return {number, number >= 0};
}

std::int64_t ScrubberTimelineTree::findSegmentByStart(std::int64_t fromIndex, TimeMs notBefore, TimeMs notAfter) const {
    const auto match = [=](std::int64_t first, Segments segments) {
        std::optional<std::size_t> found;
        auto place = static_cast<std::size_t>(std::max<std::int64_t>(fromIndex - first, 0));
        if (place >= segments.size()) return found;
        if (notBefore > std::numeric_limits<TimeMs>::min()) {
            place = std::max(place, ScrubberTimelineItem::startedBy(segments, notBefore - 1));
        }
        if (place < segments.size() && longLongValue(segments[place].startDateTime()) <= notAfter) found = place;
        return found;
    };
    auto run = fromIndex > 0 ? runOf(fromIndex) : runs_.begin();
    if (isAscending_) run = std::max(run, firstReaching(notBefore));
    std::int64_t number = -1;
    for (; run != runs_.end() && number < 0 && (run->start <= notAfter || !isAscending_); ++run) {
        number = findInRun(*run, notBefore, notAfter, match);
    }
    return number;
}

}  // namespace korvane
