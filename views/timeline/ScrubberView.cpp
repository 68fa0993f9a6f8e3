#include "views/timeline/ScrubberView.h"

#include <QGuiApplication>
#include <QScreen>
#include <chrono>
#include <utility>

#include "base/Log.h"
#include "base/Scheduler.h"
#include "toolkit/InterfaceLoader.h"
#include "toolkit/LayoutConstraint.h"
#include "views/timeline/Model/SaturatingTime.h"
#include "views/timeline/Presentation/Outlets.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCell.h"
#include "views/timeline/Presentation/Scrubber/ScrubberCollectionView.h"
#include "views/timeline/Presentation/Scrubber/ScrubberFlowLayout.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* classPath = "ScrubberView";
const QString cellIdentifier = QStringLiteral("reuseScrubberCellID");

constexpr TimeMs closestRange = 24 * 60 * 60 * 1000;

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

void ScrubberView::clean() {
    stopUpdates();
    ScrubberViewBase::clean();
}

void ScrubberView::layoutSubviews() {
    if (scrubberEventsCollectionView_) scrubberEventsCollectionView_->collectionViewLayout()->invalidateLayout();
    scrollToPosition(false);
}

// The list

std::shared_ptr<ScrubberEvent> ScrubberView::getCurrentEvent() const {
    return lastCell_ ? lastCell_->getEvent() : nullptr;
}

void ScrubberView::toClosestEvent(const std::shared_ptr<ScrubberEvent>& event) {
    const TimeMs time = event ? event->timeAsValue() : 0;
    const std::int64_t count = getEventsCount();
    const std::int64_t index =
        time > 0 ? entries().find({0, time, saturatingAdd(time, closestRange - 1), std::nullopt}) : -1;
    const auto before = index > 0 ? getEventByIndex(index - 1) : nullptr;
    const bool isAfterHole = before && before->type() == ScrubberEventTypePending;  // what is there may be closer
    if (index >= 0 && !isAfterHole) {
        toEvent(getEventByIndex(index));
    } else if (time > 0 && (count >= 3 || isAfterHole)) {
        if (const auto current = entries().provider()) current->updateForTime(time, true, true);
    } else {
        toEvent(nullptr);
    }
}

void ScrubberView::toClosestEvent(qint64 time) {
    toClosestEvent(ScrubberEvent::build(time));
}

void ScrubberView::toNextEvent() {
    toNextEventWithSendNotify(true);
}

void ScrubberView::toNextEventWithSendNotify(bool withSendNotify) {
    if (!scheduler().isMainThread()) return onMain([=, this] { toNextEventWithSendNotify(withSendNotify); });
    const auto current = getCurrentEvent();
    if (getEventsCount() < 3 || !current || current->type() == ScrubberEventTypeLive) return;
    const std::int64_t index = entries().find(ScrubberEventQuery::at(current->timeAsValue()));
    if (index >= 0) toNeighbour(index + 1, withSendNotify);
}

void ScrubberView::toPreviousEvent() {
    toPreviousEventWithSendNotify(true);
}

void ScrubberView::toPreviousEventWithSendNotify(bool withSendNotify) {
    if (!scheduler().isMainThread()) return onMain([=, this] { toPreviousEventWithSendNotify(withSendNotify); });
    const std::int64_t count = getEventsCount();
    if (count < 3) return;
    std::int64_t index = count - 1;
    if (const auto current = getCurrentEvent(); current && current->type() != ScrubberEventTypeLive) {
        index = entries().find(ScrubberEventQuery::at(current->timeAsValue(), 2));
    }
    if (index >= 0) toNeighbour(index - 1, withSendNotify);
}

/// Queues a scroll to an entry, which plays from then on unless it is the live one.
void ScrubberView::toNeighbour(std::int64_t index, bool notify) {
    onMain([=, this] {
        scrollToPointer(index, 0.0, [=, this] {
            stopLastCell();
            if (notify && !selected(index)) return;
            const ScrubberCell* const cell = cellAt(index);
            const auto event = cell ? cell->getEvent() : nullptr;
            if (!event || event->type() != ScrubberEventTypeLive) play(index);
        });
    });
}

void ScrubberView::continuePlaying() {
    scheduler().after(300ms, life().guard([this] { toNextEvent(); }));
}

// What has no work to do

void ScrubberView::setPlayer(const std::shared_ptr<KorvanePlayer>& /*player*/) {
    trace(3, classPath, "setPlayer");
}

void ScrubberView::setCamera(const std::shared_ptr<KorvaneCamera>& /*camera*/) {
    trace(3, classPath, "setCamera");
    trace(3, classPath, "setCamera: time: ", 0);
}

void ScrubberView::startUpdates() {
    trace(1, classPath, "startUpdates");
}

void ScrubberView::stopUpdates() {
    trace(1, classPath, "stopUpdates");
}

void ScrubberView::updateScrubber(std::int64_t start, std::int64_t end) {
    trace(3, classPath, "updateScrubber: ", start, " to ", end);
}

void ScrubberView::startPositionChanging(std::int64_t time, float position) {
    trace(3, classPath, "startPositionChanging: ", time, " position: ", position);
}

void ScrubberView::continuePositionChanging(std::int64_t time, float position) {
    trace(3, classPath, "continuePositionChanging: ", time, " position: ", position);
}

void ScrubberView::endPositionChanging(std::int64_t time, float position) {
    trace(3, classPath, "endPositionChanging: ", time, " position: ", position);
}

void ScrubberView::makePositionVisible(std::int64_t time, float position) {
    trace(3, classPath, "makePositionVisible: ", time, " position: ", position);
}

void ScrubberView::observeValueForKeyPath(const QString& keyPath, const QObject* /*ofObject*/,
                                          const QVariantMap& /*change*/, const void* /*context*/) {
    trace(3, classPath, "observeValueForKeyPath: ", keyPath.toStdString());
}

void ScrubberView::orientationChanged() {
    trace(1, classPath, "orientationChanged");
    scheduler().after(500ms, [] { trace(1, classPath, "orientationChanged: done"); });
}

void ScrubberView::updateScrubberData() {
    onMain([this] { layoutSubviews(); });
}

// The provider's list has changed

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
        scrollToPointer(what.withScrollToIndex, 0.0, [this, index = what.withScrollToIndex] { selectAndPlay(index); });
    }
}

void ScrubberView::reloadVisible(const ScrubberProviderBridge::ReloadIndex& what) {
    ScrubberCollectionView& strip = *scrubberEventsCollectionView_;
    auto done = [this, what](bool) {
        const QPointer<ScrubberView> self(this);
        setState(ScrubberStateReady, what.withStatus);
        if (!self) return;
        stopLastCell();
        selectAndPlay(what.index);
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
    if (!self) return;
    // A moment for the new layout to settle.
    scheduler().after(10ms, life().guard([this, target] {
        scrollToPointer(target, 0.0, [this, target] { selectAndPlay(*target); });
    }));
}

// Scrolling under the mark

CollectionView* ScrubberView::strip() const {
    return scrubberEventsCollectionView_;
}

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
    if (!strip() || !indexPath || *indexPath <= 0) return;
    const QPointer<ScrubberView> self(this);  // a new layout may move a strip that is dragged, which the host is told
    const bool isThere = strip()->layoutAttributesForItemAtIndexPath(indexPath).has_value();
    if (!self) return;
    if (!isThere) {
        logError(classPath, "scrollToPointer: there is no such item, so the strip stays");
        if (completion) onMain(std::move(completion));
        return;
    }
    markedStrip_.scrollToPointer(indexPath, withFixedAnimationTime, std::move(completion));
}

/// Tells the host that the entry is selected. False when the host has destroyed this view.
bool ScrubberView::selected(std::int64_t index) {
    return tellHost(&ScrubberViewDelegate::OnScrubberDidSelectEvent, &ScrubberView::scrubberDidSelectEvent,
                    getEventByIndex(index));
}

void ScrubberView::play(std::int64_t index) {
    // What was under way when the list went away does not bring playback back.
    ScrubberCell* const cell = getEventByIndex(index) ? cellAt(index) : nullptr;
    if (lastCell_ && lastCell_ != cell) stopLastCell();
    if (cell) cell->startProgress(this);
    lastCell_ = cell;
}

void ScrubberView::selectAndPlay(std::int64_t index) {
    if (selected(index)) play(index);
}

void ScrubberView::restartLastCell() {
    if (!lastCell_) return;
    lastCell_->stopProgress();
    lastCell_->startProgress(this);
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
