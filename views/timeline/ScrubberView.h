#pragma once

#include <QPointer>
#include <QVariantMap>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/Geometry.h"
#include "toolkit/CollectionViewDataSource.h"
#include "toolkit/CollectionViewDelegate.h"
#include "toolkit/IndexPath.h"
#include "views/timeline/Presentation/MarkedStrip.h"
#include "views/timeline/ScrubberViewBase.h"

namespace korvane {

class KorvaneCamera;
class KorvanePlayer;
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

    std::shared_ptr<ScrubberEvent> getCurrentEvent() const override;

    /// To the first entry of the 24 hours that begin with the moment of `event`, in list order. When there is none, or
    /// a pending one before it, the provider is asked for that time, and the strip follows once it has answered. The
    /// live end for null and for a moment of 0 or below.
    void toClosestEvent(const std::shared_ptr<ScrubberEvent>& event);
    /// The same for QML; `time` is ms.
    Q_INVOKABLE void toClosestEvent(qint64 time);
    /// To the neighbour of the playing entry, at a speed of its own and without a change of the position. At the live
    /// end, and while none plays, there is no next one, and the previous one is the last event. With
    /// `withSendNotify`, which is the default, the host hears of the selection. Any thread.
    Q_INVOKABLE void toNextEvent();
    void toNextEventWithSendNotify(bool withSendNotify);
    Q_INVOKABLE void toPreviousEvent();
    void toPreviousEventWithSendNotify(bool withSendNotify);

    void clean() override;

    /// The view takes its data through setSource() alone: these keep nothing, and what they were given stays absent.
    void setPlayer(const std::shared_ptr<KorvanePlayer>& player);
    void setCamera(const std::shared_ptr<KorvaneCamera>& camera);
    std::shared_ptr<KorvanePlayer> getPlayer() const { return nullptr; }
    std::shared_ptr<KorvaneCamera> getCamera() const { return nullptr; }

    /// Data comes through the provider and progress through the cells, so there is nothing to fetch, to follow or to
    /// observe: these only trace. Times are ms.
    void startUpdates();
    void stopUpdates();
    void updateScrubber(std::int64_t start, std::int64_t end);
    void startPositionChanging(std::int64_t time, float position);
    void continuePositionChanging(std::int64_t time, float position);
    void endPositionChanging(std::int64_t time, float position);
    void makePositionVisible(std::int64_t time, float position);
    void observeValueForKeyPath(const QString& keyPath, const QObject* ofObject, const QVariantMap& change,
                                const void* context);
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
    void scrollToPosition(bool notify, double withFixedAnimationTime) override;
    /// Brings an item to the mark, in that many seconds, or at a speed of its own for 0.001 and below. Does nothing for
    /// the head entry and for no item: `completion` is not called then. For an item that does not exist nothing moves.
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
    CollectionView* strip() const override;
    void stopLastCell() override;
    void restartLastCell() override;
    void continuePlaying() override;
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
    void selectAndPlay(std::int64_t index);
    void select(IndexPath indexPath);
    void toNeighbour(std::int64_t index, bool notify);
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
