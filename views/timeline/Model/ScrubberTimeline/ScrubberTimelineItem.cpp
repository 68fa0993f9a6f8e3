#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineItem.h"

#include <utility>

#include "korvane/base/SaturatingTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberEventRow.h"
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

std::size_t ScrubberTimelineItem::eventCount() const {
    EventShelf* const shelf = shelf_.get();
    if (!shelf) return 0;
    const std::lock_guard guard(shelf->mutex);
    return shelf->events.size();
}

void ScrubberTimelineItem::setEvents(Events events) {
    dropEvents();
    addEvents(std::move(events));
}

void ScrubberTimelineItem::dropEvents() {
    EventShelf* const shelf = shelf_.get();
    if (!shelf) return;
    // What is removed goes away outside of the lock.
    Events events;
    decltype(shelf->ofSegments) ofSegments;
    const std::lock_guard guard(shelf->mutex);
    shelf->events.swap(events);
    shelf->ofSegments.swap(ofSegments);
    shelf->total = 0;
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

ScrubberEvent::Childs ScrubberTimelineItem::childsOfSegment(std::size_t index, const std::string& timezone) const {
    EventShelf* const shelf = shelf_.get();
    if (!shelf) return {};
    const std::lock_guard guard(shelf->mutex);
    const auto places = shelf->ofSegments.find(index);
    if (places == shelf->ofSegments.end()) return {};
    const auto row = std::make_shared<ScrubberEventRow>(places->second.size());
    for (const std::size_t place : places->second) {
        const auto& event = shelf->events[place];
        row->add(longLongValue(event.dateTime()), event.name(), timezone);
    }
    return row->entries();
}

std::int64_t ScrubberTimelineItem::noteTotal(std::int64_t told) {
    EventShelf& shelf = shelf_.make();
    const std::lock_guard guard(shelf.mutex);
    if (shelf.total == 0) shelf.total = told;
    return shelf.total;
}

void ScrubberTimelineItem::letGo() {
    for (auto& segment : segments_) segment.letGo();
    if (isUpdated() == ScrubberTimelineStatusUnderWay) return;
    dropEvents();
    isUpdated_.change(ScrubberTimelineStatusFailed, ScrubberTimelineStatusNotAsked);
    isUpdated_.change(ScrubberTimelineStatusDone, ScrubberTimelineStatusNotAsked);
}

void ScrubberTimelineItem::clear() {
    for (auto& segment : segments_) segment.clear();
    isCleared_ = true;
    dropEvents();
}

}  // namespace korvane
