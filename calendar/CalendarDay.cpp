#include "korvane/calendar/CalendarDay.h"

#include <charconv>

namespace korvane {
namespace {

constexpr std::string_view pattern = "yyyy-MM-dd";
constexpr std::size_t monthAt = 5;
constexpr std::size_t dayAt = 8;

std::optional<unsigned> digits(std::string_view text) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

std::optional<CalendarDay> parseCalendarDay(std::string_view text) {
    if (text.size() != pattern.size() || text[monthAt - 1] != '-' || text[dayAt - 1] != '-') return std::nullopt;
    const auto year = digits(text.substr(0, monthAt - 1));
    const auto month = digits(text.substr(monthAt, dayAt - 1 - monthAt));
    const auto day = digits(text.substr(dayAt));
    if (!year || *year == 0 || !month || !day) return std::nullopt;
    const CalendarDay found{std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                            std::chrono::day(*day)};
    return found.ok() ? std::optional(found) : std::nullopt;
}

}  // namespace korvane
