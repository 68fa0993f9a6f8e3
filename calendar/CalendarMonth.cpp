#include "korvane/calendar/CalendarMonth.h"

#include <algorithm>
#include <utility>

namespace korvane {
namespace {

using std::chrono::days;
using std::chrono::months;
using std::chrono::sys_days;
using std::chrono::year_month;

constexpr year_month firstMonth{std::chrono::year(1), std::chrono::January};
constexpr year_month lastMonth{std::chrono::year(9999), std::chrono::December};

year_month monthOf(CalendarDay day) {
    return {day.year(), day.month()};
}

/// The day of that number, or the month's last where it is shorter.
CalendarDay inMonth(year_month month, std::chrono::day day) {
    const CalendarDay last = month / std::chrono::last;
    return std::min(CalendarDay(month / day), last);
}

}  // namespace

void CalendarMonth::setMarks(std::vector<CalendarDay> marks) {
    std::sort(marks.begin(), marks.end());
    marks.erase(std::unique(marks.begin(), marks.end()), marks.end());
    marks_ = std::move(marks);
}

void CalendarMonth::show(year_month month) {
    month_ = std::clamp(month, firstMonth, lastMonth);
    cursor_ = inMonth(month_, cursor_.day());
}

year_month CalendarMonth::first() const {
    year_month found = std::min(month_, monthOf(today_));
    if (selected_) found = std::min(found, monthOf(*selected_));
    if (!marks_.empty()) found = std::min(found, monthOf(marks_.front()));
    return std::max(found, firstMonth);
}

year_month CalendarMonth::last() const {
    year_month found = std::max(month_, monthOf(today_));
    if (selected_) found = std::max(found, monthOf(*selected_));
    if (!marks_.empty()) found = std::max(found, monthOf(marks_.back()));
    return std::min(found, lastMonth);
}

bool CalendarMonth::isWithin(year_month month) const {
    return month >= first() && month <= last();
}

bool CalendarMonth::canGo(int by) const {
    return by != 0 && isWithin(month_ + months(by > 0 ? 1 : -1));
}

void CalendarMonth::go(int by) {
    constexpr int most = 12 * 9999;
    show(std::clamp(month_ + months(std::clamp(by, -most, most)), first(), last()));
}

sys_days CalendarMonth::firstShown() const {
    const sys_days firstOfMonth = month_ / std::chrono::day(1);
    return firstOfMonth - (std::chrono::weekday(firstOfMonth) - weekStart_);
}

CalendarDay CalendarMonth::dayAt(int index) const {
    return firstShown() + days(std::clamp(index, 0, daysShown - 1));
}

CalendarMonth::Cell CalendarMonth::cellAt(int index) const {
    const CalendarDay day = dayAt(index);
    return {.day = day,
            .isOfMonth = monthOf(day) == month_,
            .isMarked = std::binary_search(marks_.begin(), marks_.end(), day),
            .isToday = day == today_,
            .isSelected = day == selected_};
}

int CalendarMonth::cursorIndex() const {
    return static_cast<int>((sys_days(cursor_) - firstShown()).count());
}

bool CalendarMonth::moveCursorTo(CalendarDay day) {
    if (!day.ok() || !isWithin(monthOf(day))) return false;
    month_ = monthOf(day);
    cursor_ = day;
    return true;
}

bool CalendarMonth::moveCursor(int by) {
    return moveCursorTo(sys_days(cursor_) + days(by));
}

}  // namespace korvane
