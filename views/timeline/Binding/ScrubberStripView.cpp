#include "korvane/views/timeline/Binding/ScrubberStripView.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/views/timeline/Presentation/ItemLooks.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane {
namespace {

constexpr double endTolerance = 0.5;  // points

bool isLive(const std::shared_ptr<ScrubberEvent>& event) {
    return event && event->type() == ScrubberEventTypeLive;
}

}  // namespace

ScrubberStripView::ScrubberStripView(ScrubberWidget& widget, const TimelineEnvironment& environment,
                                     ScrubberEntries::ProviderFactory makeProvider, const char* classPath,
                                     bool forwardsExpiry)
    : ScrubberViewBase(widget, environment, std::move(makeProvider), classPath, forwardsExpiry) {
    registerTimelineTypes();
}

void ScrubberStripView::setup(QQuickItem* root) {
    setState(ScrubberStateReady, 0);
    if (!root) return;
    Outlets outlets(root);
    container_ = outlets.get<QQuickItem>("conatinerForScrubberEvents");
    strip_ = outlets.get<ReloadingCollectionView>("scrubberEventsCollectionView");
    mark_ = outlets.get<QQuickItem>("scrubberCenterMarkView");
    markWidth_ = outlets.get<LayoutConstraint>("scrubberCenterMarkViewWidth");
    outlets.report(classPath());
    spokenPlace_.setItem(root);
    markedStrip_.setItems(container_, strip_, mark_);
    if (!strip_) return;
    strip_->setVisibleIndexes(visibleIndexesHolder());
    strip_->registerNib(cellFile(), cellIdentifier());
    strip_->setDelegate(this);
    strip_->setDataSource(this);
    strip_->setCollectionViewLayout(makeLayout(), true, {});
}

void ScrubberStripView::leave() {
    if (strip_) {
        strip_->setDelegate(nullptr);
        strip_->setDataSource(nullptr);
        for (PlayingCell* cell : strip_->findChildren<PlayingCell*>()) cell->clean();
    }
    clean();
    host().set(nullptr);
    entries().detachProvider();
}

void ScrubberStripView::applyConfig() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double scale = screen ? screen->devicePixelRatio() : 1.0;
    if (markWidth_) markWidth_->setConstant(getConfig().scrubberCenterMarkWidth() / scale);
    if (strip_) {
        strip_->collectionViewLayout()->setMinimumInteritemSpacing(getConfig().cellSeparatorWidth());
        strip_->collectionViewLayout()->invalidateLayout();
    }
    setBackgroundColor(container_, getConfig().backgroundColor());
    setBackgroundColor(strip_, getConfig().backgroundColor());
    setBackgroundColor(mark_, getConfig().scrubberCenterMarkColor());
    const QPointer<ScrubberWidget> self(&widget());
    if (strip_) strip_->reconfigureItemsAtIndexPaths(strip_->indexPathsForVisibleItems());
    if (self) askForVisible();  // narrower cells bring others into view
}

void ScrubberStripView::layoutSubviews() {
    if (!strip_) return;
    strip_->collectionViewLayout()->invalidateLayout();
    if (!place_) return scrollToPosition(false, alignSeconds);
    askForVisible();
}

void ScrubberStripView::realign() {
    if (strip_) strip_->collectionViewLayout()->invalidateLayout();
    scrollToPosition(false, alignSeconds);
}

// The list

void ScrubberStripView::reload() {
    if (!strip_) return;
    strip_->reloadDataWithCompletion(widget().life().guard([this] { goToPosition(); }));
}

void ScrubberStripView::goToPosition() {
    const std::int64_t count = entries().count();
    const bool isFirst = std::exchange(isFirstLoad_, isFirstLoad_ && count < 2);
    const TimeMs time = position().time;
    const auto provider = entries().provider();
    if (isFirst && time > 0 && provider && !entries().ownList() && indexOfPosition(count) < 0 && count >= 3) {
        // The live end is loaded; from there the service shows the way.
        jumpTo(count - 1, alignSeconds, {});
        waitForScroll();
        provider->updateForTime(time, true, false);
        return;
    }
    scrollToPosition(false, alignSeconds);
}

void ScrubberStripView::showAnew() {
    if (!strip_) return;
    if (entries().count() < 2) {
        stopLastCell();
        jump_ = 0;
        strip_->reloadData();
        return;
    }
    if (!place_) return reload();
    strip_->reloadDataKeepingCells();
    const QPointer<ScrubberWidget> self(&widget());
    strip_->layoutIfNeeded();
    if (!self) return;
    resumePlaying();
    askForVisible();
}

/// After the list has been made anew the playing entry is another object, gone, or on a page that is not there yet:
/// then the cell at its place goes on with what it plays until that page has come.
bool ScrubberStripView::isKeptPlaying(const PlayingCell& cell, const std::shared_ptr<ScrubberEvent>& entry) const {
    return lastCell_ == &cell && playing_ && cell.isStartedProgress() && entry &&
           entry->type() == ScrubberEventTypePending && entry != playing_ && place_ && !place_->isLive;
}

void ScrubberStripView::resumePlaying() {
    const auto current = playing_ ? playing_ : getCurrentEvent();
    if (lastCell_ && lastCell_->indexPath() && isKeptPlaying(*lastCell_, entries().at(*lastCell_->indexPath()))) {
        return syncPlayingOffset();
    }
    const std::int64_t index = indexOfEntry(current, lastCell_ ? lastCell_->indexPath().value_or(-1) : -1);
    const PlayingCell* const cell = cellAt(index);
    const bool isShown = lastCell_ && lastCell_->indexPath();
    if (index < 0 || (lastCell_ && !isShown && !cell)) {
        stopLastCell();
    } else if (current && cell && !isShown) {
        play(index);
    }
    syncPlayingOffset();
}

void ScrubberStripView::forgetList() {
    jump_ = 0;
    ++lastJump_;
    place_.reset();
    isScrollAwaited_ = false;
    isFirstLoad_ = true;
    stopLastCell();
    if (strip_) strip_->reloadData();
}

void ScrubberStripView::setOwnList(const std::shared_ptr<ScrubberDataSourceDelegate>& list) {
    if (list == entries().ownList()) return;
    entries().setOwnList(list);
    onMain([this] {
        forgetList();
        reload();
    });
}

void ScrubberStripView::onReloadRequired(std::int32_t status, std::int32_t andState) {
    const QPointer<ScrubberWidget> self(&widget());
    showAnew();
    if (self) setState(andState, status);
}

void ScrubberStripView::onReloadVisible() {
    if (!strip_) return;
    if (entries().count() < 3) {
        if (entries().count() < 2) showAnew();
        return;
    }
    const QPointer<ScrubberWidget> self(&widget());
    strip_->reconfigureItemsAtIndexPaths(strip_->indexPathsForVisibleItems());
    if (self) askForVisible();
}

void ScrubberStripView::askForVisible() {
    if (!strip_ || isJumping() || isMovedByHand()) return;
    speakPlace();
    const auto provider = entries().provider();
    if (!provider || entries().ownList()) return;
    const QPointer<ScrubberWidget> self(&widget());
    strip_->layoutIfNeeded();
    if (!self) return;
    std::vector<std::int64_t> visible = strip_->indexPathsForVisibleItems();
    // The page around the mark first.
    const std::int64_t middle = nearestIndexPath().value_or(0);
    std::ranges::sort(visible, {}, [middle](std::int64_t index) { return std::abs(index - middle); });
    for (const std::int64_t index : visible) {
        if (isWanting(index)) provider->checkPartNeedRequested(static_cast<std::uint64_t>(index), -1, -1);
    }
    askAround(middle);
}

void ScrubberStripView::speakPlace() {
    const std::int64_t index = nearestIndexPath().value_or(-1);
    const auto entry = entries().count() >= 2 ? entryAt(index) : nullptr;
    SpokenPlace::Place place;
    place.index = std::max<std::int64_t>(index, 1);
    place.last = entries().count() - 1;
    place.isLive = isLive(entry);
    const TimeMs moment = entry && !place.isLive ? momentUnderMark(index) : -1;
    if (moment >= 0) {
        const auto inWords = [&](TimeMs time, const QString& format) {
            return formatTime(time, format, zoneOf(*entry));
        };
        place.isRecorded = indexPathFromPointer().has_value();
        place.time = inWords(moment, QStringLiteral("EEE d MMM yyyy, HH:mm:ss"));
        if (const auto event = eventNear(index, moment)) {
            const auto fields = event->fields();
            place.event = QString::fromStdString(fields.name.value_or(std::string())) + QStringLiteral(" at ") +
                          inWords(momentOf(fields), QStringLiteral("HH:mm:ss"));
        }
    }
    spokenPlace_.tell(place);
}

void ScrubberStripView::takeOut(const std::shared_ptr<ScrubberEvent>& event, Completion completion) {
    if (isSameEntry(getCurrentEvent(), event)) stopLastCell();
    const auto update = [this, event] {
        const auto current = entries().provider();
        const std::int64_t before = entries().count();
        const std::int32_t index = current ? current->OnScrubberDeleteEvent(event) : -1;
        if (!strip_ || index < 0 || entries().ownList()) return;
        if (entries().count() == before - 1) {
            strip_->deleteItemsAtIndexPaths({index});
        } else {
            strip_->reloadDataKeepingCells();  // it was one of a group, which goes on without it
        }
    };
    if (strip_) {
        strip_->performBatchUpdates(update, std::move(completion));
    } else {
        update();
        onMain([completion = std::move(completion)] { completion(true); });
    }
}

// Navigation

void ScrubberStripView::toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                                double withFixedAnimationTime, std::int64_t index) {
    setPosition({event ? event->timeAsValue() : -1, event, index});
    if (withScroll) {
        scrollToPosition(withSendNotify, withFixedAnimationTime);
    } else {
        restartLastCell();
    }
}

void ScrubberStripView::toEntry(std::int64_t index) {
    if (entries().count() >= 2) toEvent(entries().at(index), true, true, alignSeconds, index);
}

void ScrubberStripView::toEventByIndex(std::int64_t index, const std::shared_ptr<ScrubberEvent>& withEvent,
                                       bool withSendNotify, bool withSendNotifyForLive) {
    jumpTo(index, 0.0, [=, this](std::int64_t arrived) {
        stopLastCell();
        const auto there = entryAt(arrived);
        const bool isAtLive = isLive(there);
        const bool isTold = withSendNotify || (isAtLive && withSendNotifyForLive);
        auto told = withEvent;
        if (told && there && told->start() == there->start() && told->identificator() != there->identificator()) {
            // The list has been numbered anew on the way.
            there->setTimeAsValue(told->timeAsValue());
            told = there;
        }
        if ((!isTold || tellSelected(arrived, told)) && !isAtLive) play(arrived);
    });
}

void ScrubberStripView::selectAt(std::int64_t index) {
    if (strip_) tapped(index);
}

std::int64_t ScrubberStripView::indexOfEntry(const std::shared_ptr<ScrubberEvent>& event, std::int64_t expected) const {
    return entries().indexOf(event, expected);
}

/// That very one, or the first of its moment.
std::int64_t ScrubberStripView::indexOfPosition(std::int64_t count) const {
    const Position wanted = position();
    const auto entry = wanted.entry.lock();
    std::int64_t index = entry ? indexOfEntry(entry, wanted.index) : -1;
    const TimeMs time = wanted.time == -1 && entry ? entry->timeAsValue() : wanted.time;
    if (index < 0 && time == -1) return isLive(entry) || !entry ? count - 1 : -1;
    if (index < 0) index = entries().find(ScrubberEventQuery::at(time));
    return index < count ? index : -1;
}

void ScrubberStripView::scrollToPosition(bool notify, double withFixedAnimationTime) {
    onMain([=, this, seconds = positionSeconds(withFixedAnimationTime)] {
        const std::int64_t count = entries().count();
        // Of a list that is being loaded the position decides, and no longer the place that was kept.
        if (count < 2) {
            place_.reset();
            jump_ = 0;
            return;
        }
        scrollToEntry(indexOfPosition(count), position().time, notify, seconds, true);
    });
}

void ScrubberStripView::scrollToEntry(std::int64_t index, TimeMs time, bool notify, double withFixedAnimationTime,
                                      bool updatesPlaying) {
    if (!strip_) return;
    if (index < 1) {
        if (!place_) rememberPlace();
        if (lastCell_ && !lastCell_->indexPath()) stopLastCell();
        return askForVisible();
    }
    if (isLive(entries().at(index))) {
        return jumpTo(index, withFixedAnimationTime, [=, this](std::int64_t arrived) {
            if (updatesPlaying) stopLastCell();
            if (notify) tellSelected(arrived);
        });
    }
    if (!isMovedByHand()) {
        // What is far goes without an animation.
        jump_ = 0;
        const QPointer<ScrubberWidget> self(&widget());
        strip_->scrollToItemAtIndexPath(index, CollectionViewScrollPosition::Right, false);
        if (!self) return;
    }
    jumpTo(index, withFixedAnimationTime, [=, this](std::int64_t arrived) {
        if (updatesPlaying) stopLastCell();
        positionReached(arrived, time);
        if ((!notify || tellSelected(arrived)) && updatesPlaying) play(arrived);
    });
}

// Jumps

bool ScrubberStripView::isMovedByHand() const {
    return strip_ && ((strip_->isTracking() && strip_->isDragging()) || strip_->isDecelerating());
}

void ScrubberStripView::jumpTo(IndexPath indexPath, double seconds, std::function<void(std::int64_t index)> arrived) {
    scrollToPointer(indexPath, seconds, [this, arrived = std::move(arrived)](bool hasArrived) {
        if (hasArrived && arrived && place_) arrived(place_->index);
    });
}

void ScrubberStripView::scrollToPointer(IndexPath indexPath, double withFixedAnimationTime,
                                        std::function<void(bool hasArrived)> ended) {
    trace(1, classPath(), "scrollToPointer: ", indexPath.value_or(-1));
    if (!indexPath || *indexPath <= 0 || !catchUp() || !strip_ || !strip_->prepareLayoutIfNeeded()) return;
    const bool isThere = strip_->layoutAttributesForItemAtIndexPath(indexPath).has_value();
    if (!isThere) logError(classPath(), "scrollToPointer: there is no such item, so the strip stays");
    if (!isThere || (strip_->isTracking() && strip_->isDragging())) return onMain([ended] { ended(false); });
    if (lastCell_) lastCell_->pauseScroll(false);  // a deceleration that ends here had paused it
    isScrollAwaited_ = false;
    const std::uint64_t jump = ++lastJump_;
    jump_ = jump;
    setPlace(*indexPath, 0);
    markedStrip_.scrollToPointer(
        indexPath, withFixedAnimationTime,
        [this, jump, ended = std::move(ended)](bool hasFinished) { jumpEnded(jump, hasFinished, ended); });
}

void ScrubberStripView::jumpEnded(std::uint64_t jump, bool hasFinished, const std::function<void(bool)>& ended) {
    const bool isOurs = jump_ == jump;
    if (isOurs) jump_ = 0;
    if (isOurs && !hasFinished) rememberPlace();  // a finger has caught the strip on its way
    const QPointer<ScrubberWidget> self(&widget());
    ended(isOurs && hasFinished);
    if (self && isOurs) strip_->layoutIfNeeded();
    if (!self || !isOurs) return;
    if (lastCell_ && !lastCell_->indexPath()) stopLastCell();  // the strip has left it behind
    syncPlayingOffset();
    askForVisible();
}

// Steps of the strip that are no jumps. The first and the live entry at rest are the furthest that they go.
void ScrubberStripView::setContentOffset(double x) {
    if (!strip_ || isJumping()) return;
    const std::int64_t count = strip_->numberOfItems();
    const double most = markedStrip_.contentOffsetAt(count - 1, 0);
    const double least = count > 2 ? std::min(markedStrip_.contentOffsetAt(1, 0), most) : most;
    const Point target{std::clamp(x, least, most), getBaseOffset().y};
    const QPointer<ScrubberWidget> self(&widget());
    strip_->setContentOffset(target);
    if (!self) return;
    rememberPlace();
    if (target.x != x) syncPlayingOffset();
}

void ScrubberStripView::scrollOnDeltaX(IndexPath /*indexPath*/, double delta) {
    const QPointer<ScrubberWidget> self(&widget());
    if (!catchUp() || !strip_ || !strip_->prepareLayoutIfNeeded() || strip_->numberOfItems() < 2) return;
    setContentOffset(getBaseOffset().x + delta);
    if (self) askForVisible();
}

void ScrubberStripView::scrollByHost(double x) {
    if (!strip_ || !strip_->prepareLayoutIfNeeded() || strip_->numberOfItems() < 2 || isJumping()) return;
    if (strip_->isTracking() && strip_->isDragging()) return;
    const QPointer<ScrubberWidget> self(&widget());
    setContentOffset(x);
    if (self) strip_->layoutIfNeeded();
    if (!self) return;
    // A flick that ends here had paused what plays.
    if (lastCell_) lastCell_->pauseScroll(false);
    if (lastCell_ && !lastCell_->indexPath()) stopLastCell();
    syncPlayingOffset();
    askForVisible();
}

bool ScrubberStripView::isAtRightEnd() const {
    if (!strip_) return false;
    const double most = strip_->contentSize().width - strip_->width();
    return most > 0 && getBaseOffset().x >= most - endTolerance;
}

// The place under the mark

void ScrubberStripView::setPlace(std::int64_t index, double offset) {
    const auto entry = entryAt(index);
    Place place{.index = index, .entry = entry, .offset = offset, .width = scaleWidthOf(index)};
    if (entry) {
        place.identificator = entry->identificator().value_or(0);
        place.start = entry->start();
        place.end = entry->end();
        place.isLive = isLive(entry);
    }
    place_ = place;
}

void ScrubberStripView::movePlace(Place& place, std::int64_t count) const {
    auto entry = place.entry.lock();
    if (!entry && place.identificator != 0) {
        ScrubberEvent::Fields fields;
        fields.identificator = place.identificator;
        fields.start = place.start;
        entry = std::make_shared<ScrubberEvent>(std::move(fields));
    }
    const std::int64_t index = indexOfEntry(entry, place.index);
    place.index = std::clamp<std::int64_t>(index >= 0 ? index : place.index, 0, count - 1);
}

/// A page may have moved the list's indexes, and the redraw for it be still on its way.
bool ScrubberStripView::isBehindList() const {
    return strip_ && place_ && !entries().ownList() && strip_->numberOfItems() != entries().count();
}

bool ScrubberStripView::catchUp() {
    const QPointer<ScrubberWidget> self(&widget());
    if (isBehindList()) showAnew();
    return !self.isNull();
}

void ScrubberStripView::rememberPlace() {
    if (isBehindList()) return;
    // A cell may be so narrow that what plays in it lies beside the mark.
    if (const IndexPath playing = lastCell_ ? lastCell_->indexPath() : std::nullopt) {
        const double offset = offsetBetweenPointerAndItemBegin(playing);
        const double width = strip_->layoutAttributesForItemAtIndexPath(playing).value_or(Rect{}).width;
        if (offset > -endTolerance && offset < width + endTolerance) return setPlace(*playing, offset);
    }
    const IndexPath nearest = nearestIndexPath();
    if (!nearest || entries().count() < 2) return;
    // Nothing stays on the head entry, over which only the rubber band lets the mark go, nor in the gap behind it.
    const double offset = offsetBetweenPointerAndItemBegin(nearest);
    if (*nearest < 1) return setPlace(1, 0);
    setPlace(*nearest, *nearest == 1 ? std::max(0.0, offset) : offset);
}

std::optional<double> ScrubberStripView::collectionViewContentOffsetInNewLayout(CollectionView& view) {
    const std::int64_t count = view.numberOfItems();
    if (!place_ || count < 2) return std::nullopt;
    if (place_->isLive) {
        place_->index = count - 1;
    } else {
        movePlace(*place_, count);
    }
    // Nothing rests within the live entry, to which a shorter list leads.
    if (place_->index == count - 1 && !isMovedByHand()) place_->offset = std::min(place_->offset, 0.0);
    place_->entry = entryAt(place_->index);
    const double width = scaleWidthOf(place_->index);
    // The same moment lies elsewhere in a cell of another width; what lies beside the cell stays as far from it.
    const bool isInner = place_->index > 0 && place_->index < count - 1;
    const double inside = std::clamp(place_->offset, 0.0, place_->width);
    if (isInner && place_->width > 0) place_->offset += inside * (width / place_->width - 1);
    place_->width = width;
    if (const IndexPath playing = lastCell_ ? lastCell_->indexPath() : std::nullopt) {
        const auto begin = [&view](std::int64_t index) {
            return view.layoutAttributesForItemAtIndexPath(index).value_or(Rect{}).x;
        };
        lastCell_->setOffset(place_->offset + begin(place_->index) - begin(*playing));
    }
    return markedStrip_.contentOffsetAt(place_->index, place_->offset);
}

// Playback

PlayingCell* ScrubberStripView::cellAt(IndexPath indexPath) const {
    return strip_ ? qobject_cast<PlayingCell*>(strip_->cellForItemAtIndexPath(indexPath)) : nullptr;
}

bool ScrubberStripView::tellSelected(std::int64_t index, const std::shared_ptr<ScrubberEvent>& withEvent) {
    const auto entry = entryAt(index);
    // A list that is being loaded anew has nothing to select.
    return !entry || tellHost(&ScrubberViewDelegate::OnScrubberDidSelectEvent, &ScrubberWidget::scrubberDidSelectEvent,
                              withEvent ? withEvent : entry);
}

void ScrubberStripView::play(std::int64_t index) {
    const QPointer<ScrubberWidget> self(&widget());
    if (strip_) strip_->layoutIfNeeded();
    if (!self) return;
    // What was under way when the list went away does not bring playback back.
    PlayingCell* const cell = entries().at(index) ? cellAt(index) : nullptr;
    if (lastCell_ && lastCell_ != cell) stopLastCell();
    if (cell) cell->startProgress(this);
    lastCell_ = cell;
    playing_ = cell && !entries().ownList() ? cell->getEvent() : nullptr;
}

void ScrubberStripView::selectAndPlay(std::int64_t index) {
    if (tellSelected(index)) play(index);
}

void ScrubberStripView::restartLastCell() {
    if (!lastCell_) return;
    lastCell_->stopProgress();
    lastCell_->startProgress(this);
    syncPlayingOffset();
}

void ScrubberStripView::stopLastCell() {
    if (lastCell_) lastCell_->stopProgress();
    lastCell_ = nullptr;
    playing_ = nullptr;
}

void ScrubberStripView::syncPlayingOffset() {
    if (lastCell_ && lastCell_->indexPath()) {
        lastCell_->setOffset(offsetBetweenPointerAndItemBegin(lastCell_->indexPath()));
    }
}

// The hand

void ScrubberStripView::collectionViewDidSelectItemAtIndexPath(CollectionView& /*view*/, IndexPath indexPath) {
    const QPointer<PlayingCell> cell = cellAt(indexPath);
    if (catchUp() && cell && cell->indexPath()) tapped(*cell->indexPath());
}

void ScrubberStripView::scrollViewWillBeginDragging(CollectionView& /*view*/) {
    jump_ = 0;
    isScrollAwaited_ = false;
    rememberPlace();
    if (lastCell_) lastCell_->pauseScroll(true);
}

void ScrubberStripView::scrollViewDidScroll(CollectionView& view) {
    if (!isJumping() && (view.isDragging() || view.isDecelerating())) rememberPlace();
}

void ScrubberStripView::scrollViewDidEndDragging(CollectionView& /*view*/, bool willDecelerate) {
    if (!willDecelerate && catchUp()) handHasLeft(HandMove::Drag);
}

void ScrubberStripView::scrollViewWillBeginDecelerating(CollectionView& /*view*/) {
    if (lastCell_) lastCell_->pauseScroll(true);
}

void ScrubberStripView::scrollViewDidEndDecelerating(CollectionView& /*view*/) {
    if (catchUp()) handHasLeft(HandMove::Deceleration);
}

void ScrubberStripView::moveByHand(double points) {
    if (!catchUp() || !strip_ || isMovedByHand() || !strip_->prepareLayoutIfNeeded() || entries().count() < 2) return;
    const QPointer<ScrubberWidget> self(&widget());
    jump_ = 0;
    setContentOffset(getBaseOffset().x + points);
    if (self) strip_->layoutIfNeeded();
    if (self) handHasLeft(HandMove::Keys);
}

}  // namespace korvane
