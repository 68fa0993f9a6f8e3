#include "korvane/client/IcuHelpers.h"

#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>

#include <cmath>
#include <map>
#include <mutex>
#include <utility>

#include "korvane/base/UtcTime.h"
#include "korvane/client/TokenReader.h"

namespace korvane {

/// Formatters by pattern and zone. One lock for all: a use takes about a microsecond.
class IcuHelpers::Formatters {
  public:
    std::string format(TimeMs time, const std::string& pattern, const std::string& zone) {
        const std::lock_guard lock(mutex_);
        const Entry& entry = find(pattern, zone);
        if (!entry.formatter) return {};
        UErrorCode status = U_ZERO_ERROR;
        entry.calendar->setTime(static_cast<UDate>(time), status);
        icu::UnicodeString text;
        entry.formatter->format(*entry.calendar, text, nullptr, status);
        std::string result;
        if (U_SUCCESS(status)) text.toUTF8String(result);
        return result;
    }

    std::optional<TimeMs> parse(const std::string& text, const std::string& pattern, const std::string& zone) {
        const std::lock_guard lock(mutex_);
        const Entry& entry = find(pattern, zone);
        if (!entry.formatter) return std::nullopt;
        const auto input = icu::UnicodeString::fromUTF8(text);
        if (countDigits(input) > mostDigits) return std::nullopt;
        // The zone's own calendar is lenient, to get over the gaps of its clock; UTC has none.
        if (!parse(*entry.formatter, input, *entry.utc)) return std::nullopt;
        return parse(*entry.formatter, input, *entry.calendar);
    }

  private:
    struct Entry {
        // Null when the pattern is bad.
        std::unique_ptr<icu::SimpleDateFormat> formatter;
        std::unique_ptr<icu::Calendar> calendar;
        std::unique_ptr<icu::Calendar> utc;
    };

    // More than any date has. ICU divides by zero after some more digits of a second's fraction.
    static constexpr int mostDigits = 30;

    static int countDigits(const icu::UnicodeString& text) {
        int count = 0;
        for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1))
            if (u_isdigit(text.char32At(i))) ++count;
        return count;
    }

    static std::optional<TimeMs> parse(const icu::SimpleDateFormat& formatter, const icu::UnicodeString& text,
                                       icu::Calendar& calendar) {
        calendar.clear();
        icu::ParsePosition position(0);
        formatter.parse(text, calendar, position);
        UErrorCode status = U_ZERO_ERROR;
        const UDate date = calendar.getTime(status);
        const bool isWhole =
            position.getErrorIndex() < 0 && position.getIndex() > 0 && position.getIndex() == text.length();
        if (!isWhole || U_FAILURE(status)) return std::nullopt;
        return static_cast<TimeMs>(std::llround(date));
    }

    const Entry& find(const std::string& pattern, const std::string& zone) {
        auto key = std::make_pair(pattern, zone);
        if (const auto found = entries_.find(key); found != entries_.end()) return found->second;
        constexpr std::size_t mostEntries = 64;
        if (entries_.size() >= mostEntries) entries_.clear();
        return entries_.emplace(std::move(key), make(pattern, zone)).first->second;
    }

    static Entry make(const std::string& pattern, const std::string& zoneName) {
        if (pattern.empty()) return {};
        UErrorCode status = U_ZERO_ERROR;
        const auto& locale = icu::Locale::getEnglish();
        // An unknown name gives a zone without offset.
        const std::unique_ptr<icu::TimeZone> zone(
            icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zoneName)));
        Entry entry;
        entry.calendar = std::make_unique<icu::GregorianCalendar>(*zone, locale, status);
        entry.calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
        entry.calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
        entry.utc = std::make_unique<icu::GregorianCalendar>(*icu::TimeZone::getGMT(), locale, status);
        entry.utc->setLenient(false);
        entry.formatter =
            std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern), locale, status);
        if (U_FAILURE(status)) return {};
        entry.formatter->setCalendar(*entry.calendar);
        entry.formatter->setLenient(false);
        return entry;
    }

    std::mutex mutex_;
    std::map<std::pair<std::string, std::string>, Entry> entries_;
};

IcuHelpers::IcuHelpers(Scheduler& scheduler) : scheduler_(scheduler), formatters_(std::make_unique<Formatters>()) {}

IcuHelpers::~IcuHelpers() = default;

Reply IcuHelpers::parseToken(std::string_view token, const std::string& withDefaultProtocol,
                             std::int32_t withDefaultPort, std::string& withResultSVCP, bool& withResultIsPathIncluded,
                             std::int32_t& withLastErrorCode, std::string& withLastErrorString) const {
    TokenReading reading = readToken(token, withDefaultProtocol, withDefaultPort, currentTimestampUTC());
    withResultSVCP = std::move(reading.baseUrl);
    withResultIsPathIncluded = reading.isPathIncluded;
    withLastErrorCode = reading.code;
    withLastErrorString = std::move(reading.message);
    return std::move(reading.token);
}

TimeMs IcuHelpers::currentTimestampUTC() const {
    return scheduler_.utcNow();
}

TimeMs IcuHelpers::parseUTCtime(std::string_view time) const {
    return parseUtc(time).value_or(-1);
}

std::string IcuHelpers::formatTimeWithSSS(TimeMs time) const {
    return formatUtc(time);
}

std::string IcuHelpers::formatTime(TimeMs time) const {
    constexpr std::size_t toSeconds = std::string_view("2026-03-09T07:05:01").size();
    return formatUtc(time).substr(0, toSeconds) + "Z";
}

bool IcuHelpers::isKnownTimezone(const std::string& name) const {
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
    icu::UnicodeString id;
    return zone->getID(id) != icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID);
}

std::string IcuHelpers::formatTime(TimeMs time, const std::string& withFormat, const std::string& withTimezone) const {
    return formatters_->format(time, withFormat, withTimezone);
}

std::string IcuHelpers::formatTime_AMPM(TimeMs time, const std::string& withFormat,
                                        const std::string& withTimezone) const {
    return formatters_->format(time, withFormat, withTimezone);
}

std::optional<TimeMs> IcuHelpers::convertTimeIntoDate(const std::string& time, const std::string& withFormat,
                                                      const std::string& withTimezone) const {
    return formatters_->parse(time, withFormat, withTimezone);
}

}  // namespace korvane
