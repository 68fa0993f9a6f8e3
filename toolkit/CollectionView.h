#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QUrl>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Geometry.h"
#include "base/LifeToken.h"
#include "base/Scheduler.h"
#include "toolkit/Animator.h"
#include "toolkit/CollectionLayout.h"
#include "toolkit/CollectionViewCell.h"
#include "toolkit/CollectionViewDataSource.h"
#include "toolkit/CollectionViewDelegate.h"
#include "toolkit/DeleteLater.h"
#include "toolkit/FlowLayout.h"
#include "toolkit/IndexPath.h"
#include "toolkit/ScrollPhysics.h"

namespace korvane {

class CellPool;
class ScrollTicker;
struct ToolkitContext;

/// Where scrollToItemAtIndexPath() brings an item.
enum class CollectionViewScrollPosition { Left = 8, CenteredHorizontally = 16, Right = 32 };

/// A horizontally scrolling strip of recycled cells at any number of items. Touch, mouse and wheel move it; vertical
/// drags are left to what lies around it. Main thread only, usable from C++ and from QML.
///
/// Layout is lazy: changes mark the view, and the pass runs with the next frame, at the latest on the next turn of the
/// main loop (also when nothing is drawn), or in layoutIfNeeded(). Only layout passes make and recycle cells.
///
/// The content offset has two values while it is animated: the value set, which every operation reads, and the value
/// seen, at which cells are drawn. Cells exist for both. A finger that comes down on a strip in motion catches it where
/// it is seen; where it creeps along, as during playback, a tap is still a tap. Offsets and item frames are content
/// coordinates in points.
class CollectionView : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

  public:
    using CellFactory = std::function<std::unique_ptr<CollectionViewCell>()>;

    explicit CollectionView(QQuickItem* parent = nullptr);
    ~CollectionView() override;

    /// Not owned; must be taken away (null) before it dies, unless the view dies first.
    void setDataSource(CollectionViewDataSource* dataSource);
    CollectionViewDataSource* dataSource() const { return dataSource_; }
    void setDelegate(CollectionViewDelegate* delegate);
    CollectionViewDelegate* delegate() const { return delegate_; }

    /// The interface file's root must be a CollectionViewCell. When it cannot be loaded, errors are logged and plain
    /// cells are used.
    void registerNib(const QUrl& nib, const QString& forCellWithReuseIdentifier);
    void registerFactory(CellFactory factory, const QString& forCellWithReuseIdentifier);

    /// A recycled or new cell, owned by the view, in the size of its item, so that pictures are loaded no larger than
    /// they show. Null for an identifier that was never registered. Called from CollectionViewDataSource only.
    CollectionViewCell* dequeueReusableCell(const QString& withReuseIdentifier, IndexPath forIndexPath);

    /// All cells are asked for again in the next layout pass; the offset stays, within the new bounds.
    void reloadData();

    /// Takes the layout over; null is ignored. There is one kind of layout, so `animated` changes nothing that can be
    /// seen. `completion` runs once, after the next layout pass, or with finished false when the view dies before it.
    void setCollectionViewLayout(std::unique_ptr<FlowLayout> layout, bool animated, Completion completion);

    /// Never null.
    FlowLayout* collectionViewLayout() const { return flowLayout_.get(); }

    const EdgeInsets& contentInset() const { return contentInset_; }
    void setContentInset(const EdgeInsets& inset);
    Size contentSize() const;

    /// The value set.
    Point contentOffset() const;
    /// The value seen.
    Point seenContentOffset() const;

    /// Puts the strip there, also outside its bounds; y is kept and applied without animation. Within animate() it is
    /// seen to move. Ends a deceleration, without a callback; a finger that drags goes on from there. Coordinates that
    /// are not finite are refused with a log line.
    void setContentOffset(Point offset);
    /// With `animated`, as within animate() of 0.3 s.
    void setContentOffset(Point offset, bool animated);

    /// A finger, or a wheel, moves the strip. False during animations.
    bool isDragging() const;
    /// The strip moves on after a drag, or springs back from beyond its end.
    bool isDecelerating() const;

    /// As numberOfItems of the data source at the last preparation of the layout.
    std::int64_t numberOfItems() const { return layout_.count(); }

    /// Null when the item has no cell at this moment.
    CollectionViewCell* cellForItemAtIndexPath(IndexPath indexPath) const;

    /// Nothing in gaps and beyond the items.
    IndexPath indexPathForItemAtPoint(Point inContent);

    /// The item's frame; nothing for an item that does not exist.
    std::optional<Rect> layoutAttributesForItemAtIndexPath(IndexPath indexPath);

    /// Items with a cell in the viewport of the value set, ascending.
    std::vector<std::int64_t> indexPathsForVisibleItems() const;

    /// Brings the item to that place of the viewport as far as the bounds let it, without animation (`animated` as in
    /// setContentOffset). An item that does not exist is ignored.
    void scrollToItemAtIndexPath(IndexPath indexPath, CollectionViewScrollPosition atScrollPosition, bool animated);

    /// Cells of these items are asked for again. Within performBatchUpdates(), when it ends.
    void reloadItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths);

    /// Tells that these items, by their numbers before the change, are gone from the data source. Cells behind them
    /// move up. When the data source's count says otherwise, everything is reloaded.
    void deleteItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths);

    /// Runs `updates`, lays the strip out anew, and on the next turn of the main loop runs `completion`, also when the
    /// view is gone by then. Either may be empty.
    void performBatchUpdates(const std::function<void()>& updates, Completion completion);

    void setNeedsLayout();
    /// Runs the pending layout pass now; nothing when none is pending or one is running.
    void layoutIfNeeded();

  protected:
    /// One layout pass. An override calls this one first; when it returns, cells and layout attributes are valid.
    virtual void layoutSubviews();

    void componentComplete() override;
    void updatePolish() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseUngrabEvent() override;
    void touchEvent(QTouchEvent* event) override;
    void touchUngrabEvent() override;
    void wheelEvent(QWheelEvent* event) override;
    bool childMouseEventFilter(QQuickItem* item, QEvent* event) override;

  private:
    bool prepareLayoutIfNeeded();
    CollectionLayout askForLayout();
    void invalidateLayout();
    bool updateBounds();
    void applyBatch();
    void completeLayout(bool finished);
    void placeCells();
    bool makeCells(ItemRange items);
    ItemRange itemsAt(double offset) const;

    template <typename Call>
    bool tell(Call call);
    bool syncOffset();
    bool catchAnimation();
    void keepGrab(bool isKept);
    void dragEnded(ScrollPhysics::Change change);
    void tick(double elapsed);

    void pressed(Point at, double time);
    void moved(Point at, double time);
    void lifted(Point at, double time, bool mayTap);
    void ungrabbed();
    void endWheel();
    bool isMovingFast() const;
    bool handleTouch(QTouchEvent* event, bool isForChild);
    bool filterMouse(QMouseEvent* event);

    std::shared_ptr<ToolkitContext> context_;
    CollectionViewDataSource* dataSource_ = nullptr;
    CollectionViewDelegate* delegate_ = nullptr;
    std::unique_ptr<FlowLayout> flowLayout_;
    std::unique_ptr<CellPool> cells_;
    CollectionLayout layout_;
    EdgeInsets contentInset_;
    ScrollPhysics physics_;
    AnimatedValue offsetX_;
    double offsetY_ = 0;
    std::unique_ptr<ScrollTicker, DeleteLater> ticker_;
    Point lastPointer_;
    Scheduler::TimerId wheelTimer_ = 0;
    int touchId_ = -1;
    bool needsLayout_ = false;
    bool layoutPosted_ = false;
    bool isLayingOut_ = false;
    bool layoutIsValid_ = false;
    bool cellsAreStale_ = true;
    std::int64_t expectedCount_ = 0;
    int batchDepth_ = 0;
    std::vector<std::int64_t> deleted_;
    std::vector<std::int64_t> reloaded_;
    std::vector<Completion> afterLayout_;
    LifeToken life_;
};

}  // namespace korvane
