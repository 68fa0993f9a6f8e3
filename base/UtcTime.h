#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "korvane/base/Time.h"

namespace korvane {

/// "2026-03-09T07:05:01.250Z": the proleptic Gregorian date of `time`, with milliseconds. Moments before year 0 or
/// after year 9999 are written as the first or last moment of that range.
std::string formatUtc(TimeMs time);

/// Reads ISO 8601 UTC moments: "2026-03-09T07:05:01", with or without a fraction of any length (cut to milliseconds),
/// "Z", "+00:00" or another offset, a blank for the "T", and the basic form "20260309T070501.250". Anything else, a
/// date that the calendar does not have included, gives nothing.
std::optional<TimeMs> parseUtc(std::string_view text);

/// Name of this device's time zone, "Europe/Berlin" say; "UTC" when the system does not tell.
std::string localTimeZoneName();

/// What the system's clock says. For SystemScheduler and for programs of their own; what is tested by time takes it
/// from a Scheduler or from its caller.
TimeMs systemUtcNow();

}  // namespace korvane
