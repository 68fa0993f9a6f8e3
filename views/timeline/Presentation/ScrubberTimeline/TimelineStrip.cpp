#include "korvane/views/timeline/Presentation/ScrubberTimeline/TimelineStrip.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Scheduler.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"
#include "korvane/views/timeline/Model/ScrubberRecords/ScrubberRecordsDataProvider.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCell.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineCollectionView.h"
#include "korvane/views/timeline/Presentation/ScrubberTimeline/ScrubberTimelineFlowLayout.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr TimeMs joinsGroup = 1001;     // the widest gap between two entries of one bar
constexpr TimeMs insideOfEntry = 1000;  // where a move to an entry lands that was not asked for by its moment
constexpr double ticksPerCell = 4;
constexpr auto seenTime = 100ms;  // under the mark, from which on a segment is looked at

ScrubberEntries::ProviderFactory providerFactory(ScrubberWidget& widget, const TimelineEnvironment& environment) {
    return [toolkit = widget.toolkit(),
            service = environment.service](std::int32_t dataSourceType) -> std::shared_ptr<ScrubberDataProvider> {
        if (!service) return nullptr;
        Scheduler& scheduler = *toolkit->scheduler;
        switch (dataSourceType) {
            case ScrubberDataSourceTypeRecords:
                return std::make_shared<ScrubberRecordsDataProvider>(scheduler, *service);
            case ScrubberDataSourceTypeTimeline:
                return std::make_shared<ScrubberTimelineDataProvider>(scheduler, *service);
            default:
                return std::make_shared<ScrubberEventsDataProvider>(scheduler, *service);
        }
    };
}

bool isApart(TimeMs end, TimeMs nextStart) {
    return std::abs(saturatingSubtract(nextStart, end)) > joinsGroup;
}

/// The tree gives another object for an entry each time.
bool isSame(const std::shared_ptr<ScrubberEvent>& one, const std::shared_ptr<ScrubberEvent>& other) {
    if (one == other || !one || !other) return one && other;
    return one->type() == other->type() && one->start() == other->start() && one->end() == other->end();
}

}  // namespace

TimelineStrip::TimelineStrip(ScrubberWidget& widget, const TimelineEnvironment& environment)
    : ScrubberStripView(widget, environment, providerFactory(widget, environment), "ScrubberTimelineView", false) {}

QUrl TimelineStrip::layoutFile() const {
    return QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/ScrubberTimelineView.qml"));
}

QUrl TimelineStrip::cellFile() const {
    return QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/ScrubberTimelineCell.qml"));
}

QString TimelineStrip::cellIdentifier() const {
    return QStringLiteral("reuseScrubberTimelineCellID");
}

std::unique_ptr<FlowLayout> TimelineStrip::makeLayout() const {
    return std::make_unique<ScrubberTimelineFlowLayout>();
}

ScrubberTimelineCell* TimelineStrip::timelineCell(IndexPath indexPath) const {
    return qobject_cast<ScrubberTimelineCell*>(cellAt(indexPath));
}

ScrubberTimelineCollectionView* TimelineStrip::collectionView() const {
    return qobject_cast<ScrubberTimelineCollectionView*>(strip());
}

// Entries, which the tree makes anew each time it is asked

bool TimelineStrip::hasTree() const {
    return !entries().ownList() && dynamic_cast<const ScrubberTimelineDataProvider*>(entries().provider().get());
}

/// The tree makes an entry anew for each question, so what has been written into one is in its cell's alone.
std::shared_ptr<ScrubberEvent> TimelineStrip::entryAt(std::int64_t index) const {
    const PlayingCell* const cell = cellAt(index);
    auto shown = cell ? cell->getEvent() : nullptr;
    if (!shown || !hasTree()) return entries().at(index);
    const auto span = entries().spanAt(index);
    return span && span->type == shown->type() && span->start == shown->start() ? shown : entries().at(index);
}

std::int64_t TimelineStrip::indexOfEntry(const std::shared_ptr<ScrubberEvent>& event, std::int64_t expected) const {
    if (!event || !hasTree()) return ScrubberStripView::indexOfEntry(event, expected);
    if (event->type() == ScrubberEventTypeHead) return 0;
    if (event->type() == ScrubberEventTypeLive) return entries().count() - 1;
    const auto isThere = [this, start = event->start()](std::int64_t index) {
        const auto span = entries().spanAt(index);
        return span && span->type == ScrubberEventTypeItem && span->start == start;
    };
    if (isThere(expected)) return expected;
    // Periods may overlap: the one that begins then, not the first one that lasts then.
    const std::int64_t found = entries().find(ScrubberEventQuery::at(event->start()));
    return found >= 0 && isThere(found) ? found : -1;
}

std::int64_t TimelineStrip::indexOfPosition(std::int64_t count) const {
    const Position wanted = position();
    if (wanted.time == -1) return count - 1;
    // Of several entries of one moment, the very one.
    const auto entry = wanted.entry.lock();
    const std::int64_t index = entry ? indexOfEntry(entry, wanted.index) : wanted.index;
    const auto span = entries().spanAt(index);
    if (span && (span->timeAsValue == wanted.time || span->covers(wanted.time, false))) return index;
    return entries().findByPosition(wanted.time);
}

void TimelineStrip::positionReached(std::int64_t index, TimeMs time) {
    if (const auto entry = entryAt(index)) entry->setTimeAsValue(time);
}

bool TimelineStrip::isWanting(std::int64_t index) const {
    return hasTree() || ScrubberStripView::isWanting(index);
}

TimelineStrip::GroupEnds TimelineStrip::groupEnds(std::int64_t index) const {
    const auto entry = entries().spanAt(index);
    if (!entry) return {};
    if (entry->type == ScrubberEventTypeHead || entry->type == ScrubberEventTypeLive) return {true, true};
    GroupEnds ends;
    if (entry->start <= 0 || entry->end <= 0) return ends;
    if (const auto next = entries().spanAt(index + 1)) {
        ends.isEnd = next->type == ScrubberEventTypeLive || (next->start > 0 && isApart(entry->end, next->start));
    }
    if (const auto previous = entries().spanAt(index - 1)) {
        ends.isBegin =
            previous->type == ScrubberEventTypeHead || (previous->end > 0 && isApart(previous->end, entry->start));
    }
    return ends;
}

double TimelineStrip::scaleWidthOf(std::int64_t index) const {
    const GroupEnds ends = groupEnds(index);
    constexpr double gap = ScrubberTimelineCellCustomView::groupGap;
    const double gaps = (ends.isBegin ? gap : 0) + (ends.isEnd ? gap : 0);
    return std::max(0.0, ScrubberStripView::scaleWidthOf(index) - gaps);
}

void TimelineStrip::fillCell(PlayingCell& cell, IndexPath indexPath) {
    if (auto* const filled = qobject_cast<ScrubberTimelineCell*>(&cell)) {
        const GroupEnds ends = groupEnds(indexPath.value_or(-1));
        filled->setIsBeginOfCellGroup(ends.isBegin);
        filled->setIsEndOfCellGroup(ends.isEnd);
    }
    ScrubberStripView::fillCell(cell, indexPath);
}

/// A load may have cut the recorded time into other segments, or the last one has become longer.
void TimelineStrip::movePlace(Place& place, std::int64_t count) const {
    const std::int64_t before = place.index;
    ScrubberStripView::movePlace(place, count);
    const auto there = entries().spanAt(place.index);
    const bool isSame = there && there->start == place.start && there->end == place.end;
    if (isSame || !hasTree() || place.width <= 0 || place.offset < 0 || place.end <= place.start) return;
    const double part = std::min(1.0, place.offset / place.width);
    const auto length = static_cast<double>(saturatingSubtract(place.end, place.start));
    const TimeMs moment = saturatingAdd(place.start, std::llround(part * length));
    const std::int64_t index = entries().findByPosition(moment);
    const auto span = entries().spanAt(index);
    if (!span || span->end <= span->start) {
        if (!there) place.index = std::clamp<std::int64_t>(before, 0, count - 1);
        return;
    }
    place.index = index;
    place.width = scaleWidthOf(index);
    place.offset = place.width * static_cast<double>(saturatingSubtract(moment, span->start)) /
                   static_cast<double>(saturatingSubtract(span->end, span->start));
    place.start = span->start;
    place.end = span->end;
}

// Navigation

void TimelineStrip::toClosestEvent(const std::shared_ptr<ScrubberEvent>& event) {
    const TimeMs time = event ? event->timeAsValue() : -1;
    const ScrubberEventPlace place = entries().findClosestByPosition(time);
    const auto closest = entries().at(place.index);
    if (!closest) return;
    const bool holdsMoment = place.isPositionExist && time != -1;
    closest->setTimeAsValue(holdsMoment ? time : saturatingAdd(closest->timeAsValue(), insideOfEntry));
    toEvent(closest, true, true, alignSeconds, place.index);
}

void TimelineStrip::toNextEvent(bool withSendNotify) {
    onMain([=, this] { toNeighbour(1, withSendNotify, true); });
}

void TimelineStrip::toNextEventOnlyScroll() {
    onMain([this] { toNeighbour(1, false, false); });
}

void TimelineStrip::toPreviousEvent(bool withSendNotify) {
    onMain([=, this] { toNeighbour(-1, withSendNotify, true); });
}

/// Of the entry that the strip is on its way to, or else of the one that plays.
IndexPath TimelineStrip::neighbour(std::int64_t step) const {
    const std::int64_t count = entries().count();
    IndexPath from = heading();
    if (!from && lastCell()) {
        const auto event = lastCell()->getEvent();
        if (event && event->type() != ScrubberEventTypeLive) from = lastCell()->indexPath();
    }
    if (count < 3 || !from) return std::nullopt;
    const std::int64_t next = *from + step;
    return next >= 1 && next < count ? IndexPath(next) : std::nullopt;
}

void TimelineStrip::toNeighbour(std::int64_t step, bool notify, bool isByUser) {
    if (isByUser && isMovedByHand()) return;
    const IndexPath next = neighbour(step);
    const auto entry = next ? entries().at(*next) : nullptr;
    if (!entry) return;
    // A step back to the first entry lands inside of it. From its start, or an entry that is kept would wander off.
    if (step < 0 && next == IndexPath(1)) entry->setTimeAsValue(saturatingAdd(entry->start(), insideOfEntry));
    toEventByIndex(*next, entry, notify, true);
}

void TimelineStrip::scrollToTime(TimeMs time, bool notify, bool withStartUpdating, double withFixedAnimationTime) {
    if (entries().count() < 2) return;
    onMain([=, this] {
        const std::int64_t index = entries().findByPosition(time);
        scrollToEntry(index, time, notify, withFixedAnimationTime, withStartUpdating);
    });
}

void TimelineStrip::continuePlaying(const std::shared_ptr<ScrubberEvent>& finished) {
    // What somebody has chosen meanwhile is not left for its neighbour.
    scheduler().after(100ms, widget().life().guard([this, finished] {
        if (isAtRest() && isSame(getCurrentEvent(), finished)) toNeighbour(1, false, false);
    }));
}

void TimelineStrip::onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) {
    trace(1, classPath(), "OnScrubberDataProviderReloadIndexRequired: ", what.withScrollToIndex);
    const bool isAsked = what.withScrollToIndex >= 0 && takeAwaitedScroll();
    const QPointer<ScrubberWidget> self(&widget());
    showAnew();
    if (self && isAsked) scrollToPosition(true, alignSeconds);
}

// The hand

void TimelineStrip::tapped(std::int64_t index) {
    if (index == entries().count() - 1) goTo(nullptr);
}

void TimelineStrip::step(int direction, bool isLong) {
    if (isMovedByHand()) return;
    if (!isLong) return moveByHand(direction * getConfig().cellWidth() / ticksPerCell);
    const IndexPath next = heading() || lastCell() ? neighbour(direction) : std::nullopt;
    if (next) {
        toNeighbour(direction, true, true);
    } else if (direction < 0 && nearestIndexPath() == IndexPath(entries().count() - 1)) {
        toEntry(entries().count() - 2);
    }
}

void TimelineStrip::scrollViewDidComeToStandstill(CollectionView& /*view*/) {
    answers().setScrolling(false);
}

/// The entry under the mark, with the moment there written into it where it has moments.
std::shared_ptr<ScrubberEvent> TimelineStrip::takeTimeUnderMark(IndexPath under) {
    const ScrubberTimelineCell* const cell = timelineCell(under);
    auto event = cell ? entryAt(*under) : nullptr;
    if (event && event->type() != ScrubberEventTypeLive)
        event->setTimeAsValue(cell->positionUnder(offsetBetweenPointerAndItemBegin(under)));
    return event;
}

/// Of what a flick rushes by nothing is asked for: a segment counts that has been under the mark for a moment.
void TimelineStrip::askForSegment(IndexPath under) {
    const auto now = scheduler().monotonicNow();
    if (std::exchange(passing_, under) != under) passingSince_ = now;
    const auto provider = entries().provider();  // another thread may bind another one
    if (now - passingSince_ < seenTime || !under || !provider || !hasTree()) return;
    provider->checkPartNeedRequested(static_cast<std::uint64_t>(*under), -1, -1);
}

/// Tells the host of the recording to play for that moment, when the provider has it. Of several that wait for one
/// reply the provider answers the last, so the first answer of a drag is its start, whichever was asked for it.
void TimelineStrip::tellRecordingUnderMark(IndexPath under, TimeMs time) {
    const auto provider = entries().provider();
    if (!under || !provider || entries().ownList() || !isFlownOver()) return;
    auto tell = widget().life().guard([=, this, drag = drag_](const std::shared_ptr<ScrubberEvent>& recording) {
        // What comes when the hand has left, or in the next drag, is not under the mark any more.
        if (entries().provider() != provider || drag != drag_ || !isFlying_) return;
        if (std::exchange(isStartAwaited_, false)) {
            tellHost(&ScrubberViewDelegate::OnScrubberDraggingStartFlyOverEvent,
                     &ScrubberWidget::scrubberDraggingStartFlyOverEvent, recording);
        } else {
            tellHost(&ScrubberViewDelegate::OnScrubberDraggingContinueFlyOverEvent,
                     &ScrubberWidget::scrubberDraggingContinueFlyOverEvent, recording);
        }
    });
    provider->getUrl(static_cast<std::uint64_t>(*under), time,
                     [tell = std::move(tell),
                      main = widget().toolkit()->scheduler](const std::shared_ptr<ScrubberEvent>& recording) {
                         if (!recording) return;
                         if (main->isMainThread()) {
                             auto tellNow = tell;
                             tellNow(recording);
                         } else {
                             main->post([tell, recording]() mutable { tell(recording); });
                         }
                     });
}

bool TimelineStrip::isFlownOver() const {
    return listens(&ScrubberViewDelegate::OnScrubberDraggingStartFlyOverEvent,
                   &ScrubberWidget::scrubberDraggingStartFlyOverEvent) ||
           listens(&ScrubberViewDelegate::OnScrubberDraggingContinueFlyOverEvent,
                   &ScrubberWidget::scrubberDraggingContinueFlyOverEvent);
}

void TimelineStrip::scrollViewWillBeginDragging(CollectionView& view) {
    ScrubberStripView::scrollViewWillBeginDragging(view);
    if (!view.isDragging()) return;
    isStartAwaited_ = isFlying_ = true;
    ++drag_;
    const IndexPath under = indexPathFromPointer();
    if (const auto event = takeTimeUnderMark(under)) tellRecordingUnderMark(under, event->timeAsValue());
}

void TimelineStrip::scrollViewDidScroll(CollectionView& view) {
    ScrubberStripView::scrollViewDidScroll(view);
    answers().setScrolling(true);
    if (isJumping()) return;
    const IndexPath under = indexPathFromPointer();
    const auto event = takeTimeUnderMark(under);
    if (!event) return;
    askForSegment(under);
    const TimeMs time = event->timeAsValue();
    if ((view.isDragging() || view.isDecelerating()) &&
        !tellHost(&ScrubberViewDelegate::OnScrubberFlyOverEvent, &ScrubberWidget::scrubberFlyOverEvent, event)) {
        return;
    }
    if (view.isDragging()) tellRecordingUnderMark(under, time);
}

void TimelineStrip::handHasLeft(HandMove by) {
    isStartAwaited_ = isFlying_ = false;
    if (isJumping() || !strip()) return;  // where that ends is selected
    // In a gap the nearer neighbour counts, and nobody rests on the head entry.
    const IndexPath nearest = nearestIndexPath();
    if (!nearest || entries().count() < 2) return;
    if (*nearest == 0) return toEventByIndex(1, nullptr, true, true);
    const auto event = takeTimeUnderMark(nearest);
    if (!event) return askForVisible();
    if (const auto provider = entries().provider(); provider && !entries().ownList()) {
        provider->getUrl(static_cast<std::uint64_t>(*nearest), event->timeAsValue(), [](const auto&) {});
    }
    const std::uint64_t before = jumpNumber();
    // The host may have moved the strip, or bound another list.
    const auto isOvertaken = [&] {
        return jumpNumber() != before || nearestIndexPath() != nearest || !isSame(entryAt(*nearest), event);
    };
    if (by != HandMove::Keys) {
        if (!tellHost(&ScrubberViewDelegate::OnScrubberDraggingEndFlyOverEvent,
                      &ScrubberWidget::scrubberDraggingEndFlyOverEvent, event) ||
            isOvertaken()) {
            return;
        }
    }
    if (isAtRightEnd()) return goTo(nullptr);
    stopLastCell();  // waits for a callback, in which the host may bind another list
    if (isOvertaken() || !tellSelected(*nearest, event) || isOvertaken()) return;
    play(*nearest);
    rememberPlace();
    syncPlayingOffset();
    askForVisible();
}

// What is spoken

TimeMs TimelineStrip::momentUnderMark(std::int64_t index) const {
    const ScrubberTimelineCell* const cell = timelineCell(index);
    const auto span = entries().spanAt(index);
    if (!cell || !span || span->type != ScrubberEventTypeItem) return -1;
    return cell->positionUnder(offsetBetweenPointerAndItemBegin(index));
}

/// In the segment under the mark, or in those beside it.
std::shared_ptr<ScrubberEvent> TimelineStrip::eventNear(std::int64_t index, TimeMs moment) const {
    if (!hasTree()) return entryAt(index);
    std::shared_ptr<ScrubberEvent> nearest;
    const auto distance = [moment](const ScrubberEvent& event) {
        return std::abs(saturatingSubtract(event.timeAsValue(), moment));
    };
    for (const std::int64_t beside : {index, index - 1, index + 1}) {
        const auto segment = entries().at(beside);
        for (const auto& event : segment ? segment->childs() : ScrubberEvent::Childs())
            if (event && (!nearest || distance(*event) < distance(*nearest))) nearest = event;
    }
    return nearest;
}

/// Of a segment QML knows the number, which another one has after the next load, and the moment.
std::shared_ptr<ScrubberEvent> TimelineStrip::entryOf(const ScrubberEventInfo& event) const {
    if (!event.valid || !hasTree()) return ScrubberStripView::entryOf(event);
    return event.type == ScrubberEventTypeLive ? nullptr : ScrubberEvent::build(event.identificator, event.timeAsValue);
}

QString TimelineStrip::zoneOf(const ScrubberEvent& /*entry*/) const {
    return settings().dateTimeZone();
}

}  // namespace korvane
