#include "korvane/base/UtcTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace korvane {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::milliseconds;
using std::chrono::sys_days;
using std::chrono::sys_time;

constexpr sys_time<milliseconds> earliest = sys_days(std::chrono::year(0) / 1 / 1);
constexpr sys_time<milliseconds> latest = sys_days(std::chrono::year(9999) / 12 / 31) + days(1) - milliseconds(1);

// Takes what it knows from the front of a text.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool atEnd() const { return rest_.empty(); }

    bool skip(char c) {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::optional<int> digit() {
        if (rest_.empty() || rest_.front() < '0' || rest_.front() > '9') return std::nullopt;
        const int value = rest_.front() - '0';
        rest_.remove_prefix(1);
        return value;
    }

    // A number of exactly `digits` digits that is not above `most`; a miss makes the whole scan fail.
    int number(int digits, int most) {
        int value = 0;
        for (int i = 0; i < digits; ++i) {
            const auto next = digit();
            if (!next) return fail();
            value = value * 10 + *next;
        }
        return value <= most ? value : fail();
    }

    void expect(bool found) {
        if (!found) fail();
    }

    int fail() {
        failed_ = true;
        return 0;
    }

    bool failed() const { return failed_; }

  private:
    std::string_view rest_;
    bool failed_ = false;
};

milliseconds scanFraction(Scanner& scanner) {
    if (!scanner.skip('.')) return milliseconds(0);
    int value = 0;
    int digits = 0;
    for (auto next = scanner.digit(); next; next = scanner.digit(), ++digits) {
        if (digits < 3) value = value * 10 + *next;
    }
    scanner.expect(digits > 0);
    for (; digits < 3; ++digits) value *= 10;
    return milliseconds(value);
}

// East of Greenwich counts as positive.
std::chrono::minutes scanOffset(Scanner& scanner) {
    if (scanner.atEnd() || scanner.skip('Z')) return {};
    const bool west = scanner.skip('-');
    if (!west) scanner.expect(scanner.skip('+'));
    const std::chrono::hours hours(scanner.number(2, 23));
    const bool colon = scanner.skip(':');
    const std::chrono::minutes minutes(colon || !scanner.atEnd() ? scanner.number(2, 59) : 0);
    return west ? -(hours + minutes) : hours + minutes;
}

bool looksLikeZone(const std::string& name) {
    if (name.empty() || name.front() == '/' || name.find("..") != std::string::npos) return false;
    const bool plain = std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' || c == '_' ||
               c == '-' || c == '+';
    });
    if (!plain) return false;
    std::error_code ignored;
    return name.find('/') != std::string::npos || name == "UTC" || name == "GMT" ||
           std::filesystem::is_regular_file("/usr/share/zoneinfo/" + name, ignored);
}

// "/usr/share/zoneinfo/Europe/Berlin" names "Europe/Berlin".
std::string zoneOfPath(const std::string& path) {
    static constexpr std::string_view folder = "zoneinfo/";
    const auto at = path.rfind(folder);
    return at == std::string::npos ? std::string() : path.substr(at + folder.size());
}

std::string zoneOfEnvironment() {
    const char* value = std::getenv("TZ");
    std::string name = value ? value : "";
    if (name.starts_with(':')) name.erase(0, 1);
    return name.starts_with('/') ? zoneOfPath(name) : name;
}

std::string zoneOfLink() {
    std::error_code error;
    const auto target = std::filesystem::read_symlink("/etc/localtime", error);
    return error ? std::string() : zoneOfPath(target.string());
}

std::string zoneOfFile() {
    std::ifstream file("/etc/timezone");
    std::string name;
    file >> name;
    return name;
}

}  // namespace

std::string formatUtc(TimeMs time) {
    const TimeMs cut = std::clamp<TimeMs>(time, earliest.time_since_epoch().count(), latest.time_since_epoch().count());
    const sys_time<milliseconds> moment{milliseconds(cut)};
    const auto day = floor<days>(moment);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(moment - day);
    std::array<char, 80> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", int(date.year()),
                      unsigned(date.month()), unsigned(date.day()), int(clock.hours().count()),
                      int(clock.minutes().count()), int(clock.seconds().count()), int(clock.subseconds().count()));
    return std::string(text.data(), static_cast<std::size_t>(length));
}

std::optional<TimeMs> parseUtc(std::string_view text) {
    Scanner scanner(text);
    const int year = scanner.number(4, 9999);
    const bool extended = scanner.skip('-');
    const auto separate = [&](char c) { return !extended || scanner.skip(c); };
    const int month = scanner.number(2, 12);
    scanner.expect(separate('-'));
    const int day = scanner.number(2, 31);
    scanner.expect(scanner.skip('T') || scanner.skip(' '));
    const std::chrono::hours hours(scanner.number(2, 23));
    scanner.expect(separate(':'));
    const std::chrono::minutes minutes(scanner.number(2, 59));
    scanner.expect(separate(':'));
    const std::chrono::seconds seconds(scanner.number(2, 59));
    const milliseconds fraction = scanFraction(scanner);
    const std::chrono::minutes offset = scanOffset(scanner);
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(unsigned(month)),
                                           std::chrono::day(unsigned(day))};
    if (scanner.failed() || !scanner.atEnd() || !date.ok()) return std::nullopt;
    const sys_time<milliseconds> moment = sys_days(date) + hours + minutes + seconds + fraction - offset;
    return moment.time_since_epoch().count();
}

std::string localTimeZoneName() {
    for (const auto& source : {zoneOfEnvironment, zoneOfLink, zoneOfFile}) {
        if (std::string name = source(); looksLikeZone(name)) return name;
    }
    return "UTC";
}

TimeMs systemUtcNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::floor<std::chrono::milliseconds>(now).count();
}

}  // namespace korvane
