#include "toolkit/CollectionView.h"

#include <QMouseEvent>
#include <QTouchEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Log.h"
#include "base/TaskGuard.h"
#include "toolkit/CellPool.h"
#include "toolkit/InterfaceLoader.h"
#include "toolkit/ScrollTicker.h"
#include "toolkit/ToolkitContext.h"

namespace korvane {
namespace {

constexpr const char* classPath = "CollectionView";
constexpr double animatedScrollDuration = 0.3;  // seconds
constexpr double wheelStep = 60;                // points for one notch
constexpr double wheelNotch = 120;              // in the event's unit, eighths of a degree
constexpr std::chrono::milliseconds wheelQuietTime(150);
constexpr double creepDistance = 60;  // points still to be seen of an animation that does not count as motion

std::vector<std::int64_t> sortedWithin(std::vector<std::int64_t> items, std::int64_t count) {
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
    const auto given = items.size();
    std::erase_if(items, [count](std::int64_t item) { return item < 0 || item >= count; });
    if (items.size() != given) logError(classPath, "batch update: an item does not exist and is ignored");
    return items;
}

}  // namespace

CollectionView::CollectionView(QQuickItem* parent)
    : QQuickItem(parent),
      context_(ToolkitContext::shared()),
      cells_(std::make_unique<CellPool>(*this)),
      offsetX_(0, [this] { setNeedsLayout(); }),
      ticker_(new ScrollTicker([this](double elapsed) { tick(elapsed); })) {
    setClip(true);
    setAcceptTouchEvents(true);
    setAcceptedMouseButtons(Qt::LeftButton);
    setFiltersChildMouseEvents(true);
    setCollectionViewLayout(std::make_unique<FlowLayout>(), false, {});
}

CollectionView::~CollectionView() {
    ticker_->detach();
    context_->scheduler->cancel(wheelTimer_);
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
    cells_->registerFactory(std::move(factory), forCellWithReuseIdentifier);
}

CollectionViewCell* CollectionView::dequeueReusableCell(const QString& withReuseIdentifier, IndexPath forIndexPath) {
    CollectionViewCell* const cell = cells_ ? cells_->dequeue(withReuseIdentifier, forIndexPath) : nullptr;
    if (cell && forIndexPath) {
        const Rect frame = layout_.frame(*forIndexPath);
        cell->setSize({frame.width, frame.height});
    }
    return cell;
}

void CollectionView::reloadData() {
    cellsAreStale_ = true;
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
    if (contentOffset() != before) tell([this](auto& delegate) { delegate.scrollViewDidScroll(*this); });
}

void CollectionView::setContentOffset(Point offset, bool animated) {
    if (animated) {
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

std::optional<Rect> CollectionView::layoutAttributesForItemAtIndexPath(IndexPath indexPath) {
    if (!prepareLayoutIfNeeded()) return std::nullopt;
    if (!indexPath || *indexPath < 0 || *indexPath >= layout_.count()) return std::nullopt;
    return layout_.frame(*indexPath);
}

std::vector<std::int64_t> CollectionView::indexPathsForVisibleItems() const {
    std::vector<std::int64_t> items;
    const ItemRange visible = itemsAt(offsetX_.value());
    for (const auto& [item, cell] : cells_->shown()) {
        if (visible.contains(item)) items.push_back(item);
    }
    return items;
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

void CollectionView::reloadItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths) {
    reloaded_.insert(reloaded_.end(), indexPaths.begin(), indexPaths.end());
    if (batchDepth_ == 0) applyBatch();
}

void CollectionView::deleteItemsAtIndexPaths(const std::vector<std::int64_t>& indexPaths) {
    deleted_.insert(deleted_.end(), indexPaths.begin(), indexPaths.end());
    if (batchDepth_ == 0) applyBatch();
}

void CollectionView::performBatchUpdates(const std::function<void()>& updates, Completion completion) {
    const QPointer<CollectionView> self(this);
    const auto scheduler = context_->scheduler;
    ++batchDepth_;
    detail::runGuarded(updates, classPath);
    if (self && --batchDepth_ == 0) applyBatch();
    if (self) layoutIfNeeded();
    if (completion) scheduler->post([completion = std::move(completion)] { completion(true); });
}

// Numbers are those before the change: cells are put away and renumbered by them, then the data source is asked anew.
void CollectionView::applyBatch() {
    const auto deleted = sortedWithin(std::exchange(deleted_, {}), layout_.count());
    for (const std::int64_t item : sortedWithin(std::exchange(reloaded_, {}), layout_.count())) cells_->recycle(item);
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
    if (layoutPosted_) return;
    layoutPosted_ = true;
    context_->scheduler->post(life_.guard([this] {
        layoutPosted_ = false;
        layoutIfNeeded();
    }));
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
        context_->scheduler->post([completion = std::move(completion), finished] { completion(finished); });
    }
}

void CollectionView::layoutSubviews() {
    if (prepareLayoutIfNeeded()) placeCells();
}

void CollectionView::updatePolish() {
    layoutIfNeeded();
}

void CollectionView::componentComplete() {
    QQuickItem::componentComplete();
    invalidateLayout();
}

void CollectionView::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) invalidateLayout();
}

// False when one of the calls out has destroyed the view.
bool CollectionView::prepareLayoutIfNeeded() {
    if (layoutIsValid_) return true;
    const QPointer<CollectionView> self(this);
    layoutIsValid_ = true;
    CollectionLayout layout = askForLayout();
    if (!self) return false;
    if (layout.count() != expectedCount_) cellsAreStale_ = true;
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
    physics_.setBounds({-contentInset_.left, content - width(), width()});
    return syncOffset();
}

ItemRange CollectionView::itemsAt(double offset) const {
    return layout_.itemsIn(offset, offset + width());
}

void CollectionView::placeCells() {
    if (std::exchange(cellsAreStale_, false)) cells_->recycleAll();
    const ItemRange set = itemsAt(offsetX_.value());
    const ItemRange seen = itemsAt(offsetX_.seen());
    cells_->recycleUnless([&](std::int64_t item) { return set.contains(item) || seen.contains(item); });
    if (!makeCells(set) || !makeCells(seen)) return;
    for (const auto& [item, cell] : cells_->shown()) {
        const Rect frame = layout_.frame(item);
        cell->setSize({frame.width, frame.height});
        cell->setPosition({frame.x - offsetX_.seen(), frame.y - offsetY_});
        cell->setVisible(true);
    }
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

// What happens to the strip. Each call out may destroy the view; these give false when it did.

template <typename Call>
bool CollectionView::tell(Call call) {
    if (!delegate_) return true;
    const QPointer<CollectionView> self(this);
    call(*delegate_);
    return !self.isNull();
}

bool CollectionView::syncOffset() {
    if (physics_.offset() == offsetX_.value()) return true;
    offsetX_.setValueAtOnce(physics_.offset());
    setNeedsLayout();
    return tell([this](auto& delegate) { delegate.scrollViewDidScroll(*this); });
}

bool CollectionView::catchAnimation() {
    if (!offsetX_.isMoving()) return true;
    const QPointer<CollectionView> self(this);
    const double before = offsetX_.value();
    const auto completion = offsetX_.stopWhereSeen();
    physics_.setOffset(offsetX_.value());
    setNeedsLayout();
    const bool isThere =
        offsetX_.value() == before || tell([this](auto& delegate) { delegate.scrollViewDidScroll(*this); });
    if (completion) completion();
    return isThere && self;
}

// A Flickable around the strip sees each event first, so the grab must be kept before its threshold is reached.
void CollectionView::keepGrab(bool isKept) {
    setKeepMouseGrab(isKept);
    setKeepTouchGrab(isKept);
}

void CollectionView::dragEnded(ScrollPhysics::Change change) {
    keepGrab(false);
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

// The pointer: one finger, or the left mouse button.

bool CollectionView::isMovingFast() const {
    return std::abs(offsetX_.value() - offsetX_.seen()) > creepDistance;
}

void CollectionView::pressed(Point at, double time) {
    lastPointer_ = at;
    ticker_->stop();
    const bool isCaught = isMovingFast();
    if (isCaught && !catchAnimation()) return;
    context_->scheduler->cancel(wheelTimer_);
    const auto change = physics_.press(at, time, isCaught);
    keepGrab(physics_.isHeadedAcross());
    if (change.began) tell([this](auto& delegate) { delegate.scrollViewWillBeginDragging(*this); });
}

void CollectionView::moved(Point at, double time) {
    if (at == lastPointer_) return;
    lastPointer_ = at;
    // A step that a new layout brings about comes before what the drag is told by.
    if (!prepareLayoutIfNeeded()) return;
    // What is still on its way is caught before the drag takes its offset from it.
    ScrollPhysics probe = physics_;
    const auto next = probe.move(at, time);
    if ((next.began || next.scrolled) && !catchAnimation()) return;
    const auto change = physics_.move(at, time);
    keepGrab(physics_.isHeadedAcross());
    if (change.began && !tell([this](auto& delegate) { delegate.scrollViewWillBeginDragging(*this); })) return;
    syncOffset();
}

void CollectionView::lifted(Point at, double time, bool mayTap) {
    const QPointer<CollectionView> self(this);
    moved(at, time);
    if (!self) return;
    const auto change = physics_.release(time);
    dragEnded(change);
    if (!self || !change.tapped || !mayTap) return;
    // A finger means what it sees.
    const IndexPath item = indexPathForItemAtPoint({at.x + offsetX_.seen(), at.y + offsetY_});
    if (item) tell([&](auto& delegate) { delegate.collectionViewDidSelectItemAtIndexPath(*this, item); });
}

void CollectionView::ungrabbed() {
    touchId_ = -1;
    dragEnded(physics_.cancel());
}

void CollectionView::mousePressEvent(QMouseEvent* event) {
    pressed({event->position().x(), event->position().y()}, static_cast<double>(event->timestamp()));
}

void CollectionView::mouseMoveEvent(QMouseEvent* event) {
    moved({event->position().x(), event->position().y()}, static_cast<double>(event->timestamp()));
}

void CollectionView::mouseReleaseEvent(QMouseEvent* event) {
    lifted({event->position().x(), event->position().y()}, static_cast<double>(event->timestamp()), true);
}

void CollectionView::mouseUngrabEvent() {
    ungrabbed();
}

void CollectionView::touchEvent(QTouchEvent* event) {
    event->setAccepted(handleTouch(event, false));
}

void CollectionView::touchUngrabEvent() {
    ungrabbed();
}

// The first finger counts until it is lifted. True when the event is not for anybody else.
bool CollectionView::handleTouch(QTouchEvent* event, bool isForChild) {
    if (event->type() == QEvent::TouchCancel) {
        ungrabbed();
        return !isForChild;
    }
    const QPointer<CollectionView> self(this);
    const auto time = static_cast<double>(event->timestamp());
    for (qsizetype i = 0; i < event->pointCount(); ++i) {
        auto& point = event->point(i);
        const QPointF local = mapFromScene(point.scenePosition());
        const Point at{local.x(), local.y()};
        if (point.state() == QEventPoint::Pressed && touchId_ < 0) {
            touchId_ = point.id();
            pressed(at, time);
        } else if (point.id() != touchId_) {
            continue;
        } else if (point.state() == QEventPoint::Released) {
            touchId_ = -1;
            const bool wasDragging = isDragging();
            lifted(at, time, !isForChild);
            return !isForChild || wasDragging;
        } else {
            moved(at, time);
        }
        if (!self) return true;
        if (isForChild && isDragging()) event->setExclusiveGrabber(point, this);
    }
    return !isForChild || isDragging();
}

bool CollectionView::filterMouse(QMouseEvent* event) {
    const QPointer<CollectionView> self(this);
    const QPointF local = mapFromScene(event->scenePosition());
    const Point at{local.x(), local.y()};
    const auto time = static_cast<double>(event->timestamp());
    const bool wasDragging = isDragging();
    if (event->type() == QEvent::MouseButtonPress) {
        if (event->button() == Qt::LeftButton) pressed(at, time);
    } else if (event->type() == QEvent::MouseMove) {
        moved(at, time);
    } else {
        lifted(at, time, false);
        return wasDragging;
    }
    if (!self) return true;
    if (isDragging() && !wasDragging) event->setExclusiveGrabber(event->point(0), this);
    return isDragging();
}

bool CollectionView::childMouseEventFilter(QQuickItem* item, QEvent* event) {
    const bool isKept = item->keepMouseGrab() || item->keepTouchGrab();
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease:
            return !isKept && filterMouse(static_cast<QMouseEvent*>(event));
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
            return !isKept && handleTouch(static_cast<QTouchEvent*>(event), true);
        case QEvent::UngrabMouse:
            // When the strip itself took the grab, the drag goes on.
            if (!isDragging()) ungrabbed();
            return false;
        default:
            return QQuickItem::childMouseEventFilter(item, event);
    }
}

void CollectionView::wheelEvent(QWheelEvent* event) {
    const QPoint pixels = event->pixelDelta();
    const QPointF turned = pixels.isNull() ? QPointF(event->angleDelta()) * (wheelStep / wheelNotch) : QPointF(pixels);
    const double delta = std::abs(turned.x()) >= std::abs(turned.y()) ? turned.x() : turned.y();
    event->accept();
    if (delta == 0 || touchId_ >= 0) return;
    ticker_->stop();
    if (!prepareLayoutIfNeeded() || !catchAnimation()) return;
    const auto change = physics_.wheel(-delta);
    context_->scheduler->cancel(wheelTimer_);
    wheelTimer_ = context_->scheduler->after(wheelQuietTime, life_.guard([this] { endWheel(); }));
    if (change.began && !tell([this](auto& delegate) { delegate.scrollViewWillBeginDragging(*this); })) return;
    syncOffset();
}

void CollectionView::endWheel() {
    dragEnded(physics_.endWheel());
}

}  // namespace korvane
