#include "base/UtcTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

namespace korvane {
namespace {

constexpr TimeMs day = 86'400'000;

TEST(UtcTime, FormatsAndReadsBack) {
    const struct {
        TimeMs time;
        const char* text;
    } cases[] = {
        {0, "1970-01-01T00:00:00.000Z"},
        {-1, "1969-12-31T23:59:59.999Z"},
        {1'773'039'901'250, "2026-03-09T07:05:01.250Z"},
        {951'782'400'000, "2000-02-29T00:00:00.000Z"},
        {951'782'400'000 + day, "2000-03-01T00:00:00.000Z"},
        {4'107'542'400'000 - 1, "2100-02-28T23:59:59.999Z"},
        {4'107'542'400'000, "2100-03-01T00:00:00.000Z"},
        {-2'203'891'200'000, "1900-03-01T00:00:00.000Z"},
        {-62'167'219'200'000, "0000-01-01T00:00:00.000Z"},
        {253'402'300'799'999, "9999-12-31T23:59:59.999Z"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatUtc(c.time), c.text);
        EXPECT_EQ(parseUtc(c.text), c.time) << c.text;
    }
    EXPECT_EQ(formatUtc(std::numeric_limits<TimeMs>::max()), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(formatUtc(std::numeric_limits<TimeMs>::min()), "0000-01-01T00:00:00.000Z");
}

TEST(UtcTime, ReadsEveryForm) {
    constexpr TimeMs second = 1'773'039'901'000;
    const struct {
        const char* text;
        TimeMs time;
    } cases[] = {
        {"2026-03-09T07:05:01", second},
        {"2026-03-09 07:05:01", second},
        {"2026-03-09T07:05:01Z", second},
        {"2026-03-09T07:05:01.2", second + 200},
        {"2026-03-09T07:05:01.2567Z", second + 256},
        {"2026-03-09T07:05:01.00000000000000000009", second},
        {"2026-03-09T07:05:01+00:00", second},
        {"2026-03-09T07:05:01-00:00", second},
        {"2026-03-09T09:35:01+02:30", second},
        {"2026-03-09T05:05:01-0200", second},
        {"2026-03-09T08:05:01.5+01", second + 500},
        {"2026-03-10T06:04:01+22:59", second},
        {"20260309T070501", second},
        {"20260309T070501.250", second + 250},
        {"20260309T070501.25Z", second + 250},
        {"2024-02-29T00:00:00Z", 1'709'164'800'000},
    };
    for (const auto& c : cases) EXPECT_EQ(parseUtc(c.text), c.time) << c.text;
}

TEST(UtcTime, RefusesTheRest) {
    const char* const cases[] = {
        "",
        "2026",
        "2026-03-09",
        "2026-03-09T07:05",
        "2026-02-29T00:00:00",
        "1900-02-29T00:00:00",
        "2026-04-31T00:00:00",
        "2026-00-01T00:00:00",
        "2026-13-01T00:00:00",
        "2026-01-00T00:00:00",
        "2026-01-01T24:00:00",
        "2026-01-01T00:60:00",
        "2026-01-01T00:00:60",
        "2026-01-01T00:00:00.",
        "2026-01-01T00:00:00.Z",
        "2026-01-01T00:00:00,5",
        "2026-01-01T00:00:00z",
        "2026-01-01T00:00:00ZZ",
        "2026-01-01T00:00:00+",
        "2026-01-01T00:00:00+1",
        "2026-01-01T00:00:00+24:00",
        "2026-01-01T00:00:00+01:60",
        "2026-01-01T00:00:00+01:",
        "2026-0101T00:00:00",
        "20260101T00:00:00",
        "2026-01-01T000000",
        "2026-01-01X00:00:00",
        " 2026-01-01T00:00:00",
        "2026-01-01T00:00:00 ",
        "-2026-01-01T00:00:00",
        "+2026-01-01T00:00:00",
        "2026-1-1T0:0:0",
        "99999999999999999999",
        "\xff\xfe",
    };
    for (const char* text : cases) EXPECT_EQ(parseUtc(text), std::nullopt) << text;
    EXPECT_EQ(parseUtc(std::string_view("2026-01-01T00:00:00\0", 20)), std::nullopt);
}

TEST(UtcTime, NamesTheZoneOfTheEnvironment) {
    const char* const before = std::getenv("TZ");
    const std::string kept = before ? before : "";
    const struct {
        const char* value;
        const char* zone;
    } cases[] = {
        {"Europe/Berlin", "Europe/Berlin"},
        {":America/New_York", "America/New_York"},
        {"/usr/share/zoneinfo/Asia/Tokyo", "Asia/Tokyo"},
        {"UTC", "UTC"},
    };
    for (const auto& c : cases) {
        setenv("TZ", c.value, 1);
        EXPECT_EQ(localTimeZoneName(), c.zone);
    }
    for (const char* nameless : {"", "CET-1CEST,M3.5.0,M10.5.0/3", "../../etc/passwd", "/etc/passwd"}) {
        setenv("TZ", nameless, 1);
        EXPECT_NE(localTimeZoneName(), nameless);
        EXPECT_FALSE(localTimeZoneName().empty());
    }
    before ? setenv("TZ", kept.c_str(), 1) : unsetenv("TZ");
}

}  // namespace
}  // namespace korvane
