#include "korvane/views/timeline/Utils/CalendarContainer.h"

#include <QQuickWindow>
#include <algorithm>
#include <utility>

#include "korvane/calendar/CalendarView.h"
#include "korvane/toolkit/Coordinates.h"
#include "korvane/toolkit/InterfaceLoader.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

constexpr const char* classPath = "CalendarContainer";
constexpr double panelShift = 3;
constexpr double anchorGap = 10;
// Below what a window's own pop-ups have.
constexpr double overlayZ = 1'000'000;

}  // namespace

CalendarContainer::CalendarContainer(QQuickItem* parent) : WidgetItem(nullptr, parent) {
    setZ(overlayZ);
}

CalendarContainer::~CalendarContainer() {
    dismiss();
}

void CalendarContainer::loadViewIfNeeded() {
    if (std::exchange(isLoaded_, true)) return;
    QQuickItem* const root =
        loadContentView(QUrl(QStringLiteral("qrc:/Korvane/Timeline/layouts/CalendarContainer.qml")), classPath);
    if (!root) return;
    Outlets outlets(root);
    contentContainer_ = outlets.get<QQuickItem>("contentContainer");
    calendarContainer_ = outlets.get<QQuickItem>("calendarContainer");
    calendarView_ = outlets.get<CalendarView>("calendarView");
    outlets.report(classPath);
    if (calendarView_) connect(calendarView_, &CalendarView::calendarCloseDidTap, this, [this] { closePressed(); });
    viewDidLoad();
}

void CalendarContainer::viewDidLoad() {
    owner_ = nullptr;
    showPanel(false);
}

CalendarView* CalendarContainer::calendarView() {
    loadViewIfNeeded();
    return calendarView_;
}

QQuickItem* CalendarContainer::calendarItem() {
    return calendarView();
}

void CalendarContainer::showPanel(bool isShown) {
    if (calendarContainer_) calendarContainer_->setVisible(isShown);
}

void CalendarContainer::show() {
    onMain([this] {
        update();
        currentTopVC_ = currentTopViewController();
        if (!currentTopVC_ || currentTopVC_ == this) return;
        present();
        update();
        showPanel(true);
        if (calendarView_) calendarView_->forceActiveFocus(Qt::PopupFocusReason);
    });
}

void CalendarContainer::hide() {
    onMain([this] { dismiss(); });
}

void CalendarContainer::restart() {
    dismiss();
    onMain([this] { show(); });
}

void CalendarContainer::update() {
    onMain([this] { place(); });
}

void CalendarContainer::present() {
    loadViewIfNeeded();
    QQuickItem* const root = currentTopVC_->window()->contentItem();
    if (!isPresented() || parentItem() != root) focusBefore_ = root->window()->activeFocusItem();
    isPresented_ = true;
    setParentItem(root);
    if (currentTopVC_ != root) stackAfter(currentTopVC_);
    setPosition({0, 0});
    setSize(root->size());
    const auto fill = [this, root] { setSize(root->size()); };
    disconnect(root, nullptr, this, nullptr);
    connect(root, &QQuickItem::widthChanged, this, fill);
    connect(root, &QQuickItem::heightChanged, this, fill);
}

void CalendarContainer::dismiss() {
    if (!std::exchange(isPresented_, false)) return showPanel(false);
    QQuickItem* const root = parentItem();
    const bool hadFocus = calendarView_ && calendarView_->hasActiveFocus();
    showPanel(false);
    setParentItem(nullptr);
    if (!root) return;
    disconnect(root, nullptr, this, nullptr);
    const bool canTakeIt = focusBefore_ && focusBefore_->window() == root->window();
    if (hadFocus && canTakeIt) focusBefore_->forceActiveFocus();
}

void CalendarContainer::place() {
    if (!calendarContainer_) return;
    const Point origin = owner_ ? Point{owner_->x(), owner_->y()} : Point{};
    const Point anchor = convertPoint(origin, owner_, currentTopVC_);
    calendarContainer_->setPosition({anchor.x + panelShift, std::max(0.0, anchor.y - panelHeight - anchorGap)});
    calendarContainer_->setSize({panelWidth, panelHeight});
}

QQuickItem* CalendarContainer::currentTopViewController() const {
    const QQuickWindow* const shown = owner_ ? owner_->window() : window();
    if (!shown) return nullptr;
    QQuickItem* top = shown->contentItem();
    const QList<QQuickItem*> overlays = top->childItems();
    for (QQuickItem* const item : overlays) {
        const auto* const overlay = qobject_cast<CalendarContainer*>(item);
        if (overlay && overlay->isPresented()) top = item;
    }
    return top;
}

}  // namespace korvane
