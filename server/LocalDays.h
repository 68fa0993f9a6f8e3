#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "korvane/base/Time.h"

namespace korvane {

/// The calendar of one time zone. Used by one thread at a time.
class LocalDays {
  public:
    /// `zone` is an IANA name; an unknown one counts as UTC.
    explicit LocalDays(const std::string& zone);
    ~LocalDays();
    LocalDays(const LocalDays&) = delete;
    LocalDays& operator=(const LocalDays&) = delete;

    static bool isKnown(const std::string& zone);

    /// "yyyy-MM-dd" of the day that `time` lies in.
    std::string dayOf(TimeMs time) const;

    /// The first moment of the day after.
    TimeMs nextDay(TimeMs time) const;

    /// What to add to UTC at `time` to have the local time of day, in ms.
    TimeMs offsetAt(TimeMs time) const;

  private:
    struct Zone;
    std::unique_ptr<Zone> zone_;
};

}  // namespace korvane
