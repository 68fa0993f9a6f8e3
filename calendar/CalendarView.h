#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QLocale>
#include <QString>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "korvane/base/Scheduler.h"
#include "korvane/base/Time.h"
#include "korvane/calendar/CalendarConfig.h"
#include "korvane/calendar/CalendarDay.h"
#include "korvane/calendar/CalendarViewDelegate.h"
#include "korvane/toolkit/WidgetItem.h"

class QTimeZone;

namespace korvane {

class CalendarMonthModel;

/// A month of days, some of them marked, of which one is chosen by touch, mouse or keyboard: arrows, Page keys for
/// months, with Shift for years, Home and End for the month's ends, Return for the day, Escape to close. Names and the
/// week's first day come by its locale. Good from 240 x 200 points on. Its look is made when it first shows. Main
/// thread only, except where told. Dates are a day's first moment in timeZone(), ms since the epoch.
class CalendarView : public WidgetItem {
    Q_OBJECT
    QML_ELEMENT
    /// Bits of CalendarControls.
    Q_PROPERTY(int controls READ controls WRITE setControls NOTIFY settingsChanged)
    Q_PROPERTY(QString timeZone READ timeZone WRITE setTimeZone NOTIFY settingsChanged)
    Q_PROPERTY(QLocale locale READ locale WRITE setLocale NOTIFY settingsChanged)
    Q_PROPERTY(QColor backgroundColor READ backgroundColor WRITE setBackgroundColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor textColor READ textColor WRITE setTextColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor markColor READ markColor WRITE setMarkColor NOTIFY settingsChanged)
    Q_PROPERTY(QColor accentColor READ accentColor WRITE setAccentColor NOTIFY settingsChanged)
    Q_PROPERTY(double radius READ radius WRITE setRadius NOTIFY settingsChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY loadingChanged)

  public:
    /// Without a size: for QML and for hosts that let the parent give the size.
    explicit CalendarView(QQuickItem* parent = nullptr);
    /// At `frame` of its parent. A null context stands for ToolkitContext::current().
    CalendarView(std::shared_ptr<ToolkitContext> toolkit, const Rect& frame, QQuickItem* parent = nullptr);
    ~CalendarView() override;

    /// The settings in use, for editing in place; applyConfig() makes them take effect.
    CalendarConfig* getConfig() { return &config_; }
    Q_INVOKABLE void applyConfig();

    /// Held weakly; null for none.
    void setDelegate(const std::shared_ptr<CalendarViewDelegate>& delegate) { delegate_ = delegate; }
    std::shared_ptr<CalendarViewDelegate> getDelegate() const { return delegate_.lock(); }

    /// Takes all marks away, from updateView() on. Any thread while the view lives.
    Q_INVOKABLE void removeAllSelectedDates();
    /// Marks a day given as "yyyy-MM-dd", from updateView() on. What is no day is left out, and updateView() logs one
    /// line of how many were. Any thread while the view lives.
    void addSelectedDateAsString(std::string_view date);
    Q_INVOKABLE void addSelectedDateAsString(const QString& date) { addSelectedDateAsString(date.toStdString()); }
    /// Shows the marks as they are now.
    Q_INVOKABLE void updateView();
    /// On, a mark tells that days are on their way. Whatever there is can be used meanwhile.
    Q_INVOKABLE void showLoading(bool isShown);
    bool isLoading() const { return isLoading_; }
    /// Lets go of the delegate and of all marks; the view shows nothing and cannot be used again.
    Q_INVOKABLE void clean();

    /// Selects the day of a moment, ms, and shows its month; no delegate hears of it. A moment beyond the years 1 to
    /// 9999 is ignored.
    Q_INVOKABLE void showDate(qint64 moment);
    const CalendarMonthModel& model() const { return *model_; }

    int controls() const { return config_.controls(); }
    void setControls(int controls);
    /// An IANA name; empty, as at first, for the device's zone. An unknown one counts as UTC.
    QString timeZone() const { return timeZone_; }
    void setTimeZone(const QString& name);
    /// The application's at first.
    QLocale locale() const;
    void setLocale(const QLocale& locale);

    // Of the colours, days without a mark take a fainter textColor, and the selected day accentColor.
    QColor backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const QColor& color) { change(backgroundColor_, color); }
    QColor textColor() const { return textColor_; }
    void setTextColor(const QColor& color) { change(textColor_, color); }
    QColor markColor() const { return markColor_; }
    void setMarkColor(const QColor& color) { change(markColor_, color); }
    QColor accentColor() const { return accentColor_; }
    void setAccentColor(const QColor& color) { change(accentColor_, color); }
    /// Of the corners, points.
    double radius() const { return radius_; }
    void setRadius(double radius) { change(radius_, radius); }

  signals:
    void settingsChanged();
    void loadingChanged();
    // As those of CalendarViewDelegate, after them.
    void calendarSelectedDateDidTap(qint64 date);
    void calendarDateDidTap(qint64 date);
    void calendarCloseDidTap();

  protected:
    void layoutSubviews() override {}
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void makeLook();
    void showLook();
    void setShowsCursor(bool shows);
    QTimeZone zone() const;
    void refreshToday();
    void awaitMidnight();
    void tapped(CalendarDay day);
    void closeTapped();
    int daysOfKey(int key) const;
    bool go(int key, bool withShift);

    template <typename... Parameters, typename... Arguments>
    void tell(std::function<void(Parameters...)> CalendarViewDelegate::*operation, Arguments... arguments) const;
    template <typename T>
    void change(T& setting, const T& value) {
        if (setting == value) return;
        setting = value;
        showLook();
        emit settingsChanged();
    }

    CalendarMonthModel* const model_;  // lives as long as this and its look
    CalendarConfig config_;
    std::weak_ptr<CalendarViewDelegate> delegate_;
    bool isClean_ = false;
    bool isLoading_ = false;
    Scheduler::TimerId midnight_ = 0;
    bool hasMonth_ = false;  // that of today, or of showDate()
    QString timeZone_;
    QColor backgroundColor_ = Qt::white;
    QColor textColor_ = QColor(0x1c, 0x1f, 0x24);
    QColor markColor_ = QColor(0x2f, 0x6f, 0xdb);
    QColor accentColor_ = QColor(0x2f, 0x6f, 0xdb);
    double radius_ = 0;

    mutable std::mutex mutex_;  // a leaf, guards what follows
    std::vector<CalendarDay> marks_;
    std::size_t rejected_ = 0;  // since updateView()
};

}  // namespace korvane
