#pragma once

#include <QPointer>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/Geometry.h"
#include "client/Status.h"
#include "toolkit/CollectionViewDataSource.h"
#include "toolkit/CollectionViewDelegate.h"
#include "toolkit/IndexPath.h"
#include "views/timeline/Presentation/MarkedStrip.h"
#include "views/timeline/ScrubberViewBase.h"

namespace korvane {

class LayoutConstraint;
class ScrubberCell;
class ScrubberCollectionView;

/// A strip of a camera's stored events under a fixed centre mark, which selects what lies under it.
class ScrubberView : public ScrubberViewBase, public CollectionViewDataSource, public CollectionViewDelegate {
    Q_OBJECT
    QML_ELEMENT

  public:
    /// In the shared environment, without a size: for QML and for hosts that let the parent give the size.
    explicit ScrubberView(QQuickItem* parent = nullptr);
    /// At `frame` of its parent. A view whose environment has no service stays empty, with a log line.
    ScrubberView(const TimelineEnvironment& environment, const Rect& frame, QQuickItem* parent = nullptr);
    /// clean(), so the host hears of a last change of state.
    ~ScrubberView() override;

    void applyConfig() override;
    void reload() override;

    /// The playing entry; null without one.
    std::shared_ptr<ScrubberEvent> getCurrentEvent() const;
    Q_INVOKABLE korvane::ScrubberEventInfo currentEventInfo() const { return ScrubberEventInfo(getCurrentEvent()); }

    /// Makes the entry's moment the position, and scrolls there (null is the live end). With `withSendNotify` the host
    /// hears of the selection. Without `withScroll` nothing moves, and the playing cell starts anew. The last argument
    /// is in seconds.
    void toEvent(const std::shared_ptr<ScrubberEvent>& event);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll);
    void toEvent(const std::shared_ptr<ScrubberEvent>& event, bool withSendNotify, bool withScroll,
                 double withFixedAnimationTime);

    /// Not at work yet: these do nothing, and deleteEvent() gives -1 without a completion.
    Q_INVOKABLE void toFirstEvent() {}
    Q_INVOKABLE void toLastEvent() {}
    void toClosestEvent(const std::shared_ptr<ScrubberEvent>& /*event*/) {}
    void toNextEvent() override {}
    void toNextEventWithSendNotify(bool /*notify*/) {}
    Q_INVOKABLE void toPreviousEvent() {}
    void toPreviousEventWithSendNotify(bool /*notify*/) {}
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/,
                             const ScrubberDataProvider::DeleteCompletion& /*onComplete*/) {
        return StatusBadCall;
    }

    /// Data comes through the provider and progress through the cells: there is nothing to fetch or to follow.
    void updateScrubber(std::int64_t /*start*/, std::int64_t /*end*/) {}
    void startPositionChanging(std::int64_t /*time*/, float /*position*/) {}
    void continuePositionChanging(std::int64_t /*time*/, float /*position*/) {}
    void endPositionChanging(std::int64_t /*time*/, float /*position*/) {}
    void makePositionVisible(std::int64_t /*time*/, float /*position*/) {}
    /// Brings the strip back to its position. Any thread.
    Q_INVOKABLE void updateScrubberData();

    Point getBaseOffset() const override { return markedStrip_.baseOffset(); }
    /// The item under the mark; nothing in a gap or beyond the last.
    IndexPath getIndexPathFromPointer() const { return markedStrip_.indexPathFromPointer(); }
    /// 0 when the item rests on the mark.
    double getOffsetBetweenPointerAndItemBegin(IndexPath indexPath) const {
        return markedStrip_.offsetBetweenPointerAndItemBegin(indexPath);
    }
    void scrollOnDeltaX(IndexPath indexPath, double delta) override;
    void scrollOnPositionX(IndexPath indexPath, double position);
    /// Queues a scroll to the position; nothing moves when no entry has exactly its moment. Any thread.
    void scrollToPosition(bool notify);
    void scrollToPosition(bool notify, double withFixedAnimationTime);
    /// Brings an item to the mark, in that many seconds, or at a speed of its own for 0.001 and below. Does nothing for
    /// the head entry and for no item: `completion` is not called then.
    void scrollToPointer(IndexPath indexPath, double withFixedAnimationTime, std::function<void()> completion);

    std::int64_t collectionViewNumberOfItemsInSection(CollectionView& view, std::int64_t section) override;
    CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath indexPath) override;
    void collectionViewDidSelectItemAtIndexPath(CollectionView& view, IndexPath indexPath) override;
    std::optional<EdgeInsets> collectionViewLayoutInsetForSectionAtIndex(CollectionView& view,
                                                                         std::int64_t section) override;
    Size collectionViewLayoutSizeForItemAtIndexPath(CollectionView& view, IndexPath indexPath) override;
    void scrollViewWillBeginDragging(CollectionView& view) override;
    void scrollViewDidScroll(CollectionView& view) override;
    void scrollViewDidEndDragging(CollectionView& view, bool willDecelerate) override;
    void scrollViewWillBeginDecelerating(CollectionView& view) override;
    void scrollViewDidEndDecelerating(CollectionView& view) override;

  protected:
    void layoutSubviews() override;
    void stopLastCell() override;
    void onReloadIndexRequired(const ScrubberProviderBridge::ReloadIndex& what) override;

  private:
    void customInit();
    void setup();
    void setScreenLayout();
    void orientationChanged();
    void reloadVisible(const ScrubberProviderBridge::ReloadIndex& what);
    void reloadRegrouped(const ScrubberProviderBridge::ReloadIndex& what);
    bool selected(std::int64_t index);
    void play(std::int64_t index);
    void select(IndexPath indexPath);
    void endOfScroll(bool afterDrag);
    void scrollToEntryOfPosition(bool notify, double withFixedAnimationTime, std::int64_t count);
    ScrubberCell* cellAt(IndexPath indexPath) const;

    QPointer<QQuickItem> conatinerForScrubberEvents_;
    QPointer<ScrubberCollectionView> scrubberEventsCollectionView_;
    QPointer<QQuickItem> scrubberCenterMarkView_;
    QPointer<LayoutConstraint> scrubberCenterMarkViewWidth_;
    QPointer<ScrubberCell> lastCell_;
    MarkedStrip markedStrip_;
};

}  // namespace korvane
