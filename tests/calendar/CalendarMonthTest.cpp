#include "korvane/calendar/CalendarMonth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace korvane {
namespace {

using namespace std::chrono;
using Cell = CalendarMonth::Cell;

constexpr CalendarDay day(int y, unsigned m, unsigned d) {
    return {year(y), month(m), std::chrono::day(d)};
}

TEST(CalendarDayTest, ReadsDaysAndNothingElse) {
    for (const auto& [text, expected] :
         {std::pair("2026-11-18", day(2026, 11, 18)), std::pair("2024-02-29", day(2024, 2, 29)),
          std::pair("0001-01-01", day(1, 1, 1)), std::pair("9999-12-31", day(9999, 12, 31))}) {
        EXPECT_EQ(parseCalendarDay(text), expected) << text;
    }
    for (const char* text :
         {"2023-02-29", "1900-02-29", "2026-13-01", "2026-00-10", "2026-04-31", "0000-01-01", "-001-01-01", "2026-1-18",
          "2026/11/18", "2026-11-18T00:00:00Z", "+026-11-18", "2026-11-1x", " 2026-11-1", ""}) {
        EXPECT_FALSE(parseCalendarDay(text)) << text;
    }
}

// Every month has its days once and in order, for every first day of a week, and marks stay on their days.
TEST(CalendarMonthTest, EveryMonthHasItsDaysOnceAndInOrder) {
    std::mt19937 random(7);
    CalendarMonth calendar;
    std::vector<CalendarDay> marks;
    for (int i = 0; i < 4'000; ++i) {
        marks.push_back(sys_days(day(1970, 1, 1)) + days(static_cast<int>(random() % 48'000)));
    }
    calendar.setMarks(marks);
    std::sort(marks.begin(), marks.end());
    for (int i = 0; i < 131 * 12; ++i) {
        const auto shown = year_month(year(1970), January) + months(i);
        const weekday weekStart(static_cast<unsigned>(random() % 7));
        calendar.setWeekStart(weekStart);
        calendar.show(shown);
        ASSERT_EQ(calendar.month(), shown);
        EXPECT_EQ(weekday(sys_days(calendar.dayAt(0))), weekStart);
        unsigned ofMonth = 0;
        for (int row = 0; row < CalendarMonth::daysShown; ++row) {
            const Cell cell = calendar.cellAt(row);
            ASSERT_EQ(sys_days(cell.day), sys_days(calendar.dayAt(0)) + days(row));
            if (cell.isOfMonth) {
                ASSERT_EQ(cell.day, CalendarDay(shown / std::chrono::day(++ofMonth)));
            }
            ASSERT_EQ(cell.isMarked, std::binary_search(marks.begin(), marks.end(), cell.day));
        }
        ASSERT_EQ(std::chrono::day(ofMonth), (shown / last).day());
        ASSERT_EQ(calendar.dayAt(calendar.cursorIndex()), calendar.cursor());
        ASSERT_TRUE(calendar.cellAt(calendar.cursorIndex()).isOfMonth);
    }
}

TEST(CalendarMonthTest, GoesAsFarAsThereIsSomethingToSee) {
    CalendarMonth calendar;
    calendar.setToday(day(2026, 11, 18));
    calendar.show(year(2026) / November);
    EXPECT_FALSE(calendar.canGo(1) || calendar.canGo(-1));
    calendar.setMarks({day(2026, 9, 30), day(2024, 2, 29), day(2026, 9, 30)});
    EXPECT_EQ(calendar.marks().size(), 2U);
    calendar.setSelected(day(2026, 12, 1));
    EXPECT_TRUE(calendar.moveCursorTo(day(2026, 12, 1)));
    calendar.go(-1'000'000);
    EXPECT_EQ(calendar.month(), year(2024) / February);
    EXPECT_FALSE(calendar.canGo(-1));
    EXPECT_TRUE(calendar.moveCursorTo(day(2024, 3, 31)));
    calendar.go(-1);
    EXPECT_EQ(calendar.cursor(), day(2024, 2, 29)) << "as many days as the month has";
    // The ends of the years.
    calendar.show(year(20'000) / May);
    EXPECT_EQ(calendar.month(), year(9999) / December);
    EXPECT_FALSE(calendar.canGo(1));
    EXPECT_FALSE(calendar.moveCursorTo(day(10'000, 1, 1)));
    calendar.show(year(-5) / May);
    EXPECT_EQ(calendar.month(), year(1) / January);
}

}  // namespace
}  // namespace korvane
