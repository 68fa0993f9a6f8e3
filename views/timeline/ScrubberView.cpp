#include "views/timeline/ScrubberView.h"

#include <QGuiApplication>
#include <QScreen>
#include <chrono>
#include <utility>

#include "base/Log.h"
#include "base/Scheduler.h"
#include "client/Status.h"
#include "toolkit/InterfaceLoader.h"
#include "toolkit/LayoutConstraint.h"
#include "views/timeline/Presentation/Outlets.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"
#include "views/timeline/Presentation/Scrubber/ScrubberFlowLayout.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* classPath = "ScrubberView";
const QString cellIdentifier = QStringLiteral("reuseScrubberCellID");

constexpr double alignSeconds = 0.002;  // a scroll to the position, all but at once

bool isSameEvent(const ScrubberCell* cell, const ScrubberCell* other) {
    const auto event = cell ? cell->getEvent() : nullptr;
    const auto otherEvent = other ? other->getEvent() : nullptr;
    if (!event || !otherEvent) return false;
    const auto id = event->identificator();
    return id && *id != 0 && id == otherEvent->identificator();
}

}  // namespace

ScrubberView::ScrubberView(QQuickItem* parent) : ScrubberView(TimelineEnvironment::shared(), Rect{}, parent) {}

ScrubberView::ScrubberView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent)
    : ScrubberViewBase(environment, parent) {
    customInit();
    setX(frame.x);
    setY(frame.y);
    setSize(QSizeF(frame.width, frame.height));
    stretch(parentItem());
    layoutSubviews();
}

ScrubberView::~ScrubberView() {
    if (scrubberEventsCollectionView_) {
        scrubberEventsCollectionView_->setDelegate(nullptr);
        scrubberEventsCollectionView_->setDataSource(nullptr);
        for (ScrubberCell* cell : scrubberEventsCollectionView_->findChildren<ScrubberCell*>()) cell->clean();
    }
    leave();
}

void ScrubberView::customInit() {
    if (QQuickItem* root = loadContentView(QStringLiteral("ScrubberView"))) {
        Outlets outlets(root);
        conatinerForScrubberEvents_ = outlets.get<QQuickItem>("conatinerForScrubberEvents");
        scrubberEventsCollectionView_ = outlets.get<ScrubberCollectionView>("scrubberEventsCollectionView");
        scrubberCenterMarkView_ = outlets.get<QQuickItem>("scrubberCenterMarkView");
        scrubberCenterMarkViewWidth_ = outlets.get<LayoutConstraint>("scrubberCenterMarkViewWidth");
        outlets.report(classPath);
    }
    setup();
}

void ScrubberView::setup() {
    setState(ScrubberStateReady, 0);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        connect(screen, &QScreen::orientationChanged, this, [this] { orientationChanged(); });
    }
    markedStrip_.setItems(conatinerForScrubberEvents_, scrubberEventsCollectionView_, scrubberCenterMarkView_);
    if (!scrubberEventsCollectionView_) return;
    scrubberEventsCollectionView_->registerNib(QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/ScrubberCell.qml")),
                                               cellIdentifier);
    scrubberEventsCollectionView_->setDelegate(this);
    scrubberEventsCollectionView_->setDataSource(this);
    setScreenLayout();
}

void ScrubberView::setScreenLayout() {
    scrubberEventsCollectionView_->setCollectionViewLayout(std::make_unique<ScrubberFlowLayout>(), true, {});
}

void ScrubberView::orientationChanged() {
    trace(1, classPath, "orientationChanged");
    scheduler().after(500ms, [] { trace(1, classPath, "orientationChanged: done"); });
}

void ScrubberView::reload() {
    if (!scrubberEventsCollectionView_) return;
    scrubberEventsCollectionView_->reloadDataWithCompletion(life().guard([this] { scrollToPosition(false); }));
}

void ScrubberView::applyConfig() {
    onMain([this] {
        const QScreen* const screen = QGuiApplication::primaryScreen();
        const double scale = screen ? screen->devicePixelRatio() : 1.0;
        if (scrubberEventsCollectionView_) {
            scrubberEventsCollectionView_->collectionViewLayout()->setMinimumInteritemSpacing(
                getConfig().cellSeparatorWidth());
        }
        if (scrubberCenterMarkViewWidth_) {
            scrubberCenterMarkViewWidth_->setConstant(getConfig().scrubberCenterMarkWidth() / scale);
        }
        setBackgroundColor(conatinerForScrubberEvents_, getConfig().backgroundColor());
        setBackgroundColor(scrubberEventsCollectionView_, getConfig().backgroundColor());
        setBackgroundColor(scrubberCenterMarkView_, getConfig().scrubberCenterMarkColor());
    });
}

void ScrubberView::layoutSubviews() {
    if (scrubberEventsCollectionView_) scrubberEventsCollectionView_->collectionViewLayout()->invalidateLayout();
    scrollToPosition(false);
}

// The list

std::shared_ptr<ScrubberEvent> ScrubberView::getCurrentEvent() const {
    return lastCell_ ? lastCell_->getEvent() : nullptr;
}

void ScrubberView::toEvent(const std::shared_ptr<ScrubberEvent>& event) {
    toEvent(event, true);
}

void ScrubberView::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify) {
    toEvent(event, withSendNotify, true);
}

void ScrubberView::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll) {
    toEvent(event, withSendNotify, withScroll, alignSeconds);
}

void ScrubberView::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                           double withFixedAnimationTime) {
    setPositionTime((event ? event : ScrubberEvent::build(-1))->timeAsValue());
    if (withScroll) {
        scrollToPosition(withSendNotify, withFixedAnimationTime);
    } else if (lastCell_) {
        lastCell_->stopProgress();
        lastCell_->startProgress(this);
    }
}

void ScrubberView::updateScrubberData() {
    onMain([this] { layoutSubviews(); });
}

void ScrubberView::onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) {
    if (!scrubberEventsCollectionView_) return setState(ScrubberStateReady, what.withStatus);
    if (getConfig().eventGrouping() && what.withSizeChangedFrom != what.withSizeChangedTo) {
        scrubberEventsCollectionView_->reloadDataWithCompletion(life().guard([this, what] { reloadRegrouped(what); }));
        return;
    }
    const QPointer<ScrubberView> self(this);
    setState(ScrubberStateReady, what.withStatus);
    if (!self) return;
    if (what.withScrollToIndex < 0) {
        reloadVisible(what);
    } else {
        stopLastCell();
        scrollToPointer(what.withScrollToIndex, 0.0, [this, index = what.withScrollToIndex] {
            if (selected(index)) play(index);
        });
    }
}

void ScrubberView::reloadVisible(const ScrubberProviderBridge::ReloadIndex& what) {
    ScrubberCollectionView& strip = *scrubberEventsCollectionView_;
    auto done = [this, what](bool) {
        const QPointer<ScrubberView> self(this);
        setState(ScrubberStateReady, what.withStatus);
        if (!self) return;
        stopLastCell();
        if (selected(what.index)) play(what.index);
    };
    strip.performBatchUpdates([&strip] { strip.reloadItemsAtIndexPaths(strip.indexPathsForVisibleItems()); },
                              life().guard(std::move(done)));
}

void ScrubberView::reloadRegrouped(const ScrubberProviderBridge::ReloadIndex& what) {
    const QPointer<ScrubberView> self(this);
    setState(ScrubberStateReady, what.withStatus);
    if (!self) return;
    stopLastCell();
    const IndexPath target = what.withScrollToIndex < 0 ? getIndexPathFromPointer() : IndexPath(what.withScrollToIndex);
    // A moment for the new layout to settle.
    scheduler().after(10ms, life().guard([this, target] {
        scrollToPointer(target, 0.0, [this, target] {
            if (selected(*target)) play(*target);
        });
    }));
}

// Scrolling under the mark

ScrubberCell* ScrubberView::cellAt(IndexPath indexPath) const {
    return scrubberEventsCollectionView_
               ? qobject_cast<ScrubberCell*>(scrubberEventsCollectionView_->cellForItemAtIndexPath(indexPath))
               : nullptr;
}

void ScrubberView::scrollOnDeltaX(IndexPath /*indexPath*/, double delta) {
    markedStrip_.setBaseOffsetX(getBaseOffset().x + delta);
}

void ScrubberView::scrollOnPositionX(IndexPath /*indexPath*/, double position) {
    markedStrip_.setBaseOffsetX(position);
}

void ScrubberView::scrollToPosition(bool notify) {
    scrollToPosition(notify, alignSeconds);
}

void ScrubberView::scrollToPosition(bool notify, double withFixedAnimationTime) {
    const std::int64_t count = getEventsCount();
    if (count < 2) return;
    if (positionTime() != -1) {
        onMain([=, this] { scrollToEntryOfPosition(notify, withFixedAnimationTime, count); });
        return;
    }
    onMain([=, this] {
        scrollToPointer(count - 1, withFixedAnimationTime, [this, notify, count] {
            stopLastCell();
            if (notify) selected(count - 1);
        });
    });
}

void ScrubberView::scrollToEntryOfPosition(bool notify, double withFixedAnimationTime, std::int64_t count) {
    if (!scrubberEventsCollectionView_) return;
    const std::int64_t index = entries().find(ScrubberEventQuery::at(positionTime()));
    if (index < 0 || index >= count) return;
    const QPointer<ScrubberView> self(this);  // a step of a drag is told, so the host may destroy the view
    scrubberEventsCollectionView_->scrollToItemAtIndexPath(index, CollectionViewScrollPosition::Right, false);
    if (!self) return;
    scrollToPointer(index, withFixedAnimationTime, [this, notify, index] {
        stopLastCell();
        if (!notify || selected(index)) play(index);
    });
}

void ScrubberView::scrollToPointer(IndexPath indexPath, double withFixedAnimationTime,
                                   std::function<void()> completion) {
    trace(1, classPath, "scrollToPointer: ", indexPath.value_or(-1));
    markedStrip_.scrollToPointer(indexPath, withFixedAnimationTime, std::move(completion));
}

/// Tells the host that the entry is selected. False when the host has destroyed this view.
bool ScrubberView::selected(std::int64_t index) {
    return tellHost(&ScrubberViewDelegate::OnScrubberDidSelectEvent, &ScrubberView::scrubberDidSelectEvent,
                    getEventByIndex(index));
}

void ScrubberView::play(std::int64_t index) {
    ScrubberCell* const cell = cellAt(index);
    if (lastCell_ && lastCell_ != cell) stopLastCell();
    if (cell) cell->startProgress(this);
    lastCell_ = cell;
}

void ScrubberView::stopLastCell() {
    if (lastCell_) lastCell_->stopProgress();
    lastCell_ = nullptr;
}

void ScrubberView::select(IndexPath indexPath) {
    scrollToPointer(indexPath, 0.0, [this, indexPath] {
        if (!selected(*indexPath)) return;
        play(*indexPath);
        if (const auto current = entries().provider()) {
            current->checkPartNeedRequested(static_cast<std::uint64_t>(*indexPath), -1, -1);
        }
    });
}

void ScrubberView::endOfScroll(bool afterDrag) {
    const IndexPath under = getIndexPathFromPointer();
    if (!under) {
        toEvent(nullptr);
        return;
    }
    if (*under < 0 || *under >= getEventsCount()) return;
    const QPointer<ScrubberCell> cell = cellAt(under);
    if (afterDrag && cell &&
        !tellHost(&ScrubberViewDelegate::OnScrubberDraggingEndFlyOverEvent,
                  &ScrubberView::scrubberDraggingEndFlyOverEvent, cell->getEvent())) {
        return;
    }
    if (isSameEvent(cell, lastCell_)) {
        lastCell_->pauseScroll(true);
        lastCell_->pauseProgress(true);
        lastCell_->setPositionByOffset(getOffsetBetweenPointerAndItemBegin(under));
        return;
    }
    stopLastCell();
    select(under);
}

void ScrubberView::scrollViewWillBeginDragging(CollectionView& view) {
    if (lastCell_) lastCell_->pauseScroll(true);
    if (!view.isDragging()) return;
    if (const ScrubberCell* cell = cellAt(getIndexPathFromPointer())) {
        tellHost(&ScrubberViewDelegate::OnScrubberDraggingStartFlyOverEvent,
                 &ScrubberView::scrubberDraggingStartFlyOverEvent, cell->getEvent());
    }
}

void ScrubberView::scrollViewDidScroll(CollectionView& view) {
    if (!view.isDragging()) return;
    const IndexPath under = getIndexPathFromPointer();
    const ScrubberCell* const cell = cellAt(under);
    if (!cell) return;
    if (!listens(&ScrubberViewDelegate::OnScrubberDraggingContinueFlyOverEvent,
                 &ScrubberView::scrubberDraggingContinueFlyOverEvent)) {
        return;
    }
    const auto event = cell->getEvent();
    if (event) event->setTimeAsValue(cell->getPositionFromOffset(getOffsetBetweenPointerAndItemBegin(under)));
    tellHost(&ScrubberViewDelegate::OnScrubberDraggingContinueFlyOverEvent,
             &ScrubberView::scrubberDraggingContinueFlyOverEvent, event);
}

void ScrubberView::scrollViewDidEndDragging(CollectionView& /*view*/, bool willDecelerate) {
    if (!willDecelerate) endOfScroll(true);
}

void ScrubberView::scrollViewWillBeginDecelerating(CollectionView& /*view*/) {
    if (lastCell_) lastCell_->pauseScroll(true);
}

void ScrubberView::scrollViewDidEndDecelerating(CollectionView& /*view*/) {
    endOfScroll(false);
}

// The strip's data source and layout

std::int64_t ScrubberView::collectionViewNumberOfItemsInSection(CollectionView& /*view*/, std::int64_t /*section*/) {
    return getEventsCount();
}

CollectionViewCell* ScrubberView::collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath indexPath) {
    CollectionViewCell* const dequeued = view.dequeueReusableCell(cellIdentifier, indexPath);
    auto* const cell = qobject_cast<ScrubberCell*>(dequeued);
    if (!cell) return dequeued;
    if (lastCell_ == cell) lastCell_ = nullptr;  // it has been recycled, so it plays no longer
    cell->setOwner(this);
    cell->setEvent(indexPath ? getEventByIndex(*indexPath) : nullptr);
    cell->setIndex(indexPath);
    cell->update();
    return cell;
}

void ScrubberView::collectionViewDidSelectItemAtIndexPath(CollectionView& /*view*/, IndexPath indexPath) {
    const std::int64_t last = getEventsCount() - 1;
    if (!indexPath) return;
    if (*indexPath == last) {
        toEvent(nullptr);
    } else if (*indexPath > 0 && *indexPath < last) {
        stopLastCell();
        select(indexPath);
    }
}

std::optional<EdgeInsets> ScrubberView::collectionViewLayoutInsetForSectionAtIndex(CollectionView& /*view*/,
                                                                                   std::int64_t /*section*/) {
    return EdgeInsets{};
}

Size ScrubberView::collectionViewLayoutSizeForItemAtIndexPath(CollectionView& view, IndexPath indexPath) {
    const double height = view.height() - view.contentInset().top - view.contentInset().bottom;
    if (indexPath == IndexPath(0)) return {markedStrip_.headWidth(), height};
    if (indexPath == IndexPath(getEventsCount() - 1)) return {markedStrip_.tailWidth(), height};
    return {getConfig().cellWidth(), height};
}

}  // namespace korvane
