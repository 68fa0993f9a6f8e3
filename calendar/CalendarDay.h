#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace korvane {

/// A day of the Gregorian calendar, of no time zone.
using CalendarDay = std::chrono::year_month_day;

/// Reads "yyyy-MM-dd", of the years 1 to 9999. Anything else, a day that the calendar does not have included, gives
/// nothing. Any thread.
std::optional<CalendarDay> parseCalendarDay(std::string_view text);

}  // namespace korvane
