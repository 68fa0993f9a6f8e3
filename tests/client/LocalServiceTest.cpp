#include <array>

#include "korvane/base/LoopScheduler.h"
#include "korvane/client/Status.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/client/Asking.h"
#include "korvane/tests/server/TempFolder.h"
#include "korvane/tests/support/service/ScriptedService.h"

namespace korvane::test {
namespace {

constexpr TimeMs hour = 3'600'000;
// 2026-11-18T20:00:00Z
constexpr TimeMs base = 1'795'032'000'000;
constexpr const char* zone = "America/New_York";

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

/// The real service on a free loopback port, and the scripted one, both with the same footage.
class LocalServiceTest : public testing::Test {
  protected:
    using Call = std::function<void(KorvaneCamera&, ReplyCompletion)>;

    LocalServiceTest() {
        scripted.withFootage([this](ScriptedFootage& f) {
            f.camid = 1;
            f.timezone = zone;
            for (const auto& r : footage.records) f.addRecord(r);
            for (const auto& e : footage.events) f.addEvent(e);
        });
    }

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(store());
        ASSERT_TRUE(server.start());
        connection = open(service, *server.issueToken(1, std::chrono::hours(1)));
        ASSERT_TRUE(camera = lookUp(service, connection, 1).camera);
    }

    void store() {
        const auto storage = Storage::open(folder / "camera.db");
        ASSERT_TRUE(storage);
        const auto stored = (*storage)->cameraForFolder(folder.path(), "Yard", zone);
        ASSERT_TRUE(stored);
        for (const ScriptedRecord& record : footage.records) {
            std::vector<NewEvent> own;
            for (const ScriptedEvent& e : footage.events) {
                if (e.time >= record.start && e.time <= record.end) own.push_back({e.time, e.name, e.thumbUrl});
            }
            const SourceFile source{std::to_string(record.id) + ".mp4", 1, 1, ""};
            const NewRecord stretch{record.start, record.end, record.thumbUrl};
            ASSERT_FALSE((*storage)->storeRecording(stored->id, source, stretch, own));
        }
    }

    static std::shared_ptr<KorvaneShareConnection> open(KorvaneService& service, const std::string& token) {
        std::string url, error;
        bool hasPath = false;
        std::int32_t code = 0;
        const Reply parsed = service.helpers()->parseToken(token, "https", 443, url, hasPath, code, error);
        EXPECT_EQ(code, StatusSuccess) << error;
        auto connection = service.makeConnection();
        connection->setIsPathIncluded(hasPath);
        EXPECT_EQ(connection->openSync(parsed.value("token", ""), url), StatusSuccess);
        return connection;
    }

    static Outcome answer(KorvaneCamera& of, const Call& call) {
        return ask([&](ReplyCompletion done) { call(of, std::move(done)); }).get();
    }

    /// The parts of a reply that do not depend on the service's address and numbering.
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
    TempFolder folder;
    CameraServer server{folder / "camera.db"};
    LoopScheduler scheduler;
    HttpService service{scheduler};
    ScriptedService scripted{scheduler};
    std::shared_ptr<KorvaneShareConnection> connection;
    std::shared_ptr<KorvaneCamera> camera;
};

TEST_F(LocalServiceTest, TheScriptedServiceAnswersAsTheRealOne) {
    const auto scriptedConnection = open(scripted, scripted.makeToken());
    const auto fake = lookUp(scripted, scriptedConnection, 1).camera;
    ASSERT_TRUE(fake);
    EXPECT_EQ(camera->getID(), fake->getID());
    EXPECT_EQ(camera->getTimezone(), fake->getTimezone());
    const auto objects = [](auto& c, const Call& call) { return comparable(answer(c, call).reply)["objects"]; };
    const auto expectSame = [&](const Call& call) { EXPECT_EQ(objects(*camera, call), objects(*fake, call)); };

    const std::pair<TimeMs, TimeMs> ranges[] = {{-1, -1},       {base, base + hour},   {base + 17'011, base + 34'022},
                                                {-1, base - 1}, {base + hour / 2, -1}, {9, 3}};
    const std::array<int, 3> pages[] = {{0, 100, 0}, {0, 7, 3}, {0, 100, 150}, {0, 10, 9999},
                                        {1, 100, 0}, {1, 7, 3}, {1, 100, 150}, {1, 10, 9999}};
    for (const auto& [start, end] : ranges) {
        SCOPED_TRACE(std::to_string(start - base) + " to " + std::to_string(end - base));
        for (const auto& [order, limit, offset] : pages) {
            for (const auto& filter : std::vector<std::optional<std::string>>{{}, "DOORBELL", "no such"}) {
                const auto page = camera->getEventsSync(start, end, filter, order, limit, offset);
                ASSERT_TRUE(page);
                EXPECT_EQ(comparable(*page),
                          comparable(*fake->getEventsSync(start, end, filter, order, limit, offset)));
                const Call events = [&](auto& c, auto done) {
                    c.getEvents(start, end, filter, order, limit, offset, done);
                };
                EXPECT_EQ(answer(*camera, events), (Outcome{*page, 0}));
            }
            expectSame([&](auto& c, auto done) { c.getRecords(start, end, order, limit, offset, done); });
            expectSame([&](auto& c, auto done) {
                c.getTimelineThumbnailsFull(start, end, "recording_thumbnail", {"2", "3", "10"}, limit, offset, order,
                                            done);
            });
        }
        const Call activity = [&](auto& c, auto done) { c.getActivity(1, start, end, "doorbell", 0, 0, 100, 0, done); };
        EXPECT_EQ(answer(*camera, activity), answer(*fake, activity));
    }
    const auto periods = [](KorvaneCamera& c) {
        std::vector<TimeMs> bounds;
        const auto timeline = c.getTimelineSync(base + 1, base + 2 * hour + 60'000);
        for (const TimelinePair& p : *timeline->periods()) bounds.insert(bounds.end(), {p.start(), p.end()});
        return bounds;
    };
    EXPECT_EQ(periods(*camera), periods(*fake));

    connection->close();
    scriptedConnection->close();
    const Call records = [](auto& c, auto done) { c.getRecords(-1, -1, 0, 9, 0, done); };
    EXPECT_EQ(answer(*camera, records).status, answer(*fake, records).status);
    EXPECT_EQ(scripted.openConnections(), 0);
}

TEST_F(LocalServiceTest, DaysAreThoseOfTheZoneThatIsAskedFor) {
    // The recordings go from 20:00 to 04:10 in UTC, and from 15:00 to 23:10 in New York.
    const std::pair<Call, Reply> cases[] = {
        {[](auto& c, auto done) { c.getActivity(1, -1, -1, {}, 0, 0, 100, 0, done); }, {"2026-11-18", "2026-11-19"}},
        {[](auto& c, auto done) { c.getActivity(1, -1, -1, {}, 0, 1, 100, 0, done); }, Reply::array({"2026-11-18"})},
        {[](auto& c, auto done) { c.getCalendar(0, 0, -1, -1, done); }, Reply::array({"2026-11-18"})}};
    for (const auto& [call, days] : cases) EXPECT_EQ(answer(*camera, call).reply, days);
}

}  // namespace
}  // namespace korvane::test
