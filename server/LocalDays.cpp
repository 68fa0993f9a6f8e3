#include "korvane/server/LocalDays.h"

#include <unicode/timezone.h>

#include "korvane/base/UtcTime.h"

namespace korvane {
namespace {

constexpr TimeMs dayLength = 86'400'000;
constexpr TimeMs quarter = 900'000;

std::int64_t dayNumber(TimeMs local) {
    return local >= 0 ? local / dayLength : -((dayLength - 1 - local) / dayLength);
}

}  // namespace

struct LocalDays::Zone {
    std::unique_ptr<icu::TimeZone> rules;
};

LocalDays::LocalDays(const std::string& zone) : zone_(std::make_unique<Zone>()) {
    zone_->rules.reset(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(isKnown(zone) ? zone : "UTC")));
}

LocalDays::~LocalDays() = default;

bool LocalDays::isKnown(const std::string& zone) {
    const std::unique_ptr<icu::TimeZone> rules(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
    return rules != nullptr && *rules != icu::TimeZone::getUnknown();
}

TimeMs LocalDays::offsetAt(TimeMs time) const {
    std::int32_t raw = 0;
    std::int32_t saving = 0;
    UErrorCode code = U_ZERO_ERROR;
    zone_->rules->getOffset(static_cast<UDate>(time), false, raw, saving, code);
    return U_SUCCESS(code) ? raw + saving : 0;
}

std::string LocalDays::dayOf(TimeMs time) const {
    return formatUtc(time + offsetAt(time)).substr(0, 10);
}

TimeMs LocalDays::nextDay(TimeMs time) const {
    const std::int64_t day = dayNumber(time + offsetAt(time));
    const TimeMs localMidnight = (day + 1) * dayLength;
    TimeMs next = localMidnight - offsetAt(time);
    next = localMidnight - offsetAt(next);
    // Where clocks go forward at midnight the day begins later than that.
    while (dayNumber(next + offsetAt(next)) <= day) next += quarter;
    return next;
}

}  // namespace korvane
