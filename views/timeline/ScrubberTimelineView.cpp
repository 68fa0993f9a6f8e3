#include "korvane/views/timeline/ScrubberTimelineView.h"

#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCollectionView.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/TimelineStrip.h"

namespace korvane {

ScrubberTimelineView::ScrubberTimelineView(QQuickItem* parent)
    : ScrubberTimelineView(TimelineEnvironment::shared(), Rect{}, parent) {}

ScrubberTimelineView::ScrubberTimelineView(const TimelineEnvironment& environment, const Rect& frame,
                                           QQuickItem* parent)
    : ScrubberWidget(environment, parent) {
    setStrip(std::make_unique<TimelineStrip>(*this, environment), frame);
}

TimelineStrip& ScrubberTimelineView::timeline() const {
    return static_cast<TimelineStrip&>(strip());
}

void ScrubberTimelineView::toClosestEvent(const std::shared_ptr<ScrubberEvent>& event) {
    timeline().toClosestEvent(event);
}

void ScrubberTimelineView::toClosestEvent(qint64 time) {
    timeline().toClosestEvent(ScrubberEvent::build(time));
}

void ScrubberTimelineView::toNextEvent() {
    timeline().toNextEvent(true);
}

void ScrubberTimelineView::toNextEventWithSendNotify(bool withSendNotify) {
    timeline().toNextEvent(withSendNotify);
}

void ScrubberTimelineView::toPreviousEvent() {
    timeline().toPreviousEvent(true);
}

void ScrubberTimelineView::toPreviousEventWithSendNotify(bool withSendNotify) {
    timeline().toPreviousEvent(withSendNotify);
}

void ScrubberTimelineView::toNextEventOnlyScroll() {
    timeline().toNextEventOnlyScroll();
}

void ScrubberTimelineView::toEventByIndex(std::int64_t index, const std::shared_ptr<ScrubberEvent>& withEvent,
                                          bool withSendNotify, bool withSendNotifyForLive) {
    timeline().toEventByIndex(index, withEvent, withSendNotify, withSendNotifyForLive);
}

std::shared_ptr<ScrubberEvent> ScrubberTimelineView::getEventByPosition(TimeMs position, std::int64_t withCount,
                                                                        std::int64_t& andIndex) const {
    if (withCount < 3) return nullptr;
    const ScrubberEntries& entries = strip().entries();
    const std::int64_t index = position == -1 ? withCount - 1 : entries.findByPosition(position);
    if (index < 0 || index >= withCount) return nullptr;
    andIndex = index;
    return entries.at(index);
}

std::shared_ptr<ScrubberEvent> ScrubberTimelineView::getClosestEventByPosition(TimeMs position, std::int64_t withCount,
                                                                               std::int64_t& withIndex,
                                                                               bool& andIsPositionExist) const {
    if (position == -1) return getEventByPosition(position, withCount, withIndex);
    if (withCount < 3) return nullptr;
    const ScrubberEntries& entries = strip().entries();
    const ScrubberEventPlace place = entries.findClosestByPosition(position);
    if (place.index < 0 || place.index >= withCount) return nullptr;
    withIndex = place.index;
    andIsPositionExist = place.isPositionExist;
    return entries.at(place.index);
}

void ScrubberTimelineView::scrollToPosition(bool notify, bool /*withStartUpdating*/,
                                            double /*withFixedAnimationTime*/) {
    ScrubberWidget::scrollToPosition(notify);
}

void ScrubberTimelineView::scrollToPosition(TimeMs time, bool withNotify, bool withStartUpdating,
                                            double withFixedAnimationTime) {
    timeline().scrollToTime(time, withNotify, withStartUpdating, withFixedAnimationTime);
}

bool ScrubberTimelineView::isScrolling() const {
    return timeline().isScrolling();
}

ScrubberTimelineCollectionView* ScrubberTimelineView::getCollectionView() const {
    return timeline().collectionView();
}

ScrubberTimelineCell* ScrubberTimelineView::getScrubberTimelineCellByIndex(std::int64_t index) const {
    return timeline().timelineCell(index);
}

double ScrubberTimelineView::getOffsetItemBegin(IndexPath indexPath) const {
    auto* const view = timeline().collectionView();
    return view ? view->layoutAttributesForItemAtIndexPath(indexPath).value_or(Rect{}).x : 0;
}

}  // namespace korvane
