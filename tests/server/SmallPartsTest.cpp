#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "korvane/base/Printable.h"
#include "korvane/base/UtcTime.h"
#include "korvane/server/CommandLine.h"
#include "korvane/server/EventList.h"
#include "korvane/server/FileTime.h"
#include "korvane/server/LocalDays.h"
#include "korvane/server/VideoReply.h"

namespace korvane {
namespace {

TEST(FileTime, FindsTheMomentInANameOrNone) {
    const std::pair<const char*, const char*> rows[] = {
        {"20261118_070500.mp4", "2026-11-18T07:05:00.000Z"},
        {"cam1-20261118070500-x.mkv", "2026-11-18T07:05:00.000Z"},
        {"2026-11-18T07-05-00Z.mp4", "2026-11-18T07:05:00.000Z"},
        {"2026.11.18 07.05.00.250.ts", "2026-11-18T07:05:00.250Z"},
        {"door_2024-02-29_23-59-59.avi", "2024-02-29T23:59:59.000Z"},
        {"1780000000.mp4", "2026-05-28T20:26:40.000Z"},
        {"rec_1780000000123_1.mp4", "2026-05-28T20:26:40.123Z"},
        {"20261399_070500_1780000000.mp4", "2026-05-28T20:26:40.000Z"},
    };
    for (const auto& [name, text] : rows) {
        const auto time = timeFromFileName(name);
        EXPECT_EQ(time ? formatUtc(*time) : "none", text) << name;
    }
    const std::vector<std::string> nameless = {"2023-02-29T07-05-00.mp4",
                                               "20261118_250500.mp4",
                                               "20261118.mp4",
                                               "0000000001.mp4",
                                               "99999999999999999999999.mp4",
                                               "holiday.mp4",
                                               "",
                                               std::string(100'000, '1')};
    for (const auto& none : nameless) EXPECT_FALSE(timeFromFileName(none)) << none.substr(0, 99);
}

TEST(LocalDays, DaysHaveTheLengthThatClocksGiveThem) {
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        {"UTC", "2026-11-18T23:59:59.999Z", "2026-11-18", "2026-11-19T00:00:00.000Z"},
        {"America/New_York", "2026-11-01T04:30:00Z", "2026-11-01", "2026-11-02T05:00:00.000Z"},
        {"America/New_York", "2026-03-08T05:00:00Z", "2026-03-08", "2026-03-09T04:00:00.000Z"},
        {"Asia/Kathmandu", "2026-11-18T18:14:00Z", "2026-11-18", "2026-11-18T18:15:00.000Z"},
        // Midnight of the 8th does not exist: the clock goes from 23:59 to 1:00.
        {"America/Havana", "2026-03-07T12:00:00Z", "2026-03-07", "2026-03-08T05:00:00.000Z"},
        {"Nowhere/At_All", "2026-11-18T12:00:00Z", "2026-11-18", "2026-11-19T00:00:00.000Z"}};
    for (const auto& [zone, time, day, next] : rows) {
        const LocalDays days(zone);
        const TimeMs moment = *parseUtc(time);
        EXPECT_EQ(days.dayOf(moment), day) << zone;
        EXPECT_EQ(formatUtc(days.nextDay(moment)), next) << zone;
    }
    EXPECT_TRUE(LocalDays::isKnown("Europe/Berlin"));
    EXPECT_FALSE(LocalDays::isKnown("Europe/Nowhere"));
    EXPECT_FALSE(LocalDays::isKnown(""));
}

TEST(ByteRange, AsksForAPartTheWholeOrNothing) {
    using Kind = ByteRange::Kind;
    const auto kindOf = [](const char* header) { return parseRange(header, 100).kind; };
    for (const char* whole : {"", "items=0-1", "bytes=0-1,5-9"}) EXPECT_EQ(kindOf(whole), Kind::Whole) << whole;
    for (const char* bad : {"bytes=-0", "bytes=100-", "bytes=99999999999999999999-", "bytes=9-5", "bytes=-",
                            "bytes=", "bytes=a-b", "bytes=1-b", "bytes=+1-2"})
        EXPECT_EQ(kindOf(bad), Kind::Unsatisfiable) << bad;
    EXPECT_EQ(parseRange("bytes=0-", 0).kind, Kind::Unsatisfiable);
    const std::tuple<const char*, std::uint64_t, std::uint64_t> parts[] = {
        {"bytes=0-0", 0, 0},       {"bytes=10-", 10, 99},
        {"bytes=10-9999", 10, 99}, {"bytes=10-99999999999999999999999", 10, 99},
        {"bytes=-10", 90, 99},     {"bytes=-1000", 0, 99}};
    for (const auto& [header, first, last] : parts) {
        const ByteRange range = parseRange(header, 100);
        EXPECT_EQ(std::tuple(range.kind, range.first, range.last), std::tuple(Kind::Part, first, last)) << header;
    }
}

TEST(Printable, ShowsWhatATerminalWouldObey) {
    const std::pair<std::string, const char*> rows[] = {
        {"J\xc3\xb6rg \xf0\x9f\x98\x80.mp4", "J\xc3\xb6rg \xf0\x9f\x98\x80.mp4"},
        {"a\x1b[2Jb\n\x7f", "a\\x1B[2Jb\\x0A\\x7F"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\xc2\x9b"
         "31m",
         "\\u009B31m"},
        {"4pm.\xe2\x80\xae"
         "exe",
         "4pm.\\u202Eexe"},
        {"\xe2\x81\xa6x\xd8\x9c", "\\u2066x\\u061C"},
        {"\xff\xc0\x9b\xe2\x80", "\\xFF\\xC0\\x9B\\xE2\\x80"},
        {"\xed\xa0\x80", "\\xED\\xA0\\x80"},
        {"\xf3\xa0\x80\x81", "\\uE0001"}};
    for (const auto& [text, shown] : rows) EXPECT_EQ(printable(text), shown);
}

TEST(EventList, TakesWhatItCanAndSaysWhatItCannot) {
    const std::string good = R"({"time":"2026-11-18T07:05:01Z","name":"bell"})";
    std::string many = "[" + good;
    for (int i = 0; i < 100'000; ++i) many += "," + good;
    const std::tuple<std::string, std::size_t, std::size_t> rows[] = {
        {"[" + good + "," + good + "]", 2, 0},
        {"[]", 0, 0},
        {"[7,[{}],null,\"x\"," + good + ",{}]", 1, 5},
        {R"([{"time":"2026-11-18T07:05:01Z","name":"a","name":["b"]}])", 0, 1},
        {R"([{"time":"2026-11-18T07:05:01Z","name":"a","o":{"name":"b","time":"x"}}])", 1, 0},
        {"[" + good, 0, 1},
        {"[" + good + "]]", 0, 1},
        {good, 0, 1},
        {"", 0, 1},
        {"[[[[[[[[[[]]]]]]]]]]", 0, 1},
        {many + "]", 0, 1}};
    for (const auto& [text, events, faults] : rows) {
        std::vector<std::string> reasons;
        EXPECT_EQ(readEventList(text, reasons).size(), events) << text.substr(0, 80);
        EXPECT_EQ(reasons.size(), faults) << text.substr(0, 80);
    }
    const std::atomic<bool> cancelled = true;
    std::vector<std::string> reasons;
    EXPECT_TRUE(readEventList(many, reasons, &cancelled).empty() && reasons.empty()) << "it is not read to its bad end";
}

TEST(CommandLine, TakesOptionsOfTheCommandOnly) {
    const std::map<std::string, std::set<std::string>> options = {{"serve", {"port", "db"}}, {"token", {"camera"}}};
    const auto line = CommandLine::parse({"serve", "--port", "80", "folder", "--db=x=y"}, options);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text("db"), "x=y");
    EXPECT_EQ(line->plain(), std::vector<std::string>{"folder"});
    EXPECT_EQ(*line->number("port", 1, 0, 65'535), 80);
    EXPECT_EQ(*line->number("absent", 5, 0, 9), 5);
    EXPECT_FALSE(line->number("port", 1, 0, 79));
    EXPECT_FALSE(line->number("db", 1, 0, 79));
    for (const std::vector<std::string>& bad :
         {std::vector<std::string>{}, {"dance"}, {"serve", "--port"}, {"token", "--port", "1"}})
        EXPECT_FALSE(CommandLine::parse(bad, options));
}

}  // namespace
}  // namespace korvane
