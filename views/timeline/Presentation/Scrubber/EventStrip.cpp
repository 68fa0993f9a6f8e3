#include "korvane/views/timeline/Presentation/Scrubber/EventStrip.h"

#include <chrono>

#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Scheduler.h"
#include "korvane/toolkit/ToolkitContext.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"
#include "korvane/views/timeline/Model/ScrubberRecords/ScrubberRecordsDataProvider.h"
#include "korvane/views/timeline/Presentation/Scrubber/ScrubberFlowLayout.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr TimeMs closestRange = 24 * 60 * 60 * 1000;

/// Recordings for their type, events for every other one.
ScrubberEntries::ProviderFactory providerFactory(ScrubberWidget& widget, const TimelineEnvironment& environment) {
    return [toolkit = widget.toolkit(),
            service = environment.service](std::int32_t dataSourceType) -> std::shared_ptr<ScrubberDataProvider> {
        if (!service) return nullptr;
        if (dataSourceType == ScrubberDataSourceTypeRecords) {
            return std::make_shared<ScrubberRecordsDataProvider>(*toolkit->scheduler, *service);
        }
        return std::make_shared<ScrubberEventsDataProvider>(*toolkit->scheduler, *service);
    };
}

/// An entry without an id is never the same.
bool isSameEvent(const PlayingCell* cell, const PlayingCell* other) {
    const auto event = cell ? cell->getEvent() : nullptr;
    return event && other && event->identificator().value_or(0) != 0 && isSameEntry(event, other->getEvent());
}

}  // namespace

EventStrip::EventStrip(ScrubberWidget& widget, const TimelineEnvironment& environment)
    : ScrubberStripView(widget, environment, providerFactory(widget, environment), "ScrubberView", true) {}

QUrl EventStrip::layoutFile() const {
    return QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/ScrubberView.qml"));
}

QUrl EventStrip::cellFile() const {
    return QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/ScrubberCell.qml"));
}

QString EventStrip::cellIdentifier() const {
    return QStringLiteral("reuseScrubberCellID");
}

std::unique_ptr<FlowLayout> EventStrip::makeLayout() const {
    return std::make_unique<ScrubberFlowLayout>();
}

// Navigation

void EventStrip::toClosestEvent(const std::shared_ptr<ScrubberEvent>& event) {
    const TimeMs time = event ? event->timeAsValue() : 0;
    const std::int64_t count = entries().count();
    const std::int64_t index =
        time > 0 ? entries().find({0, time, saturatingAdd(time, closestRange - 1), std::nullopt}) : -1;
    const auto before = index > 0 ? entries().at(index - 1) : nullptr;
    const bool isAfterHole = before && before->type() == ScrubberEventTypePending;  // what is there may be closer
    if (index >= 0 && !isAfterHole) {
        toEntry(index);
    } else if (time > 0 && (count >= 3 || isAfterHole)) {
        waitForScroll();
        if (const auto current = entries().provider()) current->updateForTime(time, true, true);
    } else {
        goTo(nullptr);
    }
}

void EventStrip::toNextEvent(bool withSendNotify) {
    toNeighbour(1, withSendNotify);
}

void EventStrip::toPreviousEvent(bool withSendNotify) {
    toNeighbour(-1, withSendNotify);
}

/// The entry beside the one that the strip is on its way to, or else beside the one that plays.
IndexPath EventStrip::neighbour(std::int64_t step) const {
    const std::int64_t count = entries().count();
    if (count < 3) return std::nullopt;
    const std::int64_t live = count - 1;
    std::int64_t from = heading().value_or(-1);
    if (from < 0) {
        const auto current = getCurrentEvent();
        if (current && current->type() != ScrubberEventTypeLive) {
            from = entries().indexOf(current, lastCell()->indexPath().value_or(-1));
            if (from < 0) return std::nullopt;
        }
    }
    if (from < 0 || from == live) return step < 0 ? IndexPath(live - 1) : std::nullopt;
    const std::int64_t next = from + step;
    return next >= 1 && next <= live ? IndexPath(next) : std::nullopt;
}

/// Queues a scroll to an entry, which plays from then on unless it is the live one.
void EventStrip::toNeighbour(std::int64_t step, bool notify) {
    onMain([=, this] {
        const IndexPath next = neighbour(step);
        if (!next) return;
        askAround(*next);
        toEventByIndex(*next, nullptr, notify, false);
    });
}

void EventStrip::continuePlaying(const std::shared_ptr<ScrubberEvent>& finished) {
    // What somebody has chosen meanwhile is not left for its neighbour.
    scheduler().after(300ms, widget().life().guard([this, finished] {
        if (isAtRest() && isSameEntry(getCurrentEvent(), finished)) toNextEvent(true);
    }));
}

// The provider's list has changed

void EventStrip::onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) {
    const QPointer<ScrubberWidget> self(&widget());
    setState(ScrubberStateReady, what.withStatus);
    if (!self || !strip()) return;
    const bool isRegrouped = getConfig().eventGrouping() && what.withSizeChangedFrom != what.withSizeChangedTo;
    const bool isAsked = what.withScrollToIndex >= 0 && takeAwaitedScroll();
    const auto target = isAsked ? entries().at(what.withScrollToIndex) : nullptr;
    showAnew();
    if (!self) return;
    if (isAsked) {
        stopLastCell();
        goWhereAsked(target, what.withScrollToIndex, isRegrouped);
    } else if (what.withScrollToIndex < 0 && !isRegrouped) {
        setState(ScrubberStateReady, what.withStatus);  // the cells have been filled, too
    }
}

void EventStrip::goWhereAsked(const std::shared_ptr<ScrubberEvent>& target, std::int64_t expected, bool isRegrouped) {
    const auto go = [this, target, expected, before = jumpNumber()] {
        if (jumpNumber() != before) return;  // something newer has been asked for
        jumpTo(entries().indexOf(target, expected), 0.0, [this](std::int64_t arrived) { selectAndPlay(arrived); });
    };
    if (isRegrouped) {
        scheduler().after(10ms, widget().life().guard(go));  // a moment for the new layout to settle
    } else {
        go();
    }
}

// The hand

void EventStrip::tapped(std::int64_t index) {
    const std::int64_t last = entries().count() - 1;
    if (index == last) {
        goTo(nullptr);
    } else if (index > 0 && index < last) {
        stopLastCell();
        select(index);
    }
}

void EventStrip::select(IndexPath indexPath) {
    jumpTo(indexPath, 0.0, [this](std::int64_t index) {
        const QPointer<ScrubberWidget> self(&widget());
        selectAndPlay(index);
        if (!self) return;
        if (const auto current = entries().provider()) {
            current->checkPartNeedRequested(static_cast<std::uint64_t>(index), -1, -1);
        }
    });
}

void EventStrip::scrollViewWillBeginDragging(CollectionView& view) {
    ScrubberStripView::scrollViewWillBeginDragging(view);
    if (!view.isDragging()) return;
    if (const PlayingCell* cell = cellAt(indexPathFromPointer())) {
        tellHost(&ScrubberViewDelegate::OnScrubberDraggingStartFlyOverEvent,
                 &ScrubberWidget::scrubberDraggingStartFlyOverEvent, cell->getEvent());
    }
}

void EventStrip::scrollViewDidScroll(CollectionView& view) {
    ScrubberStripView::scrollViewDidScroll(view);
    if (!view.isDragging() || isJumping()) return;
    const IndexPath under = indexPathFromPointer();
    const PlayingCell* const cell = cellAt(under);
    if (!cell) return;
    if (!listens(&ScrubberViewDelegate::OnScrubberDraggingContinueFlyOverEvent,
                 &ScrubberWidget::scrubberDraggingContinueFlyOverEvent)) {
        return;
    }
    const auto event = cell->getEvent();
    if (event) event->setTimeAsValue(cell->getPositionFromOffset(offsetBetweenPointerAndItemBegin(under)));
    tellHost(&ScrubberViewDelegate::OnScrubberDraggingContinueFlyOverEvent,
             &ScrubberWidget::scrubberDraggingContinueFlyOverEvent, event);
}

void EventStrip::step(int direction, bool /*isLong*/) {
    if (!isMovedByHand()) toNeighbour(direction, true);
}

void EventStrip::handHasLeft(HandMove by) {
    if (isJumping()) return;  // where that ends is selected
    const std::int64_t live = entries().count() - 1;
    const IndexPath under = indexPathFromPointer();
    const QPointer<PlayingCell> cell = cellAt(under);
    if (by == HandMove::Drag && cell &&
        !tellHost(&ScrubberViewDelegate::OnScrubberDraggingEndFlyOverEvent,
                  &ScrubberWidget::scrubberDraggingEndFlyOverEvent, cell->getEvent())) {
        return;
    }
    if (isAtRightEnd()) return goTo(nullptr);
    // In a gap the nearer neighbour counts; nobody rests on the head entry because of a gap behind it.
    const IndexPath resting = under ? under : std::max(nearestIndexPath(), IndexPath(std::min<std::int64_t>(1, live)));
    if (!under && resting == IndexPath(live)) return goTo(nullptr);
    if (!resting || *resting < 0 || *resting > live) return;
    if (isSameEvent(cell, lastCell())) {
        // The finger has stayed within the entry that plays: the player is to go where it let go.
        lastCell()->pauseScroll(true);
        lastCell()->pauseProgress(true);
        lastCell()->setPositionByOffset(offsetBetweenPointerAndItemBegin(under));
        return askForVisible();
    }
    stopLastCell();
    select(resting);
}

// What is spoken

TimeMs EventStrip::momentUnderMark(std::int64_t index) const {
    const auto entry = entryAt(index);
    const int type = entry ? entry->type() : ScrubberEventTypePending;
    return type == ScrubberEventTypeItem || type == ScrubberEventTypeGroup ? momentOf(entry->fields()) : -1;
}

std::shared_ptr<ScrubberEvent> EventStrip::eventNear(std::int64_t index, TimeMs /*moment*/) const {
    const bool hasRecordings = entries().provider() && settings().dataSourceType() == ScrubberDataSourceTypeRecords;
    return hasRecordings ? nullptr : entryAt(index);
}

QString EventStrip::zoneOf(const ScrubberEvent& entry) const {
    return QString::fromStdString(entry.timezone());
}

}  // namespace korvane
