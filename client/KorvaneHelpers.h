#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/base/Time.h"
#include "korvane/client/Reply.h"

namespace korvane {

/// Tokens, the service's clock, and times as text. All functions are synchronous, may be called from any thread, and
/// touch no network.
class KorvaneHelpers {
  public:
    virtual ~KorvaneHelpers() = default;

    /// Reads a whole token. On success: an object with "token", "expires" (strings) and "camid" (integer), and "svcp",
    /// "api", "api_p", "api_sp", "path" as strings where the token has them; `withResultSVCP` is the base URL of the
    /// service, built with the default protocol and port where the token leaves them open, and
    /// `withResultIsPathIncluded` tells whether that URL has a path. On failure: null, and the last two outputs say
    /// what is wrong (Status, a sentence).
    virtual Reply parseToken(std::string_view token, const std::string& withDefaultProtocol,
                             std::int32_t withDefaultPort, std::string& withResultSVCP, bool& withResultIsPathIncluded,
                             std::int32_t& withLastErrorCode, std::string& withLastErrorString) const = 0;

    virtual TimeMs currentTimestampUTC() const = 0;

    /// A time of the service as a number; -1 for a text that cannot be read.
    virtual TimeMs parseUTCtime(std::string_view time) const = 0;

    /// "2026-03-09T07:05:01.250Z".
    virtual std::string formatTimeWithSSS(TimeMs time) const = 0;

    /// "2026-03-09T07:05:01Z".
    virtual std::string formatTime(TimeMs time) const = 0;

    /// Whether the zone's name, "America/New_York" say, is known. The functions below take an unknown one for UTC.
    virtual bool isKnownTimezone(const std::string& name) const = 0;

    /// `time` in the named zone by a Unicode TS 35 pattern. A bad pattern gives an empty string. The language is
    /// English, whatever the device's is.
    virtual std::string formatTime(TimeMs time, const std::string& withFormat,
                                   const std::string& withTimezone) const = 0;

    /// As formatTime(), and a pattern with "a" writes AM or PM.
    virtual std::string formatTime_AMPM(TimeMs time, const std::string& withFormat,
                                        const std::string& withTimezone) const = 0;

    /// Reads `time` as a date by a Unicode TS 35 pattern in the named zone; nothing when it does not fit whole, or
    /// names a day that the calendar does not have. Where the zone's clock skips that time, as it skips midnight in
    /// some places, this is the first moment after the gap; where it comes twice, the first of the two.
    virtual std::optional<TimeMs> convertTimeIntoDate(const std::string& time, const std::string& withFormat,
                                                      const std::string& withTimezone) const = 0;
};

}  // namespace korvane
