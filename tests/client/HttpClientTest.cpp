#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "base/Log.h"
#include "base/LoopScheduler.h"
#include "client/JsonReader.h"
#include "client/Status.h"
#include "client/http/HttpService.h"
#include "tests/client/Asking.h"
#include "tests/client/RawServer.h"

namespace korvane::test {
namespace {

using Answer = RawServer::Answer;

const std::string cameraReply = R"({"id":7,"name":"Yard","timezone":"Europe/Berlin"})";

/// A client of a server that answers the camera look-up, and anything else by `script`.
class HttpClientTest : public testing::Test {
  protected:
    HttpClientTest() {
        options.totalTimeout = std::chrono::milliseconds(20'000);
        options.maxReplyBytes = 100'000;
    }

    std::optional<Answer> answer(const std::string& request) {
        if (request.starts_with("GET /v1/cameras/7 ")) return Answer{RawServer::ok(cameraReply), true};
        RawServer::Script current;
        {
            const std::lock_guard lock(mutex);
            current = script;
        }
        return current(request);
    }

    void setScript(RawServer::Script next) {
        const std::lock_guard lock(mutex);
        script = std::move(next);
    }

    std::shared_ptr<KorvaneCamera> bind(const std::string& bearer = "bearer") { return find(7, bearer).camera; }

    /// Over a connection of its own; of another camera than 7 the look-up is left to the script.
    LookUp find(std::int64_t id, const std::string& bearer = "bearer") {
        service = std::make_unique<HttpService>(scheduler, options);
        connection = service->makeConnection();
        EXPECT_EQ(connection->openSync(bearer, server.url()), StatusSuccess);
        return lookUp(*service, connection, id);
    }

    LoopScheduler scheduler;
    HttpOptions options;
    std::mutex mutex;
    RawServer::Script script = [](const std::string&) { return Answer{RawServer::ok("{}"), true}; };
    RawServer server{[this](const std::string& request) { return answer(request); }};
    std::unique_ptr<HttpService> service;
    std::shared_ptr<KorvaneShareConnection> connection;
};

TEST_F(HttpClientTest, RepliesOfAllKinds) {
    const std::string head = "HTTP/1.1 200 OK\r\n";
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    const struct {
        const char* what;
        std::string bytes;
        std::int32_t status;
        // What the reply must be; nothing: any text.
        std::optional<Reply> reply;
    } cases[] = {
        {"an object", RawServer::ok(R"({"b":1,"a":null,"b":2})"), 0, Reply{{"b", 2}, {"a", nullptr}}},
        {"an array", RawServer::ok("[1]"), 0, Reply::array({1})},
        {"a number", RawServer::ok("7"), 0, 7},
        {"nothing, and meant so", "HTTP/1.1 204 No Content\r\n\r\n", 0, Reply()},
        {"nothing", RawServer::ok(""), StatusMalformedReply, {}},
        {"no JSON", RawServer::ok("hello"), StatusMalformedReply, {}},
        {"a web page", RawServer::ok("<!DOCTYPE html><html></html>"), StatusMalformedReply, {}},
        {"no UTF-8", RawServer::ok("\"\xff\""), StatusMalformedReply, {}},
        {"half an object", RawServer::ok(R"({"objects":[)"), StatusMalformedReply, {}},
        {"deep", RawServer::ok(nested(maxJsonDepth)), 0, *readJson(nested(maxJsonDepth))},
        {"too deep", RawServer::ok(nested(maxJsonDepth + 1)), StatusMalformedReply, {}},
        {"brackets in a string", RawServer::ok("\"\\\"" + nested(99) + "\""), 0, "\"" + nested(99)},
        {"a body cut short", head + "Content-Length: 100\r\n\r\n{}", StatusMalformedReply, {}},
        {"a chunk cut short", head + "Transfer-Encoding: chunked\r\n\r\n20\r\n{}", StatusMalformedReply, {}},
        {"no HTTP", "garbage\r\n\r\n", StatusMalformedReply, {}},
        {"announced too large", head + "Content-Length: 999999999999\r\n\r\n{", StatusReplyTooLarge, {}},
        {"too large", head + "\r\n" + std::string(100'001, ' '), StatusReplyTooLarge, {}},
        {"hung up", "", StatusTransportFailed, {}},
        {"a redirection",
         "HTTP/1.1 302 Found\r\nLocation: /v1/cameras/7\r\nContent-Length: 0\r\n\r\n",
         StatusUnexpectedReply,
         {}},
        {"forged", RawServer::ok(R"({"error":{"code":401,"message":"No."}})", "401 Unauthorized"), 401, "No."},
        {"another's", RawServer::ok(R"({"error":{"code":403,"message":"Not yours."}})", "403 Forbidden"), 403,
         "Not yours."},
        {"unknown", RawServer::ok("<html>", "404 Not Found"), 404, "The service answered with status 404."},
        {"an odd error", RawServer::ok(R"({"error":["message"]})", "500 Oops"), 500,
         "The service answered with status 500."},
    };
    const auto camera = bind();
    ASSERT_TRUE(camera);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        setScript([&](const std::string&) { return Answer{c.bytes}; });
        const Outcome outcome = askEvents(*camera).get();
        EXPECT_EQ(outcome.status, c.status) << outcome.reply;
        if (c.reply) {
            EXPECT_EQ(outcome.reply, *c.reply);
        } else {
            EXPECT_TRUE(outcome.reply.is_string() && !outcome.reply.empty());
        }
        const auto sync = camera->getEventsSync(-1, -1, std::nullopt, 0, 100, 0);
        EXPECT_EQ(sync.has_value(), c.status == 0);
    }
}

TEST_F(HttpClientTest, EachCallHasItsRequest) {
    const auto camera = bind("abc.DEF-_~");
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->getTimezone(), "Europe/Berlin");
    const struct {
        std::string line;
        std::function<void(ReplyCompletion)> call;
        std::string body = "{}";
        Reply reply = Reply::object();
    } cases[] = {
        {"GET /v1/cameras/7/events?start=-1&end=5&order=0&limit=100&offset=200",
         [&](auto done) { camera->getEvents(-1, 5, std::nullopt, 0, 100, 200, done); }},
        {"GET /v1/cameras/7/events?start=1&end=2&order=1&limit=3&offset=4&type=a%20b%26c%3D%C3%A4%0D%0A",
         [&](auto done) { camera->getEvents(1, 2, "a b&c=\xC3\xA4\r\n", 1, 3, 4, done); }},
        {"GET /v1/cameras/7/records?start=1&end=2&order=1&limit=3&offset=4",
         [&](auto done) { camera->getRecords(1, 2, 1, 3, 4, done); }},
        {"GET "
         "/v1/cameras/7/"
         "thumbnails?start=1&end=2&order=0&limit=3&offset=4&origin=recording_thumbnail&origin_ids=1,2%2C,3",
         [&](auto done) {
             camera->getTimelineThumbnailsFull(1, 2, "recording_thumbnail", {"1", "2,", "3"}, 3, 4, 0, done);
         }},
        {"GET /v1/cameras/7/activity?start=1&end=2&events=motion&boundstime=0&daysincamtz=1&limit=3&offset=4",
         [&](auto done) { camera->getActivity(1, 1, 2, "motion", 0, 1, 3, 4, done); }, R"(["2026-11-18"])",
         Reply::array({"2026-11-18"})},
        {"GET /v1/cameras/7/calendar?start=0&end=0&limit=-1&offset=-1",
         [&](auto done) { EXPECT_EQ(camera->getCalendar(0, 0, -1, -1, done), StatusSuccess); }},
        {"DELETE /v1/cameras/7/events/9", [&](auto done) { camera->deleteEvent(9, done); }, R"({"message":"Gone."})",
         "Gone."},
        {"DELETE /v1/cameras/7/events/9", [&](auto done) { camera->deleteEvent(9, done); }, R"({"message":7})",
         Reply()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        setScript([&](const std::string&) { return Answer{RawServer::ok(c.body), true}; });
        const Outcome outcome = ask(c.call).get();
        EXPECT_EQ(outcome.status, StatusSuccess);
        EXPECT_EQ(outcome.reply, c.reply);
        const std::string request = server.requests().back();
        EXPECT_EQ(request.substr(0, request.find(" HTTP")), c.line);
        EXPECT_NE(request.find("\r\nAuthorization: Bearer abc.DEF-_~\r\n"), std::string::npos);
    }
    EXPECT_EQ(server.connections(), 1) << "the connection is kept alive";
}

TEST_F(HttpClientTest, TimelinesAreAscendingWhateverComes) {
    const struct {
        const char* body;
        std::optional<std::vector<std::pair<int, int>>> periods;
    } cases[] = {
        {R"({"start":1,"end":2,"periods":[[10,20],[30,40]]})", {{{10, 20}, {30, 40}}}},
        {R"({"periods":[]})", {{}}},
        {R"({"periods":[[30,40],[10,32],[7,5],[1],[1,2,3],"x",null,[1.5,2],[50,50]]})", {{{10, 40}, {50, 50}}}},
        {R"({"periods":{"a":[1,2]}})", {}},
        {R"([])", {}},
        {R"(cut)", {}},
    };
    const auto camera = bind();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        setScript([&](const std::string&) { return Answer{RawServer::ok(c.body), true}; });
        const auto timeline = camera->getTimelineSync(5, 90);
        ASSERT_EQ(timeline != nullptr, c.periods.has_value());
        if (!timeline) continue;
        EXPECT_EQ(timeline->start(), 5);
        EXPECT_EQ(timeline->end(), 90);
        std::vector<std::pair<int, int>> periods;
        for (const TimelinePair& p : *timeline->periods()) periods.emplace_back(p.start(), p.end());
        EXPECT_EQ(periods, *c.periods);
    }
}

TEST_F(HttpClientTest, SilenceAndRefusalAreToldApart) {
    setScript([](const std::string&) { return std::nullopt; });
    options.totalTimeout = std::chrono::milliseconds(60);
    EXPECT_EQ(find(8).status, StatusTimedOut);
    server.stop();
    options.totalTimeout = std::chrono::milliseconds(20'000);
    EXPECT_EQ(find(8).status, StatusTransportFailed);
}

TEST_F(HttpClientTest, ACameraHasTheNameOfAZoneOrNone) {
    const struct {
        std::string body;
        std::int32_t status;
        Reply zone;
    } cases[] = {
        {R"({"timezone":"Asia/Tokyo"})", StatusSuccess, "Asia/Tokyo"},
        {"{}", StatusSuccess, ""},
        {R"({"timezone":5})", StatusSuccess, ""},
        {R"({"timezone":")" + std::string(5000, 'x') + "\"}", StatusSuccess, ""},
        {"[]", StatusUnexpectedReply, nullptr},
    };
    for (const auto& c : cases) {
        setScript([&](const std::string&) { return Answer{RawServer::ok(c.body)}; });
        const LookUp found = find(8);
        EXPECT_EQ(found.status, c.status) << c.body;
        EXPECT_EQ(found.camera ? Reply(found.camera->getTimezone()) : Reply(), c.zone) << c.body;
    }
}

TEST_F(HttpClientTest, OpeningTellsWhatCannotBe) {
    service = std::make_unique<HttpService>(scheduler, options);
    const struct {
        std::string bearer, url;
        std::int32_t status;
    } cases[] = {
        {"b", "http://h", StatusSuccess},
        {"b", "", StatusBadCall},
        {"b", "ftp://h", StatusBadCall},
        {"b", "http://", StatusBadCall},
        {"b", "http://u:p@h", StatusBadCall},
        {"b", "http://h/?a=b", StatusBadCall},
        {"b", "h", StatusBadCall},
        {"", "http://h", StatusBadCall},
        {"b\r\nX: y", "http://h", StatusBadCall},
        {"b c", "http://h", StatusBadCall},
        {"b", "http://h\r\n.evil", StatusBadCall},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(service->makeConnection()->openSync(c.bearer, c.url), c.status) << c.bearer << " " << c.url;
    }
    const auto look = [&](const std::shared_ptr<KorvaneShareConnection>& over, std::int64_t id) {
        const auto [camera, error, status] = lookUp(*service, over, id);
        EXPECT_EQ(camera, nullptr);
        EXPECT_FALSE(error.empty());
        return status;
    };
    const auto open = service->makeConnection();
    EXPECT_EQ(look(nullptr, 7), StatusBadCall);
    EXPECT_EQ(look(open, 7), StatusBadCall);
    open->openSync("b", server.url());
    EXPECT_EQ(look(open, -1), StatusBadCall);
    open->close();
    EXPECT_EQ(look(open, 7), StatusClosed);
    EXPECT_EQ(open->openSync("b", server.url()), StatusClosed);
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(HttpClientTest, AnUpdateReachesCamerasThatExist) {
    const auto camera = bind();
    connection->update("newer", "", server.url() + "/own/path/");
    connection->setIsPathIncluded(true);
    askEvents(*camera).get();
    std::string request = server.requests().back();
    EXPECT_TRUE(request.starts_with("GET /own/path/cameras/7/events?")) << request;
    EXPECT_NE(request.find("Bearer newer\r\n"), std::string::npos);

    connection->update("bad\r\nHeader: x", "", server.url());
    askEvents(*camera).get();
    EXPECT_EQ(server.requests().back(), request);
}

TEST_F(HttpClientTest, ClosingEndsWhatIsUnderWay) {
    std::promise<void> asked;
    std::atomic<int> count = 0;
    setScript([&](const std::string&) {
        if (++count == 3) asked.set_value();
        return std::nullopt;
    });
    const auto camera = bind();
    auto first = askEvents(*camera);
    auto second = askEvents(*camera);
    auto sync = std::async(std::launch::async, [&] { return camera->getTimelineSync(0, 1); });
    asked.get_future().wait();
    connection->close();
    EXPECT_EQ(first.get().status, StatusClosed);
    EXPECT_EQ(second.get().status, StatusClosed);
    EXPECT_EQ(sync.get(), nullptr);
    EXPECT_EQ(askEvents(*camera).get().status, StatusClosed);
    EXPECT_EQ(camera->getCalendar(0, 0, -1, -1, [](const Reply&, std::int32_t) { FAIL(); }), StatusClosed);
    EXPECT_EQ(count, 3);
}

TEST_F(HttpClientTest, ManyAtOnceCompleteOnceEach) {
    const auto camera = bind();
    constexpr int threads = 4;
    constexpr int each = 50;
    std::vector<std::atomic<int>> completed(threads * each);
    std::atomic<int> left = threads * each;
    std::promise<void> all;
    setScript([](const std::string& request) {
        // Gives the offset back.
        const auto begin = request.find("offset=") + 7;
        return Answer{RawServer::ok(request.substr(begin, request.find(' ', begin) - begin)), true};
    });
    std::vector<std::thread> callers;
    for (int t = 0; t < threads; ++t) {
        callers.emplace_back([&, t] {
            for (int i = t * each; i < (t + 1) * each; ++i) {
                camera->getEvents(-1, -1, std::nullopt, 0, 100, i, [&, i](const Reply& reply, std::int32_t) {
                    if (reply == i) ++completed[static_cast<std::size_t>(i)];
                    if (--left == 0) all.set_value();
                });
                const auto sync = i % 10 == 0 ? camera->getEventsSync(-1, -1, std::nullopt, 0, 100, i) : Reply(i);
                EXPECT_EQ(sync, Reply(i));
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    all.get_future().wait();
    for (const auto& count : completed) EXPECT_EQ(count, 1);
    EXPECT_LE(server.connections(), 4);
}

TEST_F(HttpClientTest, ACompletionMayDoAnything) {
    auto camera = bind();
    const auto caller = std::this_thread::get_id();
    camera->getEvents(-1, -1, std::nullopt, 0, 1, 0,
                      [](const Reply&, std::int32_t) { throw std::runtime_error("a host's own trouble"); });
    std::promise<void> done;
    camera->getEvents(-1, -1, std::nullopt, 0, 1, 0, [&](const Reply&, std::int32_t) {
        EXPECT_NE(std::this_thread::get_id(), caller);
        EXPECT_TRUE(camera->getEventsSync(-1, -1, std::nullopt, 0, 1, 0));
        connection->close();
        connection.reset();
        camera.reset();
        service.reset();
        done.set_value();
    });
    done.get_future().wait();
    EXPECT_EQ(service, nullptr);
}

TEST_F(HttpClientTest, TheServiceEndsWithWhatIsUnderWay) {
    setScript([](const std::string&) { return std::nullopt; });
    const auto camera = bind();
    std::atomic<int> closed = 0;
    std::atomic<int> others = 0;
    for (int i = 0; i < 20; ++i) {
        camera->getRecords(-1, -1, 0, 1, i,
                           [&](const Reply&, std::int32_t status) { ++(status == StatusClosed ? closed : others); });
    }
    auto sync = std::async(std::launch::async, [&] { return camera->getTimelineSync(0, 1); });
    service.reset();
    EXPECT_EQ(closed, 20);
    EXPECT_EQ(sync.get(), nullptr);
    camera->getRecords(-1, -1, 0, 1, 0, [&](const Reply&, std::int32_t) { ++others; });
    connection->close();
    EXPECT_EQ(others, 0);
}

TEST_F(HttpClientTest, NoTokenIsLogged) {
    std::mutex logMutex;
    std::string log;
    LogSink former = setLogSink([&](std::string_view line) {
        const std::lock_guard lock(logMutex);
        log += std::string(line) + "\n";
    });
    KSDK_LogLevel = 9;
    const auto camera = bind("seCret");
    askEvents(*camera).get();
    setScript([](const std::string&) { return Answer{RawServer::ok("seCret")}; });
    askEvents(*camera).get();
    connection->update("seCret 2", "", server.url() + "?access=seCret");
    service->makeConnection()->openSync("seCret", "http://h?access=seCret");
    service.reset();
    KSDK_LogLevel = 0;
    setLogSink(std::move(former));
    EXPECT_NE(log.find("/cameras/7/events status: 0"), std::string::npos) << log;
    EXPECT_EQ(log.find("seCret"), std::string::npos) << log;
}

}  // namespace
}  // namespace korvane::test
