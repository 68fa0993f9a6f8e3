#pragma once

#include <QtQml/qqmlregistration.h>
#include <QPointer>

#include "korvane/toolkit/WidgetItem.h"

namespace korvane {

class CalendarView;

/// A small panel with a calendar, over all that the owner's window shows. Around the panel it is transparent, for the
/// eye and for pointers. Panels of one window lie over each other in the order in which they were shown. Main thread
/// only.
class CalendarContainer : public WidgetItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickItem* calendarView READ calendarItem CONSTANT)

  public:
    static constexpr double panelWidth = 320;
    static constexpr double panelHeight = 240;

    explicit CalendarContainer(QQuickItem* parent = nullptr);
    ~CalendarContainer() override;

    /// The view by which the panel stands; it may go at any time. Its window is where the panel shows.
    void bindToView(QQuickItem* view) { owner_ = view; }
    QQuickItem* owner() const { return owner_; }

    // On the next turn of the main loop, or later.
    /// Over the window's top overlay; a panel that is there already stays.
    void show();
    void hide();
    /// Places the panel 3 points to the right of the owner's origin and 10 above, not above the window's top edge. The
    /// owner's place in its parent counts twice in that.
    void update();

    /// Hides at once, and shows again on the next turn.
    void restart();
    /// Hides at once.
    void dismiss();
    Q_SLOT void closePressed() { hide(); }

    bool isPresented() const { return isPresented_ && parentItem(); }
    /// The overlay that lies on top in the owner's window, or the window's content item; null without a window.
    QQuickItem* currentTopViewController() const;

    /// Outlets of the interface file; null where it lacks them.
    QQuickItem* contentContainer() const { return contentContainer_; }
    void setContentContainer(QQuickItem* item) { contentContainer_ = item; }
    QQuickItem* calendarContainer() const { return calendarContainer_; }
    void setCalendarContainer(QQuickItem* item) { calendarContainer_ = item; }
    CalendarView* calendarView();

  protected:
    void awakeFromNib() override { loadViewIfNeeded(); }
    void layoutSubviews() override { viewWillLayoutSubviews(); }

  private:
    QQuickItem* calendarItem();
    void loadViewIfNeeded();
    void viewDidLoad();
    void viewWillLayoutSubviews() { update(); }
    void present();
    void place();
    void showPanel(bool isShown);

    QPointer<QQuickItem> owner_;
    QPointer<QQuickItem> currentTopVC_;
    QPointer<QQuickItem> contentContainer_;
    QPointer<QQuickItem> calendarContainer_;
    QPointer<CalendarView> calendarView_;
    QPointer<QQuickItem> focusBefore_;
    bool isLoaded_ = false;
    bool isPresented_ = false;
};

}  // namespace korvane
