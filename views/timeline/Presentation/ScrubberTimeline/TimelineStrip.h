#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "korvane/views/timeline/Binding/ScrubberStripView.h"

namespace korvane {

class ScrubberTimelineCell;
class ScrubberTimelineCollectionView;

/// The strip of ScrubberTimelineView: recorded time in cells that touch, which rests where a hand leaves it.
class TimelineStrip final : public ScrubberStripView {
  public:
    TimelineStrip(ScrubberWidget& widget, const TimelineEnvironment& environment);

    QUrl layoutFile() const override;

    /// As ScrubberTimelineView's.
    void toClosestEvent(const std::shared_ptr<ScrubberEvent>& event);
    void toNextEvent(bool withSendNotify);
    void toNextEventOnlyScroll();
    void toPreviousEvent(bool withSendNotify);
    void scrollToTime(TimeMs time, bool notify, bool withStartUpdating, double withFixedAnimationTime);
    bool isScrolling() { return answers().isScrolling(); }
    ScrubberTimelineCell* timelineCell(IndexPath indexPath) const;
    ScrubberTimelineCollectionView* collectionView() const;

    std::shared_ptr<ScrubberEvent> entryOf(const ScrubberEventInfo& event) const override;
    void step(int direction, bool isLong) override;
    void scrollViewWillBeginDragging(CollectionView& view) override;
    void scrollViewDidScroll(CollectionView& view) override;
    void scrollViewDidComeToStandstill(CollectionView& view) override;

  protected:
    QUrl cellFile() const override;
    QString cellIdentifier() const override;
    std::unique_ptr<FlowLayout> makeLayout() const override;
    void fillCell(PlayingCell& cell, IndexPath indexPath) override;
    void handHasLeft(HandMove by) override;
    void tapped(std::int64_t index) override;
    std::shared_ptr<ScrubberEvent> entryAt(std::int64_t index) const override;
    std::int64_t indexOfEntry(const std::shared_ptr<ScrubberEvent>& event, std::int64_t expected) const override;
    std::int64_t indexOfPosition(std::int64_t count) const override;
    void positionReached(std::int64_t index, TimeMs time) override;
    double scaleWidthOf(std::int64_t index) const override;
    double positionSeconds(double /*seconds*/) const override { return alignSeconds; }
    bool isWanting(std::int64_t index) const override;
    void movePlace(Place& place, std::int64_t count) const override;
    /// A page of events or recordings comes in place. It changes no state, and nothing is scrolled to.
    void onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) override;
    void continuePlaying(const std::shared_ptr<ScrubberEvent>& finished) override;
    TimeMs momentUnderMark(std::int64_t index) const override;
    std::shared_ptr<ScrubberEvent> eventNear(std::int64_t index, TimeMs moment) const override;
    QString zoneOf(const ScrubberEvent& entry) const override;

  private:
    /// Whether a cell is the first or the last of its bar.
    struct GroupEnds {
        bool isBegin = false;
        bool isEnd = false;
    };

    bool hasTree() const;
    GroupEnds groupEnds(std::int64_t index) const;
    void toNeighbour(std::int64_t step, bool notify, bool isByUser);
    IndexPath neighbour(std::int64_t step) const;
    std::shared_ptr<ScrubberEvent> takeTimeUnderMark(IndexPath under);
    void askForSegment(IndexPath under);
    void tellRecordingUnderMark(IndexPath under, TimeMs time);
    bool isFlownOver() const;

    IndexPath passing_;  // the segment that is under the mark in a movement
    std::chrono::microseconds passingSince_{};
    std::uint64_t drag_ = 0;
    bool isFlying_ = false;        // from the begin of a drag until the hand has left the strip
    bool isStartAwaited_ = false;  // of the drag: no recording has been told of yet
};

}  // namespace korvane
