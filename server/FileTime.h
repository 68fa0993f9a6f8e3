#pragma once

#include <optional>
#include <string_view>

#include "korvane/base/Time.h"

namespace korvane {

/// The moment that a recording's file name tells, in UTC: a date with a time ("20261118_070500",
/// "2026-11-18T07-05-00Z", "2026.11.18 07.05.00.250", "cam1-20261118070500") or the seconds or milliseconds since 1970.
/// Nothing when it tells none, or one before 1990.
std::optional<TimeMs> timeFromFileName(std::string_view name);

}  // namespace korvane
