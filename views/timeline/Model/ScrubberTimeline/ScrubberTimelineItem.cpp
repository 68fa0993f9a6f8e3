#include "views/timeline/Model/ScrubberTimeline/ScrubberTimelineItem.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "views/timeline/Model/ScrubberTimeline/BoxedTime.h"

namespace korvane {

std::shared_ptr<ScrubberTimelineItem::Segments> ScrubberTimelineItem::segments() const {
    {
        const std::lock_guard guard(mutex_);
        if (segments_) return segments_;
    }
    return std::make_shared<Segments>();
}

void ScrubberTimelineItem::setSegments(Segments segments) {
    auto fresh = std::make_shared<Segments>(std::move(segments));
    const std::lock_guard guard(mutex_);
    segments_.swap(fresh);
    noteSegments();
}

std::shared_ptr<ScrubberTimelineSegmentItem> ScrubberTimelineItem::segment(std::size_t index) const {
    const std::lock_guard guard(mutex_);
    if (!segments_ || index >= segments_->size()) return nullptr;
    return {segments_, &(*segments_)[index]};
}

ScrubberTimelineItem::Events ScrubberTimelineItem::events() const {
    const std::lock_guard guard(mutex_);
    return events_;
}

void ScrubberTimelineItem::setEvents(Events events) {
    const std::lock_guard guard(mutex_);
    events_.swap(events);
    noteSegments();
}

void ScrubberTimelineItem::addEvents(Events events) {
    const std::lock_guard guard(mutex_);
    const std::size_t before = events_.size();
    std::ranges::move(events, std::back_inserter(events_));
    for (std::size_t i = before; i < events_.size(); ++i) noteSegmentOf(i);
}

ScrubberTimelineItem::Events ScrubberTimelineItem::eventsOfSegment(std::size_t index) const {
    Events found;
    const std::lock_guard guard(mutex_);
    const auto places = eventsOfSegments_.find(index);
    if (places == eventsOfSegments_.end()) return found;
    found.reserve(places->second.size());
    for (const std::size_t place : places->second) found.push_back(events_[place]);
    return found;
}

void ScrubberTimelineItem::clear() {
    // These go away outside of the lock.
    std::shared_ptr<Segments> segments;
    Events events;
    EventsOfSegments eventsOfSegments;
    {
        const std::lock_guard guard(mutex_);
        segments.swap(segments_);
        events.swap(events_);
        eventsOfSegments.swap(eventsOfSegments_);
    }
    if (!segments) return;
    for (auto& segment : *segments) segment.clear();
}

std::size_t ScrubberTimelineItem::startedBy(const Segments& segments, TimeMs time) {
    const auto after = std::ranges::partition_point(
        segments, [time](const auto& segment) { return longLongValue(segment.startDateTime()) <= time; });
    return static_cast<std::size_t>(after - segments.begin());
}

void ScrubberTimelineItem::noteSegmentOf(std::size_t event) {
    if (!segments_) return;
    const TimeMs time = longLongValue(events_[event].dateTime());
    const std::size_t started = startedBy(*segments_, time);
    if (started == 0 || time >= longLongValue((*segments_)[started - 1].endDateTime())) return;
    eventsOfSegments_[started - 1].push_back(event);
}

void ScrubberTimelineItem::noteSegments() {
    eventsOfSegments_.clear();
    for (std::size_t i = 0; i < events_.size(); ++i) noteSegmentOf(i);
}

}  // namespace korvane
