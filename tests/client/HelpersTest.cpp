#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <vector>

#include "base/UtcTime.h"
#include "base/VirtualScheduler.h"
#include "client/IcuHelpers.h"
#include "client/JsonReader.h"

namespace korvane::test {
namespace {

class HelpersTest : public testing::Test {
  protected:
    VirtualScheduler scheduler;
    IcuHelpers helpers{scheduler};
};

TEST_F(HelpersTest, TimesAreWrittenInTheirZone) {
    const struct {
        const char* utc;
        const char* pattern;
        const char* zone;
        const char* text;
    } cases[] = {
        {"2026-11-18T07:05:01Z", "hh:mma", "UTC", "07:05AM"},
        {"2026-11-18T12:00:00Z", "hh:mma", "UTC", "12:00PM"},
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
        for (const auto& c : cases) {
            const TimeMs time = helpers.parseUTCtime(c.utc);
            EXPECT_EQ(helpers.formatTime(time, c.pattern, c.zone), c.text) << c.utc << " " << c.zone;
            EXPECT_EQ(helpers.formatTime_AMPM(time, c.pattern, c.zone), c.text) << c.utc << " " << c.zone;
        }
    }
}

TEST_F(HelpersTest, DatesAreReadWhole) {
    const struct {
        const char* text;
        const char* pattern;
        const char* zone;
        const char* utc;
    } cases[] = {
        {"2026-11-18", "yyyy-MM-dd", "UTC", "2026-11-18T00:00:00.000Z"},
        {"2024-02-29", "yyyy-MM-dd", "UTC", "2024-02-29T00:00:00.000Z"},
        {"2026-07-01", "yyyy-MM-dd", "America/New_York", "2026-07-01T04:00:00.000Z"},
        {"2026-11-18 07:05PM", "yyyy-MM-dd hh:mma", "UTC", "2026-11-18T19:05:00.000Z"},
        {"2024-02-30", "yyyy-MM-dd", "UTC", nullptr},
        {"2023-02-29", "yyyy-MM-dd", "UTC", nullptr},
        {"2026-13-01", "yyyy-MM-dd", "UTC", nullptr},
        {"2026-11-18x", "yyyy-MM-dd", "UTC", nullptr},
        {"2026-11", "yyyy-MM-dd", "UTC", nullptr},
        {"", "yyyy-MM-dd", "UTC", nullptr},
        {"\xff\xfe", "yyyy-MM-dd", "UTC", nullptr},
        {"2026-11-18", "", "UTC", nullptr},
        {"2026-11-18", "jnnn", "UTC", nullptr},
    };
    for (const auto& c : cases) {
        const auto date = helpers.convertTimeIntoDate(c.text, c.pattern, c.zone);
        EXPECT_EQ(date ? formatUtc(*date) : "nothing", c.utc ? c.utc : "nothing") << c.text;
    }
}

TEST_F(HelpersTest, ServiceTimesAndTheClock) {
    EXPECT_EQ(helpers.parseUTCtime("no time"), -1);
    EXPECT_EQ(helpers.formatTimeWithSSS(helpers.parseUTCtime("2026-03-09T07:05:01.25Z")), "2026-03-09T07:05:01.250Z");
    EXPECT_EQ(helpers.formatTime(helpers.parseUTCtime("2026-03-09T07:05:01.999Z")), "2026-03-09T07:05:01Z");
    EXPECT_EQ(helpers.currentTimestampUTC(), scheduler.utcNow());
    for (const TimeMs time : {std::numeric_limits<TimeMs>::min(), std::numeric_limits<TimeMs>::max()}) {
        EXPECT_FALSE(helpers.formatTime(time, "yyyy-MM-dd", "UTC").empty());
    }
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
    const auto repeated = [](std::size_t count, const auto& part) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) text += (i > 0 ? "," : "") + part(i);
        return text;
    };
    const auto object = [&](std::size_t members) {
        return "{" + repeated(members, [](std::size_t i) { return "\"k" + std::to_string(i) + "\":1"; }) + "}";
    };
    const auto zeros = [&](std::size_t count) {
        return "[" + repeated(count, [](std::size_t) { return std::string("0"); }) + "]";
    };
    constexpr std::size_t members = maxJsonMembers;
    constexpr std::size_t parts = maxJsonParts;
    EXPECT_TRUE(readJson(object(members)));
    EXPECT_TRUE(readJson("[" + object(members) + "," + object(members) + "]")) << "each object counts for itself";
    EXPECT_FALSE(readJson(object(members + 1)));
    EXPECT_TRUE(readJson("\"" + std::string(parts + 1, ',') + std::string(members + 1, ':') + "\""));
    EXPECT_TRUE(readJson(zeros(parts)));
    EXPECT_FALSE(readJson(zeros(parts + 1)));
}

TEST(Reply, MembersAreFoundByTheirSpellingOrInAnyCase) {
    const Reply object = *readJson(R"({"ID":1,"id":2,"Time":"t","dup":1,"dup":2})");
    EXPECT_EQ(*findMember(object, "id"), 2);
    EXPECT_EQ(*findMemberAnyCase(object, "id"), 1);
    EXPECT_EQ(findMember(object, "time"), nullptr);
    EXPECT_EQ(*findMemberAnyCase(object, "time"), "t");
    EXPECT_EQ(*findMember(object, "dup"), 2);
    EXPECT_EQ(findMemberAnyCase(Reply::array({1}), "id"), nullptr);
    std::string order;
    forEachMember(object, [&](std::string_view key, const Reply&) { order += std::string(key) + " "; });
    EXPECT_EQ(order, "ID id Time dup ");
    forEachMember(Reply(7), [&](std::string_view, const Reply&) { FAIL(); });
}

}  // namespace
}  // namespace korvane::test
