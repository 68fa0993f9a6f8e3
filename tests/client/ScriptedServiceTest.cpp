#include "tests/support/service/ScriptedService.h"

#include <gtest/gtest.h>

#include "base/VirtualScheduler.h"
#include "client/Status.h"

namespace korvane::test {
namespace {

class ScriptedServiceTest : public testing::Test {
  protected:
    std::shared_ptr<KorvaneCamera> bind() {
        connection = service.makeConnection();
        connection->openSync("bearer", "http://127.0.0.1:1");
        std::shared_ptr<KorvaneCamera> found;
        service.makeCameraList(connection)
            ->getCamera(
                7, [&](std::shared_ptr<KorvaneCamera> camera, const std::string&, std::int32_t) { found = camera; });
        scheduler.runUntilIdle();
        return found;
    }

    ReplyCompletion note(std::string name) {
        return [this, name](const Reply&, std::int32_t status) { arrivals.push_back(name + std::to_string(status)); };
    }

    VirtualScheduler scheduler;
    ScriptedService service{scheduler};
    std::shared_ptr<KorvaneShareConnection> connection;
    std::vector<std::string> arrivals;
};

TEST_F(ScriptedServiceTest, AnswersComeInTheOrderThatTheScriptSays) {
    service.addEvents(250, scheduler.utcNow());
    const auto camera = bind();
    ASSERT_TRUE(camera);
    service.scriptNext("getEvents", Script::held());
    service.scriptNext("getEvents", Script::held());
    service.scriptNext("getEvents", Script::late(std::chrono::milliseconds(50)));
    service.scriptNext("getEvents", Script::failed(503));
    for (const char* name : {"a", "b", "c", "d"}) camera->getEvents(-1, -1, std::nullopt, 0, 100, 0, note(name));
    EXPECT_TRUE(arrivals.empty());
    scheduler.runUntilIdle();
    service.releaseAllReversed();
    scheduler.advance(std::chrono::milliseconds(50));
    EXPECT_EQ(arrivals, (std::vector<std::string>{"d503", "b0", "a0", "c0"}));
    EXPECT_EQ(service.count("getEvents"), 4u);
}

TEST_F(ScriptedServiceTest, ClosingEndsWhatWaits) {
    const auto camera = bind();
    service.scriptAll("getRecords", Script::held());
    camera->getRecords(-1, -1, 0, 100, 0, note("a"));
    connection->close();
    camera->getRecords(-1, -1, 0, 100, 0, note("b"));
    scheduler.runUntilIdle();
    const std::string closed = std::to_string(StatusClosed);
    EXPECT_EQ(arrivals, (std::vector<std::string>{"a" + closed, "b" + closed}));
    EXPECT_FALSE(camera->getEventsSync(-1, -1, std::nullopt, 0, 100, 0));
    EXPECT_EQ(service.openConnections(), 0);
}

TEST_F(ScriptedServiceTest, PagesHoldWhatTheirRangeAsksFor) {
    service.addEvents(250, 10'000'000);
    service.withFootage([](ScriptedFootage& f) { f.addEvent({900, 9'000'001, "doorbell", ""}); });
    const auto camera = bind();
    struct Case {
        TimeMs start, end;
        std::optional<std::string> filter;
        int order;
        std::int64_t limit, offset, total, firstId;
        std::size_t length;
    };
    const Case cases[] = {
        {-1, -1, std::nullopt, 0, 100, 0, 251, 250, 100},    {-1, -1, std::nullopt, 1, 100, 200, 251, 201, 51},
        {-1, -1, "DoorBell", 0, 100, 0, 1, 900, 1},          {9'970'000, 10'000'000, "motion", 1, 1, 1, 2, 250, 1},
        {-1, 9'000'001, std::nullopt, 0, 5, 0, 217, 900, 5},
    };
    for (const Case& c : cases) {
        const auto reply = camera->getEventsSync(c.start, c.end, c.filter, c.order, c.limit, c.offset);
        ASSERT_TRUE(reply);
        EXPECT_EQ((*reply)["meta"]["total_count"], c.total);
        ASSERT_EQ((*reply)["objects"].size(), c.length);
        EXPECT_EQ((*reply)["objects"][0]["id"], c.firstId);
    }
}

TEST_F(ScriptedServiceTest, ItsTokensAreRealOnes) {
    std::string url, error;
    bool hasPath = true;
    std::int32_t code = 1;
    const Reply token = service.helpers().parseToken(service.makeToken(), "https", 443, url, hasPath, code, error);
    EXPECT_EQ(token["camid"], 7);
    EXPECT_EQ(code, StatusSuccess) << error;
    EXPECT_EQ(url, "http://127.0.0.1:1");
    EXPECT_FALSE(hasPath);
}

}  // namespace
}  // namespace korvane::test
