#pragma once

#include <QPointer>
#include <QUrl>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "korvane/toolkit/CollectionViewDataSource.h"
#include "korvane/toolkit/CollectionViewDelegate.h"
#include "korvane/toolkit/LayoutConstraint.h"
#include "korvane/views/timeline/Binding/ScrubberViewBase.h"
#include "korvane/views/timeline/Binding/SpokenPlace.h"
#include "korvane/views/timeline/Presentation/MarkedStrip.h"
#include "korvane/views/timeline/Presentation/PlayingCell.h"
#include "korvane/views/timeline/Presentation/ReloadingCollectionView.h"

namespace korvane {

/// The strip of a scrubber: cells under a fixed mark, of which one may play.
///
/// One thing moves the strip at a time. A finger comes before a jump to an entry, a jump before playback: while a
/// finger drags no jump begins, and until a jump has arrived the steps of the playing cell are passed over. What lies
/// under the mark is kept through every new layout (collectionViewContentOffsetInNewLayout), so neither a change of
/// size nor a page that comes in moves it.
///
/// Main thread only, except where "any thread" is said.
class ScrubberStripView : public ScrubberViewBase,
                          public ScrubberCellOwner,
                          public CollectionViewDataSource,
                          public CollectionViewDelegate {
  public:
    static constexpr double alignSeconds = 0.002;  // a scroll to the position, all but at once

    /// The interface file of the widget.
    virtual QUrl layoutFile() const = 0;
    /// Takes the outlets of the loaded interface; null when it could not be loaded.
    void setup(QQuickItem* root);
    /// Once, before destruction, while the subclass still answers.
    void leave();

    void applyConfig();
    void layoutSubviews();
    /// Null for the provider's. Any thread.
    void setOwnList(const std::shared_ptr<ScrubberDataSourceDelegate>& list);
    /// Shows the list anew and goes back to the position.
    void reload();
    /// Has the layout made anew and goes back to the position.
    void realign();

    std::shared_ptr<ScrubberEvent> getCurrentEvent() const { return lastCell_ ? lastCell_->getEvent() : nullptr; }

    /// `index`, where the caller knows it, is that of the entry.
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                 double withFixedAnimationTime, std::int64_t index = -1);
    void toEntry(std::int64_t index);
    /// To an entry by its index, without a change of the position. It plays from then on, unless it is the live one, of
    /// whose selection the host hears with either flag. `event`, where it is given, stands for the entry in that.
    void toEventByIndex(std::int64_t index, const std::shared_ptr<ScrubberEvent>& withEvent, bool withSendNotify,
                        bool withSendNotifyForLive);
    /// As a tap on the entry's cell.
    void selectAt(std::int64_t index);

    bool isHeld() const { return strip_ && strip_->isTracking() && strip_->isDragging(); }
    bool isAtRest() const { return !isJumping() && strip_ && !strip_->isDragging() && !strip_->isDecelerating(); }
    /// Any thread.
    std::vector<std::int64_t> visibleIndexes() const { return visibleIndexesHolder()->get(); }

    IndexPath indexPathFromPointer() const { return markedStrip_.indexPathFromPointer(); }
    IndexPath nearestIndexPath() const { return markedStrip_.nearestIndexPath(); }
    double offsetBetweenPointerAndItemBegin(IndexPath indexPath) const {
        return markedStrip_.offsetBetweenPointerAndItemBegin(indexPath);
    }
    /// The host's own ways to move the strip, to a content offset.
    void scrollByHost(double x);
    /// Any thread.
    void scrollToPosition(bool notify, double withFixedAnimationTime);
    /// As ScrubberWidget::scrollToPointer(); `ended` hears whether the item has arrived at the mark.
    void scrollToPointer(IndexPath indexPath, double withFixedAnimationTime,
                         std::function<void(bool hasArrived)> ended);

    // What cells need.
    ScrubberConfig& getConfig() override { return settings(); }
    PlaybackHost& playbackHost() override { return answers(); }
    QString formatTime(TimeMs time, const QString& withFormat, const QString& withTimezone) const override {
        return textOfTime(time, withFormat, withTimezone);
    }
    TimeMs momentOf(const ScrubberEvent::Fields& event) const override { return ownMomentOf(event); }
    Point getBaseOffset() const override { return markedStrip_.baseOffset(); }
    void scrollOnDeltaX(IndexPath indexPath, double delta) override;

    // What the collection view asks and tells.
    std::int64_t collectionViewNumberOfItemsInSection(CollectionView& view, std::int64_t section) override;
    CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath indexPath) override;
    IndexPath collectionViewIndexPathOfCell(CollectionView& view, const CollectionViewCell& cell) override;
    void collectionViewReconfigureCell(CollectionView& view, CollectionViewCell& cell, IndexPath indexPath) override;
    std::optional<EdgeInsets> collectionViewLayoutInsetForSectionAtIndex(CollectionView& view,
                                                                         std::int64_t section) override;
    Size collectionViewLayoutSizeForItemAtIndexPath(CollectionView& view, IndexPath indexPath) override;
    std::optional<double> collectionViewContentOffsetInNewLayout(CollectionView& view) override;
    void collectionViewDidSelectItemAtIndexPath(CollectionView& view, IndexPath indexPath) override;
    void scrollViewWillBeginDragging(CollectionView& view) override;
    void scrollViewDidScroll(CollectionView& view) override;
    void scrollViewDidEndDragging(CollectionView& view, bool willDecelerate) override;
    void scrollViewWillBeginDecelerating(CollectionView& view) override;
    void scrollViewDidEndDecelerating(CollectionView& view) override;

    /// One step of the arrow keys, to an older entry below 0. Nothing while a finger moves the strip.
    virtual void step(int direction, bool isLong) = 0;
    /// Moves the strip by so many of its widths, as a hand does that leaves it then.
    void moveByScreens(double screens) { moveByHand(strip_ ? screens * strip_->width() : 0); }

  protected:
    ScrubberStripView(ScrubberWidget& widget, const TimelineEnvironment& environment,
                      ScrubberEntries::ProviderFactory makeProvider, const char* classPath, bool forwardsExpiry);

    // In what the strips differ.
    virtual QUrl cellFile() const = 0;
    virtual QString cellIdentifier() const = 0;
    virtual std::unique_ptr<FlowLayout> makeLayout() const = 0;
    /// Gives a cell its entry, and has it show that.
    virtual void fillCell(PlayingCell& cell, IndexPath indexPath);
    /// What a hand has moved the strip by.
    enum class HandMove { Drag, Deceleration, Keys };
    /// A hand has moved the strip and left it here.
    virtual void handHasLeft(HandMove by) = 0;
    virtual void tapped(std::int64_t index) = 0;
    /// The entry at an index, as the strip shows it.
    virtual std::shared_ptr<ScrubberEvent> entryAt(std::int64_t index) const { return entries().at(index); }
    /// Where an entry stands, in a list that may have been made anew: `expected` is looked at first; -1 when it is
    /// gone.
    virtual std::int64_t indexOfEntry(const std::shared_ptr<ScrubberEvent>& event, std::int64_t expected) const;
    /// Where the position's entry is, -1 when there is none.
    virtual std::int64_t indexOfPosition(std::int64_t count) const;
    /// The entry of the position lies under the mark and is about to be told.
    virtual void positionReached(std::int64_t /*index*/, TimeMs /*time*/) {}
    /// Points over which the span of an entry lies in its cell.
    virtual double scaleWidthOf(std::int64_t index) const;
    /// In how many seconds the strip goes to its position when a host asks for `seconds`.
    virtual double positionSeconds(double seconds) const { return seconds; }
    /// What is in view at this index has something to be fetched.
    virtual bool isWanting(std::int64_t index) const { return isPending(index); }
    bool isPending(std::int64_t index) const;
    /// So that who walks on from there finds entries and not slots.
    void askAround(std::int64_t index);

    ReloadingCollectionView* strip() const { return strip_; }
    PlayingCell* lastCell() const { return lastCell_; }
    PlayingCell* cellAt(IndexPath indexPath) const;
    bool isJumping() const { return jump_ != 0; }
    /// Another one with each jump and each source.
    std::uint64_t jumpNumber() const { return lastJump_; }
    /// Where the strip is on its way to; nothing while it is on no way.
    IndexPath heading() const { return jump_ != 0 && place_ ? IndexPath(place_->index) : std::nullopt; }
    /// The strip lies at its right end, from where a hand can go no further: on the live entry.
    bool isAtRightEnd() const;

    /// Brings an entry to the mark; `arrived` is called with its index when it lies there, and not at all when
    /// something newer has taken the strip over.
    void jumpTo(IndexPath indexPath, double seconds, std::function<void(std::int64_t index)> arrived);
    /// Tells the host that the entry is selected, as `withEvent` where that is given. False when the host has destroyed
    /// the widget.
    bool tellSelected(std::int64_t index, const std::shared_ptr<ScrubberEvent>& withEvent = nullptr);
    void play(std::int64_t index);
    void selectAndPlay(std::int64_t index);
    void stopLastCell();
    void restartLastCell();
    /// Shows the list as it is now where it is; goes to the position when the strip has no place in it yet.
    void showAnew();
    /// When the strip rests or is moved by playback: has what is in view and pending fetched, and the place spoken.
    void askForVisible();
    /// The moment under the mark, ms, in an entry there; -1 for none. And the event that is nearest to it.
    virtual TimeMs momentUnderMark(std::int64_t index) const = 0;
    virtual std::shared_ptr<ScrubberEvent> eventNear(std::int64_t index, TimeMs moment) const = 0;
    /// The zone in which an entry's times are shown.
    virtual QString zoneOf(const ScrubberEvent& entry) const = 0;
    /// The next page that brings a scroll index is waited for, until something newer moves the strip.
    void waitForScroll() { isScrollAwaited_ = true; }
    bool takeAwaitedScroll() { return std::exchange(isScrollAwaited_, false); }
    void rememberPlace();
    /// Shows the list as it is by now, before indexes of the strip are used for it. False when that has destroyed the
    /// widget.
    bool catchUp();

    void onReloadRequired(std::int32_t status, std::int32_t andState) override;
    void onReloadVisible() override;
    void forgetList() override;
    void takeOut(const std::shared_ptr<ScrubberEvent>& event, Completion completion) override;
    void goTo(const std::shared_ptr<ScrubberEvent>& event) override { toEvent(event, true, true, alignSeconds); }

    /// What lies under the mark.
    struct Place {
        std::int64_t index = 0;
        std::weak_ptr<ScrubberEvent> entry;
        std::int64_t identificator = 0;  // with start, for when the list is made anew
        TimeMs start = 0;
        TimeMs end = 0;
        double offset = 0;  // from the entry's resting point
        double width = 0;   // points that the entry's span took then
        bool isLive = false;
    };
    /// The list has been made anew: index and offset are brought to where the place is now. The entry under it may
    /// have become longer or shorter.
    virtual void movePlace(Place& place, std::int64_t count) const;

    /// A finger, or the motion that it has given, moves the strip.
    bool isMovedByHand() const;
    /// Moves the strip as a hand does that leaves it then.
    void moveByHand(double points);
    /// What plays goes on from where the strip is, after it has moved otherwise than by the steps of the cell.
    void syncPlayingOffset();
    /// Scrolls to the entry of a moment; with `updatesPlaying` it plays from then on, and the one before stops.
    void scrollToEntry(std::int64_t index, TimeMs time, bool notify, double withFixedAnimationTime,
                       bool updatesPlaying);

  private:
    void setPlace(std::int64_t index, double offset);
    void goToPosition();
    void speakPlace();
    void jumpEnded(std::uint64_t jump, bool hasFinished, const std::function<void(bool)>& ended);
    void setContentOffset(double x);
    bool isBehindList() const;
    void resumePlaying();
    IndexPath indexPathOfCell(const PlayingCell& cell) const;
    bool isKeptPlaying(const PlayingCell& cell, const std::shared_ptr<ScrubberEvent>& entry) const;

    QPointer<QQuickItem> container_;
    QPointer<ReloadingCollectionView> strip_;
    QPointer<QQuickItem> mark_;
    QPointer<LayoutConstraint> markWidth_;
    QPointer<PlayingCell> lastCell_;
    MarkedStrip markedStrip_;
    SpokenPlace spokenPlace_;
    std::optional<Place> place_;
    std::shared_ptr<ScrubberEvent> playing_;  // kept, since its list may be made anew
    std::uint64_t jump_ = 0;                  // number of the jump that is under way
    std::uint64_t lastJump_ = 0;
    bool isScrollAwaited_ = false;
    bool isFirstLoad_ = true;
};

}  // namespace korvane
