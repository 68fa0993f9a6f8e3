#pragma once

#include <QColor>
#include <QPointer>
#include <QQuickItem>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Time.h"
#include "korvane/calendar/CalendarView.h"
#include "korvane/client/Reply.h"
#include "korvane/toolkit/DeleteLater.h"
#include "korvane/views/timeline/Utils/CalendarContainer.h"

namespace korvane {

class RulerBinding;
class TimelineView;

/// The calendars of a time ruler: the one in its panel and the one in the host's container, the days that the camera
/// names for them, and the jump to a day that is chosen. Main thread only.
class RulerCalendar {
  public:
    /// Both outlive it.
    RulerCalendar(TimelineView& view, RulerBinding& binding);
    ~RulerCalendar();

    /// What the interface file has for it; null where it lacks that.
    void setup(CalendarContainer* controller, CalendarView* calendarView, QQuickItem* calendarBtn);
    void setColors(const QColor& background, const QColor& text, const QColor& mark, const QColor& accent);

    /// Held weakly; null for the panel. A calendar that is in the one before leaves it.
    void setContainer(QQuickItem* container);
    QQuickItem* container() const { return externalCalendarContainerView_; }

    void toggle();
    void showAsController();
    // These three do nothing without a container.
    void showInExternalView();
    void hideInExternalView();
    void toggleInExternalView();

    /// Forgets the days of the camera before, and asks the one of now for those that are in view.
    void cameraChanged();
    /// The panel goes along with its anchor.
    void update();
    /// Takes both calendars away; nothing can be shown afterwards.
    void clean();

  private:
    /// One of the two calendars. Answers come in any order: one that is older than the last one used is not used.
    struct Shown {
        QPointer<CalendarView> view{};
        std::uint64_t asked = 0;
        std::uint64_t answered = 0;
    };

    std::int32_t getCalendar(Shown& calendar);
    void answered(Shown& calendar, std::uint64_t request, const Reply& reply, std::int32_t status);
    void empty(Shown& calendar);
    void showMoment(CalendarView& calendar);
    void orientationChanged();
    bool isExternalShown() const { return externalCalendarView_ && externalCalendarView_->parentItem(); }
    void removeExternal();

    // What both calendars tell.
    void calendarSelectedDateDidTap(TimeMs date);
    void calendarCloseDidTap();

    TimelineView& view_;
    RulerBinding& binding_;
    std::shared_ptr<CalendarViewDelegate> delegate_;
    QPointer<QQuickItem> externalCalendarContainerView_;
    std::unique_ptr<CalendarView, DeleteLater> externalCalendarView_;
    std::vector<std::string> calendar_dates;  // of the latest answer
    QPointer<CalendarContainer> calendarController_;
    QPointer<QQuickItem> calendarBtn_;
    Shown panel_;
    Shown external_;
    LifeToken life_;
};

}  // namespace korvane
