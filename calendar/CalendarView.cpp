#include "korvane/calendar/CalendarView.h"

#include <QDateTime>
#include <QKeyEvent>
#include <QQuickWindow>
#include <QTimeZone>
#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/calendar/CalendarMonthModel.h"
#include "korvane/calendar/CalendarTypes.h"

namespace korvane {
namespace {

constexpr const char* classPath = "CalendarView";
constexpr int monthsOfYear = 12;

QDate toQDate(CalendarDay day) {
    return {static_cast<int>(day.year()), static_cast<int>(static_cast<unsigned>(day.month())),
            static_cast<int>(static_cast<unsigned>(day.day()))};
}

/// Nothing beyond the years that a calendar shows.
std::optional<CalendarDay> toDay(const QDate& date) {
    constexpr int lastYear = 9999;
    if (!date.isValid() || date.year() < 1 || date.year() > lastYear) return std::nullopt;
    return CalendarDay(std::chrono::year(date.year()), std::chrono::month(static_cast<unsigned>(date.month())),
                       std::chrono::day(static_cast<unsigned>(date.day())));
}

}  // namespace

CalendarView::CalendarView(QQuickItem* parent) : CalendarView(nullptr, Rect{}, parent) {}

CalendarView::CalendarView(std::shared_ptr<ToolkitContext> toolkit, const Rect& frame, QQuickItem* parent)
    : WidgetItem(std::move(toolkit), parent), model_(new CalendarMonthModel(this)) {
    registerCalendarTypes();
    setFlag(ItemIsFocusScope);
    connect(model_, &CalendarMonthModel::tapped, this, [this](int row) {
        setShowsCursor(false);
        tapped(model_->month().dayAt(row));
    });
    connect(model_, &CalendarMonthModel::monthAsked, this, [this](int by) {
        refreshToday();
        model_->change([by](CalendarMonth& month) { month.go(by); });
    });
    connect(model_, &CalendarMonthModel::closeAsked, this, [this] { closeTapped(); });
    placeAt(frame);
    refreshToday();
    makeLook();
}

CalendarView::~CalendarView() {
    clean();
}

void CalendarView::clean() {
    isClean_ = true;
    delegate_.reset();
    removeAllSelectedDates();
    if (contentView()) contentView()->setProperty("hasPage", false);
}

// Look

void CalendarView::itemChange(ItemChange change, const ItemChangeData& value) {
    WidgetItem::itemChange(change, value);
    const bool mayShow = change == ItemSceneChange || change == ItemVisibleHasChanged;
    if (mayShow && !isClean_) onMain([this] { makeLook(); });
}

void CalendarView::makeLook() {
    if (isClean_ || !window() || !isVisible()) return;
    refreshToday();
    if (contentView()) return;
    if (!loadContentView(QUrl(QStringLiteral("qrc:/Korvane/Calendar/layouts/CalendarView.qml")), classPath)) return;
    showLook();
    contentView()->setProperty("model", QVariant::fromValue(model_));
    contentView()->setProperty("hasPage", true);
    model_->setParent(contentView());  // which outlives this by a turn
    // Made from C++ it fills its parent, which needs what it shows.
    placeAt({x(), y(), width(), height()});
}

void CalendarView::showLook() {
    QQuickItem* const look = contentView();
    if (!look) return;
    look->setProperty("hasMonths", (controls() & CalendarControlMonths) != 0);
    look->setProperty("hasClose", (controls() & CalendarControlClose) != 0);
    look->setProperty("isLoading", isLoading_);
    look->setProperty("backgroundColor", backgroundColor_);
    look->setProperty("textColor", textColor_);
    look->setProperty("markColor", markColor_);
    look->setProperty("accentColor", accentColor_);
    look->setProperty("radius", radius_);
}

/// A hand does not need to see where the keyboard is.
void CalendarView::setShowsCursor(bool shows) {
    if (contentView()) contentView()->setProperty("showsCursor", shows);
}

void CalendarView::applyConfig() {
    if (config_.showLoadingOnStart()) showLoading(true);
    showLook();
    emit settingsChanged();
}

void CalendarView::setControls(int controls) {
    if (config_.controls() == controls) return;
    config_.setControls(controls);
    showLook();
    emit settingsChanged();
}

void CalendarView::showLoading(bool isShown) {
    if (std::exchange(isLoading_, isShown) == isShown) return;
    showLook();
    emit loadingChanged();
}

QLocale CalendarView::locale() const {
    return model_->locale();
}

void CalendarView::setLocale(const QLocale& locale) {
    if (locale == model_->locale()) return;
    model_->setLocale(locale);
    emit settingsChanged();
}

// Days

void CalendarView::removeAllSelectedDates() {
    const std::lock_guard lock(mutex_);
    marks_.clear();
}

void CalendarView::addSelectedDateAsString(std::string_view date) {
    const auto day = parseCalendarDay(date);
    const std::lock_guard lock(mutex_);
    if (day)
        marks_.push_back(*day);
    else
        ++rejected_;
}

void CalendarView::updateView() {
    if (isClean_) return;
    std::vector<CalendarDay> marks;
    std::size_t rejected = 0;
    {
        const std::lock_guard lock(mutex_);
        marks = marks_;
        rejected = std::exchange(rejected_, 0);
    }
    if (rejected > 0) logError(classPath, std::to_string(rejected) + " dates are no dates and are left out");
    refreshToday();
    model_->change([&](CalendarMonth& month) { month.setMarks(std::move(marks)); });
}

QTimeZone CalendarView::zone() const {
    if (timeZone_.isEmpty()) return QTimeZone::systemTimeZone();
    const QTimeZone named(timeZone_.toUtf8());
    return named.isValid() ? named : QTimeZone::utc();
}

void CalendarView::setTimeZone(const QString& name) {
    if (timeZone_ == name) return;
    timeZone_ = name;
    refreshToday();
    emit settingsChanged();
}

/// A calendar that stays open turns the page by itself.
void CalendarView::awaitMidnight() {
    scheduler().cancel(midnight_);
    if (isClean_ || !window() || !isVisible()) return;
    const QDateTime here = QDateTime::fromMSecsSinceEpoch(scheduler().utcNow(), zone());
    const qint64 left = here.msecsTo(here.date().addDays(1).startOfDay(zone()));
    midnight_ = scheduler().after(std::chrono::milliseconds(left), life().guard([this] { refreshToday(); }));
}

void CalendarView::refreshToday() {
    awaitMidnight();
    const auto today = toDay(QDateTime::fromMSecsSinceEpoch(scheduler().utcNow(), zone()).date());
    if (!today) return;
    const bool isFirst = !std::exchange(hasMonth_, true);
    if (!isFirst && *today == model_->month().today()) return;
    model_->change([&](CalendarMonth& month) {
        month.setToday(*today);
        if (isFirst) month.moveCursorTo(*today);
    });
}

void CalendarView::showDate(qint64 moment) {
    const auto day = toDay(QDateTime::fromMSecsSinceEpoch(moment, zone()).date());
    if (!day || isClean_) return;
    model_->change([&](CalendarMonth& month) {
        month.setSelected(*day);
        month.moveCursorTo(*day);
    });
}

// What the user does

template <typename... Parameters, typename... Arguments>
void CalendarView::tell(std::function<void(Parameters...)> CalendarViewDelegate::*operation,
                        Arguments... arguments) const {
    const auto host = delegate_.lock();
    if (!host || !((*host).*operation)) return;
    const auto function = (*host).*operation;  // a copy: the host may change its record while it is called
    detail::runGuarded([&] { function(arguments...); }, "CalendarViewDelegate");
}

void CalendarView::tapped(CalendarDay day) {
    if (isClean_) return;
    const auto& marks = model_->month().marks();
    const bool isMarked = std::binary_search(marks.begin(), marks.end(), day);
    const bool isThere = model_->change([&](CalendarMonth& month) {
        if (isMarked) month.setSelected(day);
        return month.moveCursorTo(day);
    });
    if (!isThere) return;
    // Where a clock skips midnight the day begins later.
    const TimeMs date = toQDate(day).startOfDay(zone()).toMSecsSinceEpoch();
    const QPointer<CalendarView> self(this);
    tell(isMarked ? &CalendarViewDelegate::calendarSelectedDateDidTap : &CalendarViewDelegate::calendarDateDidTap,
         date);
    if (!self) return;
    tell(isMarked ? &CalendarViewDelegate::calendarSelectedDateComponentsDidTap
                  : &CalendarViewDelegate::calendarDateComponentsDidTap,
         day);
    if (!self) return;
    isMarked ? emit calendarSelectedDateDidTap(date) : emit calendarDateDidTap(date);
}

void CalendarView::closeTapped() {
    const QPointer<CalendarView> self(this);
    tell(&CalendarViewDelegate::calendarCloseDidTap);
    if (self) emit calendarCloseDidTap();
}

/// As many as the key goes; 0 for other keys.
int CalendarView::daysOfKey(int key) const {
    const int toRight = model_->isMirrored() ? -1 : 1;
    const CalendarMonth& month = model_->month();
    const auto day = static_cast<int>(static_cast<unsigned>(month.cursor().day()));
    const CalendarDay last = month.month() / std::chrono::last;
    switch (key) {
        case Qt::Key_Left:
            return -toRight;
        case Qt::Key_Right:
            return toRight;
        case Qt::Key_Up:
            return -CalendarMonth::weekLength;
        case Qt::Key_Down:
            return CalendarMonth::weekLength;
        case Qt::Key_Home:
            return 1 - day;
        case Qt::Key_End:
            return static_cast<int>(static_cast<unsigned>(last.day())) - day;
        default:
            return 0;
    }
}

bool CalendarView::go(int key, bool withShift) {
    switch (key) {
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_Home:
        case Qt::Key_End:
            model_->change([&](CalendarMonth& month) { month.moveCursor(daysOfKey(key)); });
            return true;
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            emit model_->monthAsked((key == Qt::Key_PageUp ? -1 : 1) * (withShift ? monthsOfYear : 1));
            return true;
        default:
            return false;
    }
}

void CalendarView::keyPressEvent(QKeyEvent* event) {
    const auto with = event->modifiers();
    event->setAccepted(!isClean_ && !(with & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)));
    if (!event->isAccepted()) return;
    setShowsCursor(true);
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Select:
        case Qt::Key_Space:
            if (!event->isAutoRepeat()) tapped(model_->month().cursor());
            return;
        case Qt::Key_Escape:
        case Qt::Key_Back:
            return controls() & CalendarControlClose ? closeTapped() : event->ignore();
        default:
            event->setAccepted(go(event->key(), with & Qt::ShiftModifier));
    }
}

}  // namespace korvane
