#include <gtest/gtest.h>

#include "base/UtcTime.h"
#include "server/CommandLine.h"
#include "server/FileTime.h"
#include "server/LocalDays.h"
#include "server/VideoReply.h"

namespace korvane {
namespace {

TEST(FileTime, FindsTheMomentInANameOrNone) {
    struct Row {
        const char* name;
        const char* time;
    };
    const Row rows[] = {{"20261118_070500.mp4", "2026-11-18T07:05:00.000Z"},
                        {"cam1-20261118070500-x.mkv", "2026-11-18T07:05:00.000Z"},
                        {"2026-11-18T07-05-00Z.mp4", "2026-11-18T07:05:00.000Z"},
                        {"2026.11.18 07.05.00.250.ts", "2026-11-18T07:05:00.250Z"},
                        {"door_2024-02-29_23-59-59.avi", "2024-02-29T23:59:59.000Z"},
                        {"1780000000.mp4", "2026-05-28T20:26:40.000Z"},
                        {"rec_1780000000123_1.mp4", "2026-05-28T20:26:40.123Z"},
                        {"20261399_070500_1780000000.mp4", "2026-05-28T20:26:40.000Z"},
                        {"2023-02-29T07-05-00.mp4", nullptr},
                        {"20261118_250500.mp4", nullptr},
                        {"20261118.mp4", nullptr},
                        {"0000000001.mp4", nullptr},
                        {"99999999999999999999999.mp4", nullptr},
                        {"holiday.mp4", nullptr},
                        {"", nullptr}};
    for (const Row& row : rows) {
        const auto time = timeFromFileName(row.name);
        EXPECT_EQ(time ? formatUtc(*time) : "none", row.time != nullptr ? row.time : "none") << row.name;
    }
    EXPECT_FALSE(timeFromFileName(std::string(100'000, '1')));
}

TEST(LocalDays, DaysHaveTheLengthThatClocksGiveThem) {
    struct Row {
        const char* zone;
        const char* time;
        const char* day;
        const char* next;
    };
    const Row rows[] = {{"UTC", "2026-11-18T23:59:59.999Z", "2026-11-18", "2026-11-19T00:00:00.000Z"},
                        {"America/New_York", "2026-11-01T04:30:00Z", "2026-11-01", "2026-11-02T05:00:00.000Z"},
                        {"America/New_York", "2026-03-08T05:00:00Z", "2026-03-08", "2026-03-09T04:00:00.000Z"},
                        {"Asia/Kathmandu", "2026-11-18T18:14:00Z", "2026-11-18", "2026-11-18T18:15:00.000Z"},
                        // Midnight of the 8th does not exist: the clock goes from 23:59 to 1:00.
                        {"America/Havana", "2026-03-07T12:00:00Z", "2026-03-07", "2026-03-08T05:00:00.000Z"},
                        {"Nowhere/At_All", "2026-11-18T12:00:00Z", "2026-11-18", "2026-11-19T00:00:00.000Z"}};
    for (const Row& row : rows) {
        const LocalDays days(row.zone);
        const TimeMs time = *parseUtc(row.time);
        EXPECT_EQ(days.dayOf(time), row.day) << row.zone;
        EXPECT_EQ(formatUtc(days.nextDay(time)), row.next) << row.zone;
    }
    EXPECT_TRUE(LocalDays::isKnown("Europe/Berlin"));
    EXPECT_FALSE(LocalDays::isKnown("Europe/Nowhere"));
    EXPECT_FALSE(LocalDays::isKnown(""));
}

TEST(ByteRange, AsksForAPartTheWholeOrNothing) {
    using Kind = ByteRange::Kind;
    struct Row {
        const char* header;
        std::uint64_t size;
        Kind kind;
        std::uint64_t first = 0;
        std::uint64_t last = 0;
    };
    const Row rows[] = {{"", 100, Kind::Whole},
                        {"items=0-1", 100, Kind::Whole},
                        {"bytes=0-1,5-9", 100, Kind::Whole},
                        {"bytes=0-0", 100, Kind::Part, 0, 0},
                        {"bytes=10-", 100, Kind::Part, 10, 99},
                        {"bytes=10-9999", 100, Kind::Part, 10, 99},
                        {"bytes=10-99999999999999999999999", 100, Kind::Part, 10, 99},
                        {"bytes=-10", 100, Kind::Part, 90, 99},
                        {"bytes=-1000", 100, Kind::Part, 0, 99},
                        {"bytes=-0", 100, Kind::Unsatisfiable},
                        {"bytes=100-", 100, Kind::Unsatisfiable},
                        {"bytes=99999999999999999999-", 100, Kind::Unsatisfiable},
                        {"bytes=9-5", 100, Kind::Unsatisfiable},
                        {"bytes=-", 100, Kind::Unsatisfiable},
                        {"bytes=", 100, Kind::Unsatisfiable},
                        {"bytes=a-b", 100, Kind::Unsatisfiable},
                        {"bytes=1-b", 100, Kind::Unsatisfiable},
                        {"bytes=+1-2", 100, Kind::Unsatisfiable},
                        {"bytes=0-", 0, Kind::Unsatisfiable}};
    for (const Row& row : rows) {
        const ByteRange range = parseRange(row.header, row.size);
        EXPECT_EQ(range.kind, row.kind) << row.header;
        EXPECT_EQ(range.first, row.first) << row.header;
        EXPECT_EQ(range.last, row.last) << row.header;
    }
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
