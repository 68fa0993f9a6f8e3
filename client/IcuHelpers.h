#pragma once

#include <memory>

#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneHelpers.h"

namespace korvane {

/// The helpers on Unicode's own date patterns and time zones, with the scheduler's clock. Formatters are kept, since
/// cells ask for the same few patterns again and again.
class IcuHelpers final : public KorvaneHelpers {
  public:
    /// `scheduler` outlives the helpers.
    explicit IcuHelpers(Scheduler& scheduler);
    ~IcuHelpers() override;

    Reply parseToken(std::string_view token, const std::string& withDefaultProtocol, std::int32_t withDefaultPort,
                     std::string& withResultSVCP, bool& withResultIsPathIncluded, std::int32_t& withLastErrorCode,
                     std::string& withLastErrorString) const override;
    TimeMs currentTimestampUTC() const override;
    TimeMs parseUTCtime(std::string_view time) const override;
    std::string formatTimeWithSSS(TimeMs time) const override;
    std::string formatTime(TimeMs time) const override;
    bool isKnownTimezone(const std::string& name) const override;
    std::string formatTime(TimeMs time, const std::string& withFormat, const std::string& withTimezone) const override;
    std::string formatTime_AMPM(TimeMs time, const std::string& withFormat,
                                const std::string& withTimezone) const override;
    std::optional<TimeMs> convertTimeIntoDate(const std::string& time, const std::string& withFormat,
                                              const std::string& withTimezone) const override;

  private:
    class Formatters;

    Scheduler& scheduler_;
    std::unique_ptr<Formatters> formatters_;
};

}  // namespace korvane
