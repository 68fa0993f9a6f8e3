#pragma once

#include <cstdint>
#include <functional>

#include "korvane/base/Time.h"
#include "korvane/calendar/CalendarDay.h"

namespace korvane {

/// What the host of a calendar answers to. An empty member is an operation that it does not answer. The view holds the
/// record weakly, so the host keeps it, and calls it on the main thread. A member that throws ends that call alone,
/// with a log line. A date is the day's first moment in the view's time zone, ms since the epoch.
struct CalendarViewDelegate {
    /// A marked day has been tapped, or chosen by the keyboard.
    std::function<void(TimeMs date)> calendarSelectedDateDidTap;
    /// The same as a day of the calendar; comes after it.
    std::function<void(CalendarDay components)> calendarSelectedDateComponentsDidTap;
    /// The close control, or Escape. The view stays where it is: taking it away is the host's.
    std::function<void()> calendarCloseDidTap;
    /// A day without a mark has been tapped.
    std::function<void(TimeMs date)> calendarDateDidTap;
    std::function<void(CalendarDay components)> calendarDateComponentsDidTap;
    /// For calendars that have a time of day to choose; this one has none and does not call it.
    std::function<void(TimeMs time)> calendarTimeValueChanged;
    /// The token of the calendar's source has `timeLeft` ms to live. For calendars that have a source of their own;
    /// this one does not call it.
    std::function<std::int32_t(std::int64_t timeLeft)> onSharedTokenWillExpireIn;
};

}  // namespace korvane
