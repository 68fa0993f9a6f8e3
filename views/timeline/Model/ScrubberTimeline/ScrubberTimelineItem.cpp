#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineItem.h"

#include <utility>

#include "korvane/base/SaturatingTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineBlock.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/SearchNear.h"

namespace korvane {

void ScrubberTimelineItem::setSegments(Segments segments) {
    segments_ = segments;
    isCleared_ = false;
}

std::size_t ScrubberTimelineItem::startedBy(Segments segments, TimeMs time) {
    const auto hasStarted = [time](const auto& segment) { return longLongValue(segment.startDateTime()) <= time; };
    if (segments.empty() || !hasStarted(segments.front())) return 0;
    const TimeMs passed = saturatingSubtract(time, longLongValue(segments.front().startDateTime()));
    return searchNear(segments, static_cast<std::size_t>(passed / defaultSegmentSize) + 1, hasStarted);
}

ScrubberTimelineItem::Events ScrubberTimelineItem::events() const {
    EventShelf* const shelf = shelf_.get();
    if (!shelf) return {};
    const std::lock_guard guard(shelf->mutex);
    return shelf->events;
}

void ScrubberTimelineItem::setEvents(Events events) {
    EventShelf& shelf = shelf_.make();
    const std::lock_guard guard(shelf.mutex);
    shelf.events.clear();
    shelf.ofSegments.clear();
    append(shelf, std::move(events));
}

void ScrubberTimelineItem::addEvents(Events events) {
    EventShelf& shelf = shelf_.make();
    const std::lock_guard guard(shelf.mutex);
    append(shelf, std::move(events));
}

void ScrubberTimelineItem::append(EventShelf& shelf, Events events) {
    const auto slices = segments();
    for (auto& event : events) {
        const TimeMs time = longLongValue(event.dateTime());
        const std::size_t started = startedBy(slices, time);
        const std::size_t place = shelf.events.size();
        shelf.events.push_back(std::move(event));
        if (started > 0 && time < longLongValue(slices[started - 1].endDateTime())) {
            shelf.ofSegments[started - 1].push_back(place);
        }
    }
}

ScrubberTimelineItem::Events ScrubberTimelineItem::eventsOfSegment(std::size_t index) const {
    Events found;
    EventShelf* const shelf = shelf_.get();
    if (!shelf) return found;
    const std::lock_guard guard(shelf->mutex);
    const auto places = shelf->ofSegments.find(index);
    if (places == shelf->ofSegments.end()) return found;
    found.reserve(places->second.size());
    for (const std::size_t place : places->second) found.push_back(shelf->events[place]);
    return found;
}

void ScrubberTimelineItem::clear() {
    for (auto& segment : segments_) segment.clear();
    isCleared_ = true;
    if (shelf_.get()) setEvents({});
}

}  // namespace korvane
