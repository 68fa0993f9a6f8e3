#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/Base64Url.h"
#include "korvane/base/Log.h"
#include "korvane/base/UtcTime.h"

namespace korvane::test {
namespace {

TEST(Base64Url, RoundTripsAllLengthsAndRefusesTheRest) {
    std::string bytes;
    for (int i = 0; i < 260; ++i) {
        const auto decoded = decodeBase64Url(encodeBase64Url(bytes));
        ASSERT_TRUE(decoded);
        ASSERT_EQ(*decoded, bytes);
        bytes += static_cast<char>(i * 37);
    }
    EXPECT_EQ(encodeBase64Url("\xfb\xff"), "-_8");
    for (const char* bad : {"A", "AA==", "A+A/", "AAAAA", "A A", "AA\n"}) EXPECT_FALSE(decodeBase64Url(bad)) << bad;
}

class LogTest : public ::testing::Test {
  protected:
    ~LogTest() override {
        setLogSink(before);
        KSDK_LogLevel = 0;
    }

    std::vector<std::string> lines;
    const LogSink before = setLogSink([this](std::string_view line) { lines.emplace_back(line); });
};

TEST_F(LogTest, TracesFromTheirLevelOn) {
    KSDK_LogLevel = 3;
    for (const int level : {1, 3, 7}) trace(level, "View", "level ", level);
    EXPECT_EQ(lines, (std::vector<std::string>{"View: level 1", "View: level 3"}));
}

TEST_F(LogTest, ErrorsComeAtEveryLevelAndStayOnOneLine) {
    logError("Provider: fill", "broken\r\nProvider: forged");
    EXPECT_EQ(lines, std::vector<std::string>{"Provider: fill: broken  Provider: forged"});
}

TEST_F(LogTest, SinkMayLogThrowAndReplaceItself) {
    setLogSink([this](std::string_view line) {
        lines.emplace_back(line);
        setLogSink([](std::string_view) { throw std::runtime_error("full"); });
        logError("inner", "dropped");
    });
    EXPECT_NO_THROW(logError("outer", "kept"));
    EXPECT_EQ(lines, std::vector<std::string>{"outer: kept"});
}

TEST(UtcTime, FormatsAndReadsBack) {
    const std::pair<TimeMs, const char*> cases[] = {{0, "1970-01-01T00:00:00.000Z"},
                                                    {-1, "1969-12-31T23:59:59.999Z"},
                                                    {951'782'400'000, "2000-02-29T00:00:00.000Z"},
                                                    {4'107'542'400'000 - 1, "2100-02-28T23:59:59.999Z"},
                                                    {4'107'542'400'000, "2100-03-01T00:00:00.000Z"},
                                                    {-2'203'891'200'000, "1900-03-01T00:00:00.000Z"},
                                                    {-62'167'219'200'000, "0000-01-01T00:00:00.000Z"},
                                                    {253'402'300'799'999, "9999-12-31T23:59:59.999Z"}};
    for (const auto& [time, text] : cases) {
        EXPECT_EQ(formatUtc(time), text);
        EXPECT_EQ(parseUtc(text), time) << text;
    }
    EXPECT_EQ(formatUtc(std::numeric_limits<TimeMs>::max()), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(formatUtc(std::numeric_limits<TimeMs>::min()), "0000-01-01T00:00:00.000Z");
}

TEST(UtcTime, ReadsEveryForm) {
    constexpr TimeMs second = 1'773'039'901'000;
    const std::map<std::string, TimeMs> fractions = {
        {"", 0}, {".2", 200}, {".250", 250}, {".2567", 256}, {".00000000000000000009", 0}};
    const std::map<std::string, TimeMs> offsets = {{"", 0},         {"Z", 0},        {"+00:00", 0}, {"-00:00", 0},
                                                   {"+02:30", 150}, {"-0200", -120}, {"+01", 60},   {"+22:59", 1379}};
    for (const std::string date : {"2026-03-09T07:05:01", "2026-03-09 07:05:01", "20260309T070501"}) {
        for (const auto& [fraction, ms] : fractions) {
            for (const auto& [offset, minutes] : offsets) {
                EXPECT_EQ(parseUtc(date + fraction + offset), second + ms - minutes * 60'000)
                    << date + fraction + offset;
            }
        }
    }
}

TEST(UtcTime, RefusesTheRest) {
    std::istringstream cases(
        "|2026|2026-03-09|2026-03-09T07:05|2026-02-29T00:00:00|1900-02-29T00:00:00|2026-04-31T00:00:00|"
        "2026-00-01T00:00:00|2026-13-01T00:00:00|2026-01-00T00:00:00|2026-01-01T24:00:00|"
        "2026-01-01T00:60:00|2026-01-01T00:00:60|2026-01-01T00:00:00.|2026-01-01T00:00:00.Z|"
        "2026-01-01T00:00:00,5|2026-01-01T00:00:00z|2026-01-01T00:00:00ZZ|2026-01-01T00:00:00+|"
        "2026-01-01T00:00:00+1|2026-01-01T00:00:00+24:00|2026-01-01T00:00:00+01:60|2026-01-01T00:00:00+01:|"
        "2026-0101T00:00:00|20260101T00:00:00|2026-01-01T000000|2026-01-01X00:00:00| 2026-01-01T00:00:00|"
        "2026-01-01T00:00:00 |-2026-01-01T00:00:00|+2026-01-01T00:00:00|2026-1-1T0:0:0|"
        "99999999999999999999|\xff\xfe|");
    for (std::string text; std::getline(cases, text, '|');) EXPECT_EQ(parseUtc(text), std::nullopt) << text;
    EXPECT_EQ(parseUtc(std::string_view("2026-01-01T00:00:00\0", 20)), std::nullopt);
}

TEST(UtcTime, NamesTheZoneOfTheEnvironment) {
    const char* const before = std::getenv("TZ");
    const std::string kept = before ? before : "";
    for (const char* const value : {"Europe/Berlin", ":Europe/Berlin", "/usr/share/zoneinfo/Europe/Berlin"}) {
        setenv("TZ", value, 1);
        EXPECT_EQ(localTimeZoneName(), "Europe/Berlin");
    }
    for (const char* nameless : {"", "CET-1CEST,M3.5.0,M10.5.0/3", "../../etc/passwd", "/etc/passwd"}) {
        setenv("TZ", nameless, 1);
        EXPECT_NE(localTimeZoneName(), nameless);
        EXPECT_FALSE(localTimeZoneName().empty());
    }
    before ? setenv("TZ", kept.c_str(), 1) : unsetenv("TZ");
}

}  // namespace
}  // namespace korvane::test
