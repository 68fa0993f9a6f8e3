#include "korvane/server/FileTime.h"

#include <cstdio>
#include <regex>
#include <string>

#include "korvane/base/UtcTime.h"

namespace korvane {
namespace {

constexpr TimeMs earliest = 631'152'000'000;  // 1990
constexpr TimeMs latest = 4'102'444'800'000;  // 2100
constexpr std::size_t longestName = 300;

std::optional<TimeMs> plausible(std::optional<TimeMs> time) {
    return time && *time >= earliest && *time < latest ? time : std::nullopt;
}

}  // namespace

std::optional<TimeMs> timeFromFileName(std::string_view name) {
    static const std::regex date(
        R"((?:^|[^0-9])((?:19|20)[0-9]{2})[-_.]?([0-9]{2})[-_.]?([0-9]{2})[-_. T]{0,3}([0-9]{2})[-_.:h]?([0-9]{2})[-_.:m]?([0-9]{2})(?:[.,_]([0-9]{3}))?(?![0-9]))");
    static const std::regex epoch(R"((?:^|[^0-9])([0-9]{10}|[0-9]{13})(?![0-9]))");
    if (name.size() > longestName) return std::nullopt;
    const std::string text(name);
    for (std::sregex_iterator match(text.begin(), text.end(), date), end; match != end; ++match) {
        const auto part = [&match](std::size_t group) { return (*match)[group].str(); };
        const std::string fraction = part(7).empty() ? "000" : part(7);
        const auto time = plausible(parseUtc(part(1) + "-" + part(2) + "-" + part(3) + "T" + part(4) + ":" + part(5) +
                                             ":" + part(6) + "." + fraction + "Z"));
        if (time) return time;
    }
    for (std::sregex_iterator match(text.begin(), text.end(), epoch), end; match != end; ++match) {
        const std::string digits = (*match)[1].str();
        const TimeMs number = std::stoll(digits);
        if (const auto time = plausible(digits.size() == 13 ? number : number * 1000)) return time;
    }
    return std::nullopt;
}

}  // namespace korvane
