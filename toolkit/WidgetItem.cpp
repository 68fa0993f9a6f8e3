#include "korvane/toolkit/WidgetItem.h"

#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/Scheduler.h"
#include "korvane/toolkit/DeleteLater.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {

WidgetItem::WidgetItem(std::shared_ptr<ToolkitContext> toolkit, QQuickItem* parent)
    : QQuickItem(parent), toolkit_(toolkit ? std::move(toolkit) : ToolkitContext::current()) {}

WidgetItem::~WidgetItem() {
    if (!contentView_) return;
    // It may be in the middle of an event that led here.
    contentView_->setParentItem(nullptr);
    contentView_->setParent(nullptr);
    DeleteLater()(contentView_);
}

Scheduler& WidgetItem::scheduler() const {
    return *toolkit_->scheduler;
}

void WidgetItem::onMain(std::function<void()> work) const {
    scheduler().post(life_.guard(std::move(work)));
}

QQuickItem* WidgetItem::loadContentView(const QUrl& layout, const char* classPath) {
    InterfaceLoader::Result loaded = InterfaceLoader::load(layout, this, toolkit_);
    for (const QString& error : std::as_const(loaded.errors)) logError(classPath, error.toStdString());
    auto* const root = qobject_cast<QQuickItem*>(loaded.root.get());
    if (!root) return nullptr;
    loaded.root.release()->setParent(this);
    root->setParentItem(this);
    root->setSize(size());
    contentView_ = root;
    return root;
}

void WidgetItem::placeAt(const Rect& frame) {
    setX(frame.x);
    setY(frame.y);
    setSize(QSizeF(frame.width, frame.height));
    stretch(parentItem());
}

void WidgetItem::stretch(QQuickItem* toSuperView) {
    disconnect(superViewWidth_);
    disconnect(superViewHeight_);
    if (!toSuperView || isMadeByQml_ || !contentView_) return;
    const auto fill = [this, toSuperView] {
        setX(0);
        setY(0);
        setSize(toSuperView->size());
    };
    superViewWidth_ = connect(toSuperView, &QQuickItem::widthChanged, this, fill);
    superViewHeight_ = connect(toSuperView, &QQuickItem::heightChanged, this, fill);
    fill();
}

void WidgetItem::classBegin() {
    QQuickItem::classBegin();
    isMadeByQml_ = true;
}

void WidgetItem::componentComplete() {
    QQuickItem::componentComplete();
    awakeFromNib();
}

void WidgetItem::itemChange(ItemChange change, const ItemChangeData& value) {
    QQuickItem::itemChange(change, value);
    if (change == ItemParentHasChanged) stretch(value.item);
}

void WidgetItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() == oldGeometry.size()) return;
    if (contentView_) contentView_->setSize(newGeometry.size());
    if (std::exchange(needsLayout_, true)) return;
    polish();
    onMain([this] { layoutIfNeeded(); });  // an item that is not drawn is not polished
}

void WidgetItem::updatePolish() {
    layoutIfNeeded();
}

void WidgetItem::layoutIfNeeded() {
    if (std::exchange(needsLayout_, false)) layoutSubviews();
}

}  // namespace korvane
