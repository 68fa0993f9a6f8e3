#include "tests/client/LocalService.h"

#include <gtest/gtest.h>

#include <future>
#include <limits>

#include "base/LoopScheduler.h"
#include "client/Status.h"
#include "client/http/HttpService.h"
#include "tests/support/service/ScriptedService.h"

namespace korvane::test {
namespace {

constexpr TimeMs hour = 3'600'000;
// 2026-11-18T20:00:00Z
constexpr TimeMs base = 1'795'032'000'000;

/// Recordings of ten minutes with a gap each hour, over a midnight, one within another; a few events in each.
struct Footage {
    Footage() {
        std::int64_t eventId = 0;
        for (int i = 0; i < 9; ++i) {
            const TimeMs start = base + i * hour;
            records.push_back({i + 1, start, start + hour / 6, "url", i % 3 == 0 ? "" : "jpeg"});
            for (int e = 0; e < 20; ++e) {
                const std::string name = e == 7 ? "doorbell" : "motion";
                events.push_back({++eventId, start + e * 17'011, name, e % 2 == 0 ? "jpeg" : ""});
            }
        }
        records.push_back({10, base + 6 * 60'000, base + 12 * 60'000, "url", "jpeg"});
        records.push_back({11, base + 12 * 60'000 + 1'000, base + 14 * 60'000, "url", ""});
    }

    std::vector<ScriptedRecord> records;
    std::vector<ScriptedEvent> events;
};

class LocalServiceTest : public testing::Test {
  protected:
    struct Outcome {
        Reply reply;
        std::int32_t status;
        bool operator==(const Outcome&) const = default;
    };
    using Call = std::function<void(KorvaneCamera&, ReplyCompletion)>;

    LocalServiceTest() {
        scripted.withFootage([this](ScriptedFootage& f) {
            f.camid = 1;
            f.timezone = "America/New_York";
            for (const auto& r : footage.records) f.addRecord(r);
            for (const auto& e : footage.events) f.addEvent(e);
        });
    }

    static std::shared_ptr<KorvaneCamera> look(KorvaneService& service,
                                               const std::shared_ptr<KorvaneShareConnection>& connection,
                                               std::int64_t id, std::int32_t& status) {
        std::promise<std::shared_ptr<KorvaneCamera>> found;
        service.makeCameraList(connection)
            ->getCamera(id, [&](std::shared_ptr<KorvaneCamera> camera, const std::string&, std::int32_t s) {
                status = s;
                found.set_value(std::move(camera));
            });
        return found.get_future().get();
    }

    static std::shared_ptr<KorvaneShareConnection> open(KorvaneService& service, const std::string& token) {
        std::string url, error;
        bool hasPath = false;
        std::int32_t code = 0;
        const Reply parsed = service.helpers().parseToken(token, "https", 443, url, hasPath, code, error);
        EXPECT_EQ(code, StatusSuccess) << error;
        auto connection = service.makeConnection();
        connection->setIsPathIncluded(hasPath);
        EXPECT_EQ(connection->openSync(parsed.value("token", ""), url), StatusSuccess);
        return connection;
    }

    static Outcome ask(KorvaneCamera& camera, const Call& call) {
        std::promise<Outcome> outcome;
        call(camera, [&](Reply reply, std::int32_t status) { outcome.set_value({std::move(reply), status}); });
        return outcome.get_future().get();
    }

    /// What two services that hold the same must agree on: not their addresses, and not their numbers.
    static Reply comparable(Reply reply) {
        if (!reply.is_object()) return reply;
        for (Reply& object : reply["objects"]) {
            object.erase("id");
            if (object.contains("url")) object["url"] = !object["url"].get<std::string>().empty();
            if (object.contains("thumb")) object["thumb"] = "present";
        }
        return {{"total_count", reply["meta"]["total_count"]}, {"objects", reply["objects"]}};
    }

    Footage footage;
    LocalService local{footage.records, footage.events, "America/New_York"};
    LoopScheduler scheduler;
    HttpService service{scheduler};
    ScriptedService scripted{scheduler};
};

TEST_F(LocalServiceTest, TheScriptedServiceAnswersAsTheRealOne) {
    std::int32_t status = -1;
    const auto connection = open(service, local.token());
    const auto real = look(service, connection, 1, status);
    ASSERT_TRUE(real) << status;
    const auto scriptedConnection = open(scripted, scripted.makeToken());
    const auto fake = look(scripted, scriptedConnection, 1, status);
    ASSERT_TRUE(fake);
    EXPECT_EQ(real->getID(), fake->getID());
    EXPECT_EQ(real->getTimezone(), fake->getTimezone());

    const std::pair<TimeMs, TimeMs> ranges[] = {{-1, -1},       {base, base + hour},   {base + 17'011, base + 34'022},
                                                {-1, base - 1}, {base + hour / 2, -1}, {9, 3}};
    for (const auto& [start, end] : ranges) {
        SCOPED_TRACE(std::to_string(start - base) + " to " + std::to_string(end - base));
        for (const int order : {0, 1}) {
            for (const auto& [limit, offset] : {std::pair<int, int>{100, 0}, {7, 3}, {100, 150}, {10, 9999}}) {
                for (const char* type : {"", "DOORBELL", "no such"}) {
                    const std::optional<std::string> filter = *type ? std::optional<std::string>(type) : std::nullopt;
                    const auto page = real->getEventsSync(start, end, filter, order, limit, offset);
                    ASSERT_TRUE(page);
                    EXPECT_EQ(comparable(*page),
                              comparable(*fake->getEventsSync(start, end, filter, order, limit, offset)));
                    const Call call = [&](KorvaneCamera& c, ReplyCompletion done) {
                        c.getEvents(start, end, filter, order, limit, offset, std::move(done));
                    };
                    EXPECT_EQ(ask(*real, call), (Outcome{*page, 0}));
                }
                const Call records = [&](KorvaneCamera& c, ReplyCompletion done) {
                    c.getRecords(start, end, order, limit, offset, std::move(done));
                };
                EXPECT_EQ(comparable(ask(*real, records).reply)["objects"],
                          comparable(ask(*fake, records).reply)["objects"]);
                const Call thumbnails = [&](KorvaneCamera& c, ReplyCompletion done) {
                    c.getTimelineThumbnailsFull(start, end, "recording_thumbnail", {"2", "3", "10"}, limit, offset,
                                                order, std::move(done));
                };
                EXPECT_EQ(comparable(ask(*real, thumbnails).reply)["objects"],
                          comparable(ask(*fake, thumbnails).reply)["objects"]);
            }
        }
        const Call activity = [&](KorvaneCamera& c, ReplyCompletion done) {
            c.getActivity(1, start, end, "doorbell", 0, 0, 100, 0, std::move(done));
        };
        EXPECT_EQ(ask(*real, activity), ask(*fake, activity));
    }
    const auto timeline = real->getTimelineSync(base + 1, base + 2 * hour);
    const auto expected = fake->getTimelineSync(base + 1, base + 2 * hour);
    ASSERT_TRUE(timeline);
    EXPECT_EQ(timeline->start(), base + 1);
    ASSERT_EQ(timeline->periods()->size(), expected->periods()->size());
    for (std::size_t i = 0; i < expected->periods()->size(); ++i) {
        EXPECT_EQ((*timeline->periods())[i].start(), (*expected->periods())[i].start());
        EXPECT_EQ((*timeline->periods())[i].end(), (*expected->periods())[i].end());
    }
}

TEST_F(LocalServiceTest, DaysAreThoseOfTheZoneThatIsAskedFor) {
    std::int32_t status = -1;
    const auto connection = open(service, local.token());
    const auto camera = look(service, connection, 1, status);
    ASSERT_TRUE(camera);
    const auto days = [&](const Call& call) { return ask(*camera, call).reply; };
    // The recordings go from 20:00 to 04:10 in UTC, and from 15:00 to 23:10 in New York.
    EXPECT_EQ(days([](auto& c, auto done) { c.getActivity(1, -1, -1, std::nullopt, 0, 0, 100, 0, done); }),
              Reply::array({"2026-11-18", "2026-11-19"}));
    EXPECT_EQ(days([](auto& c, auto done) { c.getActivity(1, -1, -1, std::nullopt, 0, 1, 100, 0, done); }),
              Reply::array({"2026-11-18"}));
    EXPECT_EQ(days([](auto& c, auto done) { EXPECT_EQ(c.getCalendar(0, 0, -1, -1, done), 0); }),
              Reply::array({"2026-11-18"}));
}

TEST_F(LocalServiceTest, DeletedEventsAreGone) {
    std::int32_t status = -1;
    const auto connection = open(service, local.token());
    const auto camera = look(service, connection, 1, status);
    ASSERT_TRUE(camera);
    const auto newest = camera->getEventsSync(-1, -1, std::nullopt, 0, 1, 0);
    const std::int64_t id = (*newest)["objects"][0]["id"];
    const Call remove = [id](KorvaneCamera& c, ReplyCompletion done) { c.deleteEvent(id, std::move(done)); };
    const Outcome removed = ask(*camera, remove);
    EXPECT_EQ(removed.status, StatusSuccess) << removed.reply;
    EXPECT_TRUE(removed.reply.is_string() || removed.reply.is_null());
    EXPECT_EQ(ask(*camera, remove).status, 404);
    const auto after = camera->getEventsSync(-1, -1, std::nullopt, 0, 1, 0);
    EXPECT_EQ((*after)["meta"]["total_count"], footage.events.size() - 1);
    EXPECT_NE((*after)["objects"][0]["id"], id);
}

TEST_F(LocalServiceTest, RefusalsArriveAsTheServiceGaveThem) {
    std::int32_t status = 0;
    const auto connection = open(service, local.token());
    EXPECT_EQ(look(service, connection, 2, status), nullptr);
    EXPECT_EQ(status, 403);
    const auto camera = look(service, connection, 1, status);
    ASSERT_TRUE(camera);
    connection->update("forged.bearer", "", "");
    const Outcome outcome =
        ask(*camera, [](KorvaneCamera& c, ReplyCompletion done) { c.getRecords(-1, -1, 0, 100, 0, std::move(done)); });
    EXPECT_EQ(outcome.status, 401);
    EXPECT_TRUE(outcome.reply.is_string()) << outcome.reply;
    EXPECT_EQ(look(service, connection, 1, status), nullptr);
    EXPECT_EQ(status, 401);
}

TEST_F(LocalServiceTest, AbsurdArgumentsDoNoHarm) {
    std::int32_t status = 0;
    const auto connection = open(service, local.token());
    const auto camera = look(service, connection, 1, status);
    ASSERT_TRUE(camera);
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    for (const std::int64_t value : {most, least, std::int64_t{-1}, std::int64_t{0}}) {
        for (const int order : {-1, 2})
            camera->getEventsSync(value, value, "'; DROP TABLE events;", order, value, value);
        camera->getTimelineSync(value, most);
        const Outcome deletion =
            ask(*camera, [value](KorvaneCamera& c, ReplyCompletion done) { c.deleteEvent(value, std::move(done)); });
        EXPECT_NE(deletion.status, StatusSuccess);
    }
    const auto page = camera->getEventsSync(-1, -1, std::nullopt, 0, 1, 0);
    ASSERT_TRUE(page);
    EXPECT_EQ((*page)["meta"]["total_count"], footage.events.size());
}

}  // namespace
}  // namespace korvane::test
