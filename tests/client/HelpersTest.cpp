#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <tuple>
#include <vector>

#include "korvane/base/UtcTime.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/client/JsonReader.h"

namespace korvane::test {
namespace {

class HelpersTest : public testing::Test {
  protected:
    VirtualScheduler scheduler;
    IcuHelpers helpers{scheduler};
};

TEST_F(HelpersTest, TimesAreWrittenInTheirZone) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"2026-11-18T00:00:59Z", "hh:mma", "UTC", "12:00AM"},
        {"2026-11-18T07:05:01Z", "hh:mma", "Asia/Kathmandu", "12:50PM"},
        // The clock in New York goes from 1:59 to 3:00, and later from 1:59 back to 1:00.
        {"2026-03-08T06:59:59Z", "hh:mma", "America/New_York", "01:59AM"},
        {"2026-03-08T07:00:00Z", "hh:mma", "America/New_York", "03:00AM"},
        {"2026-11-01T05:30:00Z", "hh:mma z", "America/New_York", "01:30AM EDT"},
        {"2026-11-01T06:30:00Z", "hh:mma z", "America/New_York", "01:30AM EST"},
        {"2026-11-18T23:30:00Z", "yyyy-MM-dd", "Europe/Berlin", "2026-11-19"},
        {"2026-11-18T23:30:00Z", "yyyy-MM-dd HH:mm:ss", "No/Such_Zone", "2026-11-18 23:30:00"},
        {"2026-11-18T23:30:00Z", "yyyy-MM-dd HH:mm", "", "2026-11-18 23:30"},
        {"2026-11-18T23:30:00Z", "EEE d MMM 'at' H'h'", "UTC", "Wed 18 Nov at 23h"},
        {"2026-11-18T23:30:00Z", "", "UTC", ""},
        {"2026-11-18T23:30:00Z", "jnnn", "UTC", ""},
    };
    for (int round = 0; round < 2; ++round) {
        for (const auto& [utc, pattern, zone, text] : cases) {
            const TimeMs time = helpers.parseUTCtime(utc);
            EXPECT_EQ(helpers.formatTime(time, pattern, zone), text) << utc << " " << zone;
            EXPECT_EQ(helpers.formatTime_AMPM(time, pattern, zone), text) << utc << " " << zone;
        }
    }
}

TEST_F(HelpersTest, DatesAreReadWhole) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"2024-02-29", "yyyy-MM-dd", "UTC", "2024-02-29T00:00:00.000Z"},
        {"2026-07-01", "yyyy-MM-dd", "America/New_York", "2026-07-01T04:00:00.000Z"},
        {"2026-11-18 07:05PM", "yyyy-MM-dd hh:mma", "UTC", "2026-11-18T19:05:00.000Z"},
        // Clocks that go from 23:59 to 1:00, and a day that Samoa passed over; midnight twice in Havana.
        {"2018-11-04", "yyyy-MM-dd", "America/Sao_Paulo", "2018-11-04T03:00:00.000Z"},
        {"2018-11-04 00:30", "yyyy-MM-dd HH:mm", "America/Sao_Paulo", "2018-11-04T03:00:00.000Z"},
        {"2011-12-30", "yyyy-MM-dd", "Pacific/Apia", "2011-12-30T10:00:00.000Z"},
        {"2026-11-01", "yyyy-MM-dd", "America/Havana", "2026-11-01T04:00:00.000Z"},
        {"2018-02-29", "yyyy-MM-dd", "America/Sao_Paulo", nullptr},
        {"2026-11-18", "", "UTC", nullptr},
        {"2026-11-18", "jnnn", "UTC", nullptr},
    };
    for (const auto& [text, pattern, zone, utc] : cases) {
        const auto date = helpers.convertTimeIntoDate(text, pattern, zone);
        EXPECT_EQ(date ? formatUtc(*date) : "nothing", utc ? utc : "nothing") << text;
    }
    for (const char* text : {"2024-02-30", "2026-11-18x", "2026-11", "", "\xff\xfe"})
        EXPECT_FALSE(helpers.convertTimeIntoDate(text, "yyyy-MM-dd", "UTC")) << text;
}

TEST_F(HelpersTest, ZonesServiceTimesAndTheClock) {
    for (const char* known : {"UTC", "Etc/UTC", "GMT", "Asia/Kathmandu", "GMT+05:30"})
        EXPECT_TRUE(helpers.isKnownTimezone(known)) << known;
    for (const char* unknown : {"", "No/Such_Zone", "Etc/Unknown", "utc\n", "\xff"})
        EXPECT_FALSE(helpers.isKnownTimezone(unknown)) << unknown;
    EXPECT_EQ(helpers.parseUTCtime("no time"), -1);
    EXPECT_EQ(helpers.formatTimeWithSSS(helpers.parseUTCtime("2026-03-09T07:05:01.25Z")), "2026-03-09T07:05:01.250Z");
    EXPECT_EQ(helpers.formatTime(helpers.parseUTCtime("2026-03-09T07:05:01.999Z")), "2026-03-09T07:05:01Z");
    EXPECT_EQ(helpers.currentTimestampUTC(), scheduler.utcNow());
    for (const TimeMs time : {std::numeric_limits<TimeMs>::min(), std::numeric_limits<TimeMs>::max()})
        EXPECT_FALSE(helpers.formatTime(time, "yyyy-MM-dd", "UTC").empty());
}

TEST_F(HelpersTest, ManyThreadsMayFormatAtOnce) {
    std::vector<int> wrong(4, 0);
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < wrong.size(); ++t) {
        threads.emplace_back([&, t] {
            // More patterns than are kept.
            for (int i = 0; i < 200; ++i) {
                const std::string quoted = "'" + std::to_string(i) + "'HH:mm";
                const std::string text = helpers.formatTime(TimeMs(t) * 60'000, quoted, "UTC");
                wrong[t] += text != std::to_string(i) + "00:0" + std::to_string(t);
            }
        });
    }
    threads.clear();
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST(JsonReader, RefusesWhatWouldCostTooMuch) {
    const auto object = [](std::size_t members) {
        Reply made;
        for (std::size_t i = 0; i < members; ++i) made["k" + std::to_string(i)] = 1;
        return made.dump();
    };
    const auto zeros = [](std::size_t count) { return Reply(std::vector<int>(count)).dump(); };
    EXPECT_TRUE(readJson("[" + object(maxJsonMembers) + "," + object(maxJsonMembers) + "]")) << "each for itself";
    EXPECT_FALSE(readJson(object(maxJsonMembers + 1)));
    EXPECT_TRUE(readJson("\"" + std::string(maxJsonParts + 1, ',') + std::string(maxJsonMembers + 1, ':') + "\""));
    EXPECT_TRUE(readJson(zeros(maxJsonParts)));
    EXPECT_FALSE(readJson(zeros(maxJsonParts + 1)));
}

}  // namespace
}  // namespace korvane::test
