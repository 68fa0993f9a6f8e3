#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>

#include "korvane/base/Geometry.h"
#include "korvane/base/LifeToken.h"

namespace korvane {

class Scheduler;
struct ToolkitContext;

/// What every widget is: an item that shows an interface file and lays out anew when its size changes. Made from C++ it
/// fills its parent item; in QML it lies where the host's bindings put it. Main thread only, except for onMain().
class WidgetItem : public QQuickItem {
    Q_OBJECT

  public:
    ~WidgetItem() override;

    /// Root of the loaded interface file; null when it could not be loaded.
    QQuickItem* contentView() const { return contentView_; }
    void setContentView(QQuickItem* view) { contentView_ = view; }

    /// What the widget and all that its interface files make take from their surroundings. Never null.
    const std::shared_ptr<ToolkitContext>& toolkit() const { return toolkit_; }
    Scheduler& scheduler() const;

    /// Runs `work` on a later turn of the main loop, unless the widget is gone by then. Any thread.
    void onMain(std::function<void()> work) const;
    const LifeToken& life() const { return life_; }

  protected:
    /// Null stands for ToolkitContext::current().
    WidgetItem(std::shared_ptr<ToolkitContext> toolkit, QQuickItem* parent);

    /// Loads the interface file as contentView(), which takes the size of this item. Null, with the errors logged under
    /// `classPath`, when that fails.
    QQuickItem* loadContentView(const QUrl& layout, const char* classPath);
    /// Lies at `frame` of its parent from now on, or fills it where it was made from C++.
    void placeAt(const Rect& frame);
    /// Called after each change of size, also while nothing is drawn.
    virtual void layoutSubviews() = 0;
    /// A QML file has set all properties of this item.
    virtual void awakeFromNib() {}
    /// In QML, between creation and awakeFromNib().
    bool isBeingMade() const { return isMadeByQml_ && !isComponentComplete(); }

    void classBegin() override;
    void componentComplete() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void updatePolish() override;

  private:
    void stretch(QQuickItem* toSuperView);
    void layoutIfNeeded();

    const std::shared_ptr<ToolkitContext> toolkit_;
    QPointer<QQuickItem> contentView_;
    QMetaObject::Connection superViewWidth_;
    QMetaObject::Connection superViewHeight_;
    bool isMadeByQml_ = false;
    bool needsLayout_ = false;
    LifeToken life_;
};

}  // namespace korvane
