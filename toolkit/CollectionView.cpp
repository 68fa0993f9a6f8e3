#include "korvane/toolkit/CollectionView.h"

#include <QCoreApplication>
#include <QEvent>
#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/toolkit/CellPool.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/toolkit/ScrollTicker.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

constexpr const char* classPath = "CollectionView";
constexpr double animatedScrollDuration = 0.3;  // seconds
// A little more than one half, so that two edges that touch round alike in spite of rounding errors.
constexpr double roundsUp = 0.5001;
constexpr double creepDistance = 60;  // points; an animation with less left to go does not count as motion

std::vector<std::int64_t> sortedWithin(std::vector<std::int64_t> items, std::int64_t count) {
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
    const auto given = items.size();
    std::erase_if(items, [count](std::int64_t item) { return item < 0 || item >= count; });
    if (items.size() != given) logError(classPath, "batch update: an item does not exist and is ignored");
    return items;
}

/// Wakes a strip on the next turn of the main loop. A strip that moves asks for one in every frame, so the memory of
/// the last one is kept for the next.
class TurnEvent final : public QEvent {
  public:
    static Type turn() {
        static const Type type = static_cast<Type>(QEvent::registerEventType());
        return type;
    }

    TurnEvent() : QEvent(turn()) {}

    static void* operator new(std::size_t size) {
        void* const kept = std::exchange(spare, nullptr);
        return kept ? kept : ::operator new(size);
    }
    static void operator delete(void* memory) { ::operator delete(std::exchange(spare, memory)); }

  private:
    static thread_local void* spare;
};

thread_local void* TurnEvent::spare = nullptr;

}  // namespace

CollectionView::CollectionView(QQuickItem* parent)
    : PointerInput(parent),
      cells_(std::make_unique<CellPool>(*this)),
      offsetX_(0, [this] { setNeedsLayout(); }),
      ticker_(new ScrollTicker([this](double elapsed) { tick(elapsed); })) {
    setClip(true);
    setFiltersChildMouseEvents(true);
    setCollectionViewLayout(std::make_unique<FlowLayout>(), false, {});
}

CollectionView::~CollectionView() {
    ticker_->detach();
    completeLayout(false);
    delegate_ = nullptr;
    dataSource_ = nullptr;
    const auto cells = std::move(cells_);
}

void CollectionView::setDataSource(CollectionViewDataSource* dataSource) {
    dataSource_ = dataSource;
    reloadData();
}

void CollectionView::setDelegate(CollectionViewDelegate* delegate) {
    delegate_ = delegate;
    invalidateLayout();
}

void CollectionView::registerNib(const QUrl& nib, const QString& forCellWithReuseIdentifier) {
    auto factory = [this, nib]() -> std::unique_ptr<CollectionViewCell> {
        auto loaded = InterfaceLoader::load(nib, this);
        for (const QString& error : loaded.errors) logError(classPath, "cell layout: " + error.toStdString());
        auto* cell = qobject_cast<CollectionViewCell*>(loaded.root.get());
        if (!cell) {
            if (loaded.root) logError(classPath, "cell layout: its root is no CollectionViewCell");
            return nullptr;
        }
        loaded.root.release();
        return std::unique_ptr<CollectionViewCell>(cell);
    };
    registerFactory(std::move(factory), forCellWithReuseIdentifier);
}

void CollectionView::registerFactory(CellFactory factory, const QString& forCellWithReuseIdentifier) {
    if (!factory) return;
    auto inContext = [used = context(), factory = std::move(factory)] {
        const ToolkitContext::Use use(used);
        return factory();
    };
    cells_->registerFactory(std::move(inContext), forCellWithReuseIdentifier);
}

CollectionViewCell* CollectionView::dequeueReusableCell(const QString& withReuseIdentifier, IndexPath forIndexPath) {
    CollectionViewCell* const cell = cells_ ? cells_->dequeue(withReuseIdentifier, forIndexPath) : nullptr;
    if (cell && forIndexPath) fitCell(*cell, layout_.frame(*forIndexPath));
    return cell;
}

void CollectionView::reloadData() {
    cellsAreStale_ = true;
    invalidateLayout();
}

void CollectionView::reloadDataKeepingCells() {
    cellsMayHaveMoved_ = true;
    invalidateLayout();
}

void CollectionView::setCollectionViewLayout(std::unique_ptr<FlowLayout> layout, bool /*animated*/,
                                             Completion completion) {
    if (!layout) return;
    flowLayout_ = std::move(layout);
    flowLayout_->setInvalidationHandler([this] { invalidateLayout(); });
    if (completion) afterLayout_.push_back(std::move(completion));
    invalidateLayout();
}

void CollectionView::setContentInset(const EdgeInsets& inset) {
    if (inset == contentInset_) return;
    if (offsetY_ == -contentInset_.top) offsetY_ = -inset.top;
    contentInset_ = inset;
    invalidateLayout();
}

Size CollectionView::contentSize() const {
    return {layout_.contentWidth(), std::max(0.0, height() - contentInset_.top - contentInset_.bottom)};
}

Point CollectionView::contentOffset() const {
    return {offsetX_.value(), offsetY_};
}

Point CollectionView::seenContentOffset() const {
    return {offsetX_.seen(), offsetY_};
}

void CollectionView::setContentOffset(Point offset) {
    if (!std::isfinite(offset.x) || !std::isfinite(offset.y)) {
        logError(classPath, "setContentOffset: not a finite place");
        return;
    }
    if (!prepareLayoutIfNeeded()) return;
    const Point before = contentOffset();
    physics_.setOffset(offset.x);
    if (!isDecelerating()) ticker_->stop();
    offsetY_ = offset.y;
    offsetX_.setValue(offset.x);
    setNeedsLayout();
    if (contentOffset() != before) tellScrolled();
}

void CollectionView::setContentOffset(Point offset, bool animated) {
    if (animated) {
        const ToolkitContext::Use use(context());
        animate(animatedScrollDuration, [this, offset] { setContentOffset(offset); });
    } else {
        setContentOffset(offset);
    }
}

bool CollectionView::isDragging() const {
    return physics_.phase() == ScrollPhysics::Phase::Dragging;
}

bool CollectionView::isDecelerating() const {
    return physics_.phase() == ScrollPhysics::Phase::Decelerating;
}

CollectionViewCell* CollectionView::cellForItemAtIndexPath(IndexPath indexPath) const {
    return indexPath && cells_ ? cells_->cell(*indexPath) : nullptr;
}

IndexPath CollectionView::indexPathForItemAtPoint(Point inContent) {
    if (!prepareLayoutIfNeeded()) return std::nullopt;
    return layout_.itemAt(inContent);
}

IndexPath CollectionView::nearestIndexPath(double xInContent) {
    if (!prepareLayoutIfNeeded()) return std::nullopt;
    return layout_.nearestItem(xInContent);
}

std::optional<Rect> CollectionView::layoutAttributesForItemAtIndexPath(IndexPath indexPath) {
    if (!prepareLayoutIfNeeded()) return std::nullopt;
    if (!indexPath || *indexPath < 0 || *indexPath >= layout_.count()) return std::nullopt;
    return layout_.frame(*indexPath);
}

std::vector<std::int64_t> CollectionView::indexPathsForVisibleItems() const {
    std::vector<std::int64_t> items;
    getVisibleItems(items);
    return items;
}

void CollectionView::getVisibleItems(std::vector<std::int64_t>& items) const {
    items.clear();
    const ItemRange visible = itemsAt(offsetX_.value());
    for (const auto& [item, cell] : cells_->shown()) {
        if (visible.contains(item)) items.push_back(item);
    }
}

void CollectionView::scrollToItemAtIndexPath(IndexPath indexPath, CollectionViewScrollPosition atScrollPosition,
                                             bool animated) {
    const auto frame = layoutAttributesForItemAtIndexPath(indexPath);
    if (!frame) return;
    double x = frame->x - contentInset_.left;
    if (atScrollPosition == CollectionViewScrollPosition::CenteredHorizontally) x = frame->center().x - width() / 2;
    if (atScrollPosition == CollectionViewScrollPosition::Right) x = frame->right() - width() + contentInset_.right;
    const ScrollBounds& bounds = physics_.bounds();
    setContentOffset({std::clamp(x, bounds.minimum, bounds.maximum), offsetY_}, animated);
}

void CollectionView::reconfigureItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths) {
    const QPointer<CollectionView> self(this);
    for (const std::int64_t item : indexPaths) {
        if (batchDepth_ > 0 || !prepareLayoutIfNeeded() || cellsAreStale_ || !dataSource_) return;
        if (CollectionViewCell* cell = cells_->cell(item))
            dataSource_->collectionViewReconfigureCell(*this, *cell, item);
        if (!self) return;
    }
}

void CollectionView::deleteItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths) {
    deleted_.insert(deleted_.end(), indexPaths.begin(), indexPaths.end());
    if (batchDepth_ == 0) applyBatch();
}

void CollectionView::performBatchUpdates(const std::function<void()>& updates, Completion completion) {
    const QPointer<CollectionView> self(this);
    const auto scheduler = context()->scheduler;
    ++batchDepth_;
    detail::runGuarded(updates, classPath);
    if (self && --batchDepth_ == 0) applyBatch();
    if (self) layoutIfNeeded();
    if (completion) scheduler->post([completion = std::move(completion)] { completion(true); });
}

// The items are numbered as before the change; afterwards the data source is asked again.
void CollectionView::applyBatch() {
    const auto deleted = sortedWithin(std::exchange(deleted_, {}), layout_.count());
    cells_->removeItems(deleted);
    expectedCount_ = layout_.count() - static_cast<std::int64_t>(deleted.size());
    invalidateLayout();
}

void CollectionView::invalidateLayout() {
    layoutIsValid_ = false;
    setNeedsLayout();
}

void CollectionView::setNeedsLayout() {
    needsLayout_ = true;
    polish();
    askForTurn();
}

void CollectionView::askForTurn() {
    if (!std::exchange(isTurnAsked_, true)) QCoreApplication::postEvent(this, new TurnEvent);
}

bool CollectionView::event(QEvent* event) {
    if (event->type() != TurnEvent::turn()) return PointerInput::event(event);
    isTurnAsked_ = false;
    const bool hasMoved = std::exchange(hasMovedInTurn_, false);
    const QPointer<CollectionView> self(this);
    detail::runGuarded([this] { layoutIfNeeded(); }, classPath);
    if (!self) return true;
    if (hasMoved) {
        askForTurn();
    } else if (std::exchange(isScrolling_, false)) {
        tell([this](auto& delegate) { delegate.scrollViewDidComeToStandstill(*this); });
    }
    return true;
}

void CollectionView::layoutIfNeeded() {
    if (!needsLayout_ || isLayingOut_) return;
    const QPointer<CollectionView> self(this);
    needsLayout_ = false;
    isLayingOut_ = true;
    layoutSubviews();
    if (!self) return;
    isLayingOut_ = false;
    completeLayout(true);
}

void CollectionView::completeLayout(bool finished) {
    for (auto& completion : std::exchange(afterLayout_, {})) {
        context()->scheduler->post([completion = std::move(completion), finished] { completion(finished); });
    }
}

void CollectionView::layoutSubviews() {
    if (prepareLayoutIfNeeded()) placeCells();
}

void CollectionView::updatePolish() {
    layoutIfNeeded();
}

void CollectionView::componentComplete() {
    PointerInput::componentComplete();
    invalidateLayout();
}

void CollectionView::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    PointerInput::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) invalidateLayout();
}

void CollectionView::itemChange(ItemChange change, const ItemChangeData& value) {
    PointerInput::itemChange(change, value);
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange) setNeedsLayout();
}

// False when one of the calls out has destroyed the view.
bool CollectionView::prepareLayoutIfNeeded() {
    if (layoutIsValid_) return true;
    const QPointer<CollectionView> self(this);
    layoutIsValid_ = true;
    CollectionLayout layout = askForLayout();
    if (!self) return false;
    if (std::exchange(cellsMayHaveMoved_, false) || layout.count() != expectedCount_) {
        cells_->renumber(
            [this](const CollectionViewCell& cell) {
                return dataSource_ ? dataSource_->collectionViewIndexPathOfCell(*this, cell) : std::nullopt;
            },
            layout.count());
        cellsAreToBeFilled_ = true;
    }
    expectedCount_ = layout.count();
    layout_ = layout;
    return updateBounds();
}

CollectionLayout CollectionView::askForLayout() {
    const QPointer<CollectionView> self(this);
    if (!dataSource_ || dataSource_->numberOfSectionsInCollectionView(*this) < 1 || !self) return {};
    const std::int64_t count = dataSource_->collectionViewNumberOfItemsInSection(*this, 0);
    if (!self || count <= 0) return {};
    CollectionLayout::Sizes sizes;
    EdgeInsets inset = flowLayout_->sectionInset();
    CollectionViewDelegate defaults;
    CollectionViewDelegate& delegate = delegate_ ? *delegate_ : defaults;
    sizes.first = delegate.collectionViewLayoutSizeForItemAtIndexPath(*this, 0);
    if (count > 2) sizes.inner = delegate.collectionViewLayoutSizeForItemAtIndexPath(*this, 1);
    if (count > 1) sizes.last = delegate.collectionViewLayoutSizeForItemAtIndexPath(*this, count - 1);
    inset = delegate.collectionViewLayoutInsetForSectionAtIndex(*this, 0).value_or(inset);
    if (!self) return {};
    return {count, sizes, flowLayout_->minimumInteritemSpacing(), inset};
}

bool CollectionView::updateBounds() {
    const double content = layout_.contentWidth() + contentInset_.right;
    const ScrollBounds bounds{-contentInset_.left, content - width(), width()};
    const auto kept = delegate_ ? delegate_->collectionViewContentOffsetInNewLayout(*this) : std::nullopt;
    const bool isKept = kept && std::isfinite(*kept);
    if (isKept && *kept != offsetX_.value()) {
        offsetX_.shift(*kept - offsetX_.value());
        setNeedsLayout();
    }
    // The sum is rounded: what is set counts.
    physics_.setBounds(bounds, isKept ? std::optional(offsetX_.value()) : std::nullopt);
    return syncOffset();
}

ItemRange CollectionView::itemsAt(double offset) const {
    return layout_.itemsIn(offset, offset + width());
}

void CollectionView::placeCells() {
    if (std::exchange(cellsAreStale_, false)) cells_->recycleAll();
    if (std::exchange(cellsAreToBeFilled_, false)) {
        const QPointer<CollectionView> self(this);
        reconfigureShown();
        if (!self || !layoutIsValid_) return;
    }
    const ItemRange set = itemsAt(offsetX_.value());
    const ItemRange seen = itemsAt(offsetX_.seen());
    cells_->recycleUnless([&](std::int64_t item) { return set.contains(item) || seen.contains(item); });
    if (!makeCells(set) || !makeCells(seen)) return;
    // Frames and offset are rounded separately, so that a cell keeps its width while the strip moves.
    const double origin = mapToScene({0, 0}).x();
    const double shift = toDevicePixel(origin - offsetX_.seen()) - origin;
    for (const auto& [item, cell] : cells_->shown()) {
        const Rect frame = layout_.frame(item);
        fitCell(*cell, frame);
        cell->setPosition({toDevicePixel(frame.x) + shift, frame.y - offsetY_});
        cell->setVisible(true);
    }
}

void CollectionView::reconfigureShown() {
    std::vector<std::int64_t> items;
    for (const auto& [item, cell] : cells_->shown()) items.push_back(item);
    reconfigureItemsAtIndexPaths(items);
}

double CollectionView::toDevicePixel(double x) const {
    const double ratio = window() ? window()->effectiveDevicePixelRatio() : 1;
    return std::floor(x * ratio + roundsUp) / ratio;
}

void CollectionView::fitCell(CollectionViewCell& cell, const Rect& frame) const {
    cell.itemSize_ = {frame.width, frame.height};
    cell.setSize({toDevicePixel(frame.right()) - toDevicePixel(frame.x), frame.height});
}

// False when the view is gone, or its data has changed meanwhile and another pass is on its way.
bool CollectionView::makeCells(ItemRange items) {
    const QPointer<CollectionView> self(this);
    for (std::int64_t item = items.begin; item < items.end; ++item) {
        if (cells_->cell(item)) continue;
        if (!dataSource_) return false;
        CollectionViewCell* cell = dataSource_->collectionViewCellForItemAtIndexPath(*this, item);
        if (!self) return false;
        if (!cells_->show(item, cell) && cell) logError(classPath, "data source: gave a cell that was not dequeued");
        if (!layoutIsValid_) return false;
    }
    return true;
}

// These call the delegate, which may destroy the view; they give false then.

template <typename Call>
bool CollectionView::tell(Call call) {
    if (!delegate_) return true;
    const QPointer<CollectionView> self(this);
    call(*delegate_);
    return !self.isNull();
}

bool CollectionView::tellScrolled() {
    hasMovedInTurn_ = isScrolling_ = true;
    return tell([this](auto& delegate) { delegate.scrollViewDidScroll(*this); });
}

bool CollectionView::syncOffset() {
    if (physics_.offset() == offsetX_.value()) return true;
    offsetX_.setValueAtOnce(physics_.offset());
    setNeedsLayout();
    return tellScrolled();
}

bool CollectionView::catchAnimation() {
    if (!offsetX_.isMoving()) return true;
    const QPointer<CollectionView> self(this);
    const double before = offsetX_.value();
    const auto completion = offsetX_.stopWhereSeen();
    physics_.setOffset(offsetX_.value());
    setNeedsLayout();
    const bool isThere = offsetX_.value() == before || tellScrolled();
    if (completion) completion();
    return isThere && self;
}

void CollectionView::dragEnded(ScrollPhysics::Change change) {
    if (!change.ended) return;
    if (!tell([&](auto& delegate) { delegate.scrollViewDidEndDragging(*this, change.willDecelerate); })) return;
    if (!change.willDecelerate || !isDecelerating()) return;
    if (!tell([this](auto& delegate) { delegate.scrollViewWillBeginDecelerating(*this); })) return;
    if (isDecelerating()) ticker_->start();
}

void CollectionView::tick(double elapsed) {
    const auto change = physics_.advance(elapsed);
    if (change.ended) ticker_->stop();
    if (!syncOffset()) return;
    if (change.ended) tell([this](auto& delegate) { delegate.scrollViewDidEndDecelerating(*this); });
}

bool CollectionView::isMovingFast() const {
    return std::abs(offsetX_.value() - offsetX_.seen()) > creepDistance;
}

void CollectionView::pointerBegan(Point at, double time) {
    if (!prepareLayoutIfNeeded()) return;  // as in pointerMoved()
    ticker_->stop();
    const bool isCaught = isMovingFast();
    if (isCaught && !catchAnimation()) return;
    const auto change = physics_.press(at, time, isCaught);
    if (change.began) tell([this](auto& delegate) { delegate.scrollViewWillBeginDragging(*this); });
}

void CollectionView::pointerMoved(Point at, double time) {
    // A pending layout may move the offset, so it runs before the drag does.
    if (!prepareLayoutIfNeeded()) return;
    // A running animation is stopped first, because the drag goes on from the offset seen.
    ScrollPhysics probe = physics_;
    const auto next = probe.move(at, time);
    if ((next.began || next.scrolled) && !catchAnimation()) return;
    const auto change = physics_.move(at, time);
    if (change.began && !tell([this](auto& delegate) { delegate.scrollViewWillBeginDragging(*this); })) return;
    syncOffset();
}

void CollectionView::pointerEnded(Point at, double time, bool isForChild) {
    const QPointer<CollectionView> self(this);
    const auto change = physics_.release(time);
    dragEnded(change);
    if (!self || !change.tapped || isForChild) return;
    // Looked up at the offset seen, because that is what the finger has tapped.
    const IndexPath item = indexPathForItemAtPoint({at.x + offsetX_.seen(), at.y + offsetY_});
    if (item) tell([&](auto& delegate) { delegate.collectionViewDidSelectItemAtIndexPath(*this, item); });
}

void CollectionView::pointerCancelled() {
    dragEnded(physics_.cancel());
}

PointerInput::Claim CollectionView::pointerClaim() const {
    if (isDragging()) return Claim::Taken;
    return physics_.isHeadedAcross() ? Claim::Kept : Claim::Shared;
}

void CollectionView::wheelTurned(double delta, Point /*at*/) {
    ticker_->stop();
    if (!prepareLayoutIfNeeded() || !catchAnimation()) return;
    const auto change = physics_.wheel(delta);
    if (change.began && !tell([this](auto& delegate) { delegate.scrollViewWillBeginDragging(*this); })) return;
    syncOffset();
}

void CollectionView::wheelEnded() {
    dragEnded(physics_.endWheel());
}

}  // namespace korvane
