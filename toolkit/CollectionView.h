#pragma once

#include <QPointer>
#include <QUrl>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "korvane/base/Geometry.h"
#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/CollectionLayout.h"
#include "korvane/toolkit/CollectionViewCell.h"
#include "korvane/toolkit/CollectionViewDataSource.h"
#include "korvane/toolkit/CollectionViewDelegate.h"
#include "korvane/toolkit/DeleteLater.h"
#include "korvane/toolkit/FlowLayout.h"
#include "korvane/toolkit/IndexPath.h"
#include "korvane/toolkit/PointerInput.h"
#include "korvane/toolkit/ScrollPhysics.h"

namespace korvane {

class CellPool;
class ScrollTicker;

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
/// coordinates in points. Cells are drawn with their edges on device pixels, at most one from where their frames are,
/// so that no seam shows between cells that touch.
class CollectionView : public PointerInput {
    Q_OBJECT
    QML_ELEMENT

  public:
    using CellFactory = std::function<std::unique_ptr<CollectionViewCell>()>;

    explicit CollectionView(QQuickItem* parent = nullptr);
    ~CollectionView() override;

    using PointerInput::context;

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

    /// Items have come or gone: the data source is asked where those that have cells stand now, and these cells are
    /// filled anew without being recycled, in the next layout pass.
    void reloadDataKeepingCells();

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
    /// A finger or the mouse button is down on the strip, moving or not.
    bool isTracking() const { return physics_.isHeld(); }
    /// The strip moves on after a drag, or springs back from beyond its end.
    bool isDecelerating() const;

    /// As numberOfItems of the data source at the last preparation of the layout.
    std::int64_t numberOfItems() const { return layout_.count(); }

    /// Null when the item has no cell at this moment.
    CollectionViewCell* cellForItemAtIndexPath(IndexPath indexPath) const;

    /// Nothing in gaps and beyond the items.
    IndexPath indexPathForItemAtPoint(Point inContent);

    /// As indexPathForItemAtPoint() by x alone, and in a gap the nearer neighbour. Nothing without items.
    IndexPath nearestIndexPath(double xInContent);

    /// The item's frame; nothing for an item that does not exist.
    std::optional<Rect> layoutAttributesForItemAtIndexPath(IndexPath indexPath);

    /// Items with a cell in the viewport of the value set, ascending.
    std::vector<std::int64_t> indexPathsForVisibleItems() const;
    /// The same into `items`, whose memory is used again.
    void getVisibleItems(std::vector<std::int64_t>& items) const;

    /// Brings the item to that place of the viewport as far as the bounds let it, without animation (`animated` as in
    /// setContentOffset). An item that does not exist is ignored.
    void scrollToItemAtIndexPath(IndexPath indexPath, CollectionViewScrollPosition atScrollPosition, bool animated);

    /// Has the data source fill the cells of these items anew, at once: the same cells, without prepareForReuse().
    /// Items without a cell at this moment, or whose cells the next layout pass will ask for anyway, are skipped.
    /// Not within performBatchUpdates().
    void reconfigureItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths);

    /// Tells that these items, by their numbers before the change, are gone from the data source. Cells behind them
    /// move up. When the data source's count says otherwise, everything is reloaded.
    void deleteItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths);

    /// Runs `updates`, lays the strip out anew, and on the next turn of the main loop runs `completion`, also when the
    /// view is gone by then. Either may be empty.
    void performBatchUpdates(const std::function<void()>& updates, Completion completion);

    /// Has the layout prepared if it is not: contentOffset() may move in that. False when one of the calls out has
    /// destroyed the view.
    bool prepareLayoutIfNeeded();

    void setNeedsLayout();
    /// Runs the pending layout pass now; nothing when none is pending or one is running.
    void layoutIfNeeded();

  protected:
    /// One layout pass. An override calls this one first; when it returns, cells and layout attributes are valid.
    virtual void layoutSubviews();

    bool event(QEvent* event) override;
    void componentComplete() override;
    void updatePolish() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void pointerBegan(Point at, double time) override;
    void pointerMoved(Point at, double time) override;
    void pointerEnded(Point at, double time, bool isForChild) override;
    void pointerCancelled() override;
    Claim pointerClaim() const override;
    void wheelTurned(double delta, Point at) override;
    void wheelEnded() override;

  private:
    CollectionLayout askForLayout();
    void invalidateLayout();
    bool updateBounds();
    void applyBatch();
    void completeLayout(bool finished);
    void placeCells();
    void reconfigureShown();
    bool makeCells(ItemRange items);
    double toDevicePixel(double x) const;
    void fitCell(CollectionViewCell& cell, const Rect& frame) const;
    ItemRange itemsAt(double offset) const;

    void askForTurn();
    template <typename Call>
    bool tell(Call call);
    bool tellScrolled();
    bool syncOffset();
    bool catchAnimation();
    void dragEnded(ScrollPhysics::Change change);
    void tick(double elapsed);
    bool isMovingFast() const;

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
    bool needsLayout_ = false;
    bool isTurnAsked_ = false;
    bool hasMovedInTurn_ = false;
    bool isScrolling_ = false;
    bool isLayingOut_ = false;
    bool layoutIsValid_ = false;
    bool cellsAreStale_ = true;
    bool cellsMayHaveMoved_ = false;
    bool cellsAreToBeFilled_ = false;
    std::int64_t expectedCount_ = 0;
    int batchDepth_ = 0;
    std::vector<std::int64_t> deleted_;
    std::vector<Completion> afterLayout_;
};

}  // namespace korvane
