#include <algorithm>
#include <charconv>

#include "korvane/client/IcuHelpers.h"
#include "korvane/fuzz/Law.h"
#include "korvane/fuzz/StepScheduler.h"
#include "korvane/server/LocalDays.h"

using namespace korvane;
using fuzz::require;

namespace {

constexpr TimeMs latest = 253'402'300'799'999;
constexpr const char* exact = "yyyy-MM-dd HH:mm:ss.SSS";

TimeMs numberOf(std::string_view text) {
    TimeMs number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

// Lines: a moment, a zone, a pattern, a text to read by it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::StepScheduler scheduler;
    static const IcuHelpers helpers(scheduler);
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const TimeMs time = numberOf(fuzz::takeLine(rest));
    const std::string zone(fuzz::takeLine(rest));
    const std::string pattern(fuzz::takeLine(rest));
    helpers.formatTime(time, pattern, zone);
    helpers.convertTimeIntoDate(std::string(rest), pattern, zone);
    if (!helpers.isKnownTimezone(zone) || time < 0 || time > latest) return 0;

    // Not the moment itself: of an hour that comes twice, the first is read.
    const std::string written = helpers.formatTime(time, exact, zone);
    const auto read = helpers.convertTimeIntoDate(written, exact, zone);
    require(read && helpers.formatTime(*read, exact, zone) == written, "a date that was written reads the same");

    const LocalDays days(zone);
    const TimeMs next = days.nextDay(time);
    require(next > time && days.dayOf(next) != days.dayOf(time), "the next day is another");
    require(days.dayOf(next - 1) == days.dayOf(time), "between a moment and the next day lies no other");
    return 0;
}
