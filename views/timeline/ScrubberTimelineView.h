#pragma once

#include "korvane/views/timeline/ScrubberWidget.h"

namespace korvane {

class ScrubberTimelineCell;
class ScrubberTimelineCollectionView;
class TimelineStrip;

/// A camera's recorded time as one continuous strip under a fixed centre mark. With the setting dataSourceType at
/// ScrubberDataSourceTypeTimeline, which it is made for, bars of recorded time with ticks, times and event icons; it
/// shows events and recordings, too. Of the token's expiry the host does not hear.
class ScrubberTimelineView : public ScrubberWidget {
    Q_OBJECT
    QML_ELEMENT

  public:
    /// In the shared environment, without a size: for QML and for hosts that let the parent give the size.
    explicit ScrubberTimelineView(QQuickItem* parent = nullptr);
    /// At `frame` of its parent. A view whose environment has no service stays empty, with a log line.
    ScrubberTimelineView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent = nullptr);

    /// To the entry that holds the moment of `event`, or a second into the first one for a moment before that. Nothing
    /// moves for a moment in a gap, for -1 and for null.
    void toClosestEvent(const std::shared_ptr<ScrubberEvent>& event);
    /// The same for QML; `time` is ms.
    Q_INVOKABLE void toClosestEvent(qint64 time);
    /// To the neighbour of the playing entry, or, while the strip is on its way to an entry, of that one; without a
    /// change of the position. Nothing while a finger moves the strip, while none plays, and at the live end. With
    /// `withSendNotify`, which is the default, the host hears of the selection. Any thread.
    Q_INVOKABLE void toNextEvent();
    Q_INVOKABLE void toNextEventWithSendNotify(bool withSendNotify);
    Q_INVOKABLE void toPreviousEvent();
    Q_INVOKABLE void toPreviousEventWithSendNotify(bool withSendNotify);
    /// As toNextEvent(), also under a finger's flick; the host hears of the live end alone.
    Q_INVOKABLE void toNextEventOnlyScroll();
    /// To an entry by its index. `withEvent` is what the host hears of; null stands for the entry there. Of the live
    /// entry it hears with either flag.
    void toEventByIndex(std::int64_t index, const std::shared_ptr<ScrubberEvent>& withEvent, bool withSendNotify,
                        bool withSendNotifyForLive);

    /// The first entry of that moment, ms, or whose span holds it; for -1 the live one. Null, with `andIndex` as it is,
    /// without one, for a count below 3 and for an index that `withCount` leaves out.
    std::shared_ptr<ScrubberEvent> getEventByPosition(TimeMs position, std::int64_t withCount,
                                                      std::int64_t& andIndex) const;
    /// As getEventByPosition(), with the end of a span included; for a moment before the first real entry that one,
    /// with the flag false. The flag stays as it is for -1.
    std::shared_ptr<ScrubberEvent> getClosestEventByPosition(TimeMs position, std::int64_t withCount,
                                                             std::int64_t& withIndex, bool& andIsPositionExist) const;

    using ScrubberWidget::scrollToPosition;
    /// As scrollToPosition(notify): the other two take no part. Any thread.
    void scrollToPosition(bool notify, bool withStartUpdating, double withFixedAnimationTime);
    /// Queues a scroll to the begin of the entry of `time`, ms, which holds that moment from then on. With
    /// `withStartUpdating` it plays from there, and what has played before ends. The last argument is in seconds, 0.001
    /// and below for a speed of its own. Nothing moves for a moment that no entry holds. Any thread.
    void scrollToPosition(TimeMs time, bool withNotify, bool withStartUpdating, double withFixedAnimationTime);

    /// The strip has moved in this turn of the main loop or the one before. Any thread.
    Q_INVOKABLE bool isScrolling() const;
    /// Stops nothing.
    void cancelScrolling() {}

    /// The strip, and its cell of an item: for looking at. Owned by the view; null for an item without a cell.
    ScrubberTimelineCollectionView* getCollectionView() const;
    ScrubberTimelineCell* getScrubberTimelineCellByIndex(std::int64_t index) const;
    /// Where the item begins, in content coordinates; 0 for one that does not exist.
    double getOffsetItemBegin(IndexPath indexPath) const;

  private:
    TimelineStrip& timeline() const;
};

}  // namespace korvane
