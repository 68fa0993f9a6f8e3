#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "korvane/calendar/CalendarDay.h"

namespace korvane {

/// The grid of one month: six weeks of days from the week's first day on or before the month's first, those of them
/// that are marked, and the day that a keyboard is at. Forward and back it goes as far as there is something to see:
/// marks, today, the selected day, the month that shows. The years are 1 to 9999. Used by one thread at a time.
class CalendarMonth {
  public:
    static constexpr int weekLength = 7;
    static constexpr int daysShown = 6 * weekLength;

    struct Cell {
        CalendarDay day{};
        bool isOfMonth = false;
        bool isMarked = false;
        bool isToday = false;
        bool isSelected = false;
        bool operator==(const Cell&) const = default;
    };

    /// Monday at first.
    void setWeekStart(std::chrono::weekday day) { weekStart_ = day; }
    /// Marks of any order, in place of those before; one that comes twice counts once.
    void setMarks(std::vector<CalendarDay> marks);
    const std::vector<CalendarDay>& marks() const { return marks_; }
    void setToday(CalendarDay day) { today_ = day; }
    CalendarDay today() const { return today_; }
    void setSelected(const std::optional<CalendarDay>& day) { selected_ = day; }
    const std::optional<CalendarDay>& selected() const { return selected_; }

    /// January 1970 at first.
    std::chrono::year_month month() const { return month_; }
    /// Any month of the years; one beyond them is the last one before. The cursor keeps its day where the month has it.
    void show(std::chrono::year_month month);
    /// Whether go() would move.
    bool canGo(int months) const;
    /// As far as there is something to see.
    void go(int months);

    /// `index` is 0 to daysShown - 1.
    CalendarDay dayAt(int index) const;
    Cell cellAt(int index) const;

    /// A day of the month that shows.
    CalendarDay cursor() const { return cursor_; }
    int cursorIndex() const;
    /// Shows the month of `day`. False, with nothing moved, where that is further than go() goes.
    bool moveCursorTo(CalendarDay day);
    bool moveCursor(int days);

  private:
    std::chrono::sys_days firstShown() const;
    bool isWithin(std::chrono::year_month month) const;
    std::chrono::year_month first() const;
    std::chrono::year_month last() const;

    std::chrono::weekday weekStart_ = std::chrono::Monday;
    std::chrono::year_month month_{std::chrono::year(1970), std::chrono::January};
    CalendarDay today_{std::chrono::year(1970), std::chrono::January, std::chrono::day(1)};
    CalendarDay cursor_ = today_;
    std::optional<CalendarDay> selected_;
    std::vector<CalendarDay> marks_;  // ascending
};

}  // namespace korvane
