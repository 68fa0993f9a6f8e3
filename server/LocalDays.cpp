#include "korvane/server/LocalDays.h"

#include <unicode/basictz.h>
#include <unicode/tztrans.h>

#include <limits>

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
    /// The offset that was asked for last, and from and until when it is the same.
    TimeMs offset = 0;
    TimeMs begin = 0;
    TimeMs end = 0;

    void look(TimeMs time) {
        const auto moment = static_cast<UDate>(time);
        std::int32_t raw = 0;
        std::int32_t saving = 0;
        UErrorCode code = U_ZERO_ERROR;
        rules->getOffset(moment, false, raw, saving, code);
        offset = U_SUCCESS(code) ? raw + saving : 0;
        begin = time;
        end = time + 1;
        const auto* known = dynamic_cast<const icu::BasicTimeZone*>(rules.get());
        icu::TimeZoneTransition change;
        if (known == nullptr) return;
        end = known->getNextTransition(moment, false, change) ? static_cast<TimeMs>(change.getTime())
                                                              : std::numeric_limits<TimeMs>::max();
    }
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
    if (time < zone_->begin || time >= zone_->end) zone_->look(time);
    return zone_->offset;
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
