#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <tuple>

#include "korvane/base/Log.h"
#include "korvane/base/LoopScheduler.h"
#include "korvane/client/ExpiryMonitors.h"
#include "korvane/client/JsonReader.h"
#include "korvane/client/Status.h"
#include "korvane/client/http/HttpCamera.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/tests/client/Asking.h"
#include "korvane/tests/client/RawServer.h"
#include "korvane/tests/support/service/FewThreads.h"

namespace {

constexpr std::string_view slowName = "slow.invalid";
std::atomic<bool> namesAreSlow = false;
std::atomic<int> slowLookUps = 0;

}  // namespace

// Replaces the system's for all libraries of this program, libcurl included.
extern "C" [[gnu::visibility("default")]] int getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                                                          addrinfo** result) {
    static const auto system = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (!name || name != slowName) return system(name, service, hints, result);
    ++slowLookUps;
    namesAreSlow.wait(true);
    --slowLookUps;
    slowLookUps.notify_all();
    return EAI_NONAME;
}

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
        const auto current = [this] {
            const std::lock_guard lock(mutex);
            return script;
        }();
        return current(request);
    }

    void setScript(RawServer::Script next) {
        const std::lock_guard lock(mutex);
        script = std::move(next);
    }

    std::shared_ptr<KorvaneCamera> bind(const std::string& bearer = "bearer") { return find(7, bearer).camera; }

    /// Over its own connection; of another camera than 7 the look-up is left to the script.
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
    const std::string chunked = head + "Transfer-Encoding: chunked\r\n\r\n";
    const auto lines = [](int count, const std::string& line) {
        std::string all;
        for (int i = 0; i < count; ++i) all += line;
        return all;
    };
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    const std::string plain404 = "The service answered with status 404.";
    const std::tuple<const char*, std::string, std::int32_t, std::optional<Reply>> cases[] = {
        {"an object", RawServer::ok(R"({"b":1,"a":null,"b":2})"), 0, Reply{{"b", 2}, {"a", nullptr}}},
        {"nothing, and meant so", "HTTP/1.1 204 No Content\r\n\r\n", 0, Reply()},
        {"nothing", RawServer::ok(""), StatusMalformedReply, {}},
        {"no UTF-8", RawServer::ok("\"\xff\""), StatusMalformedReply, {}},
        {"half an object", RawServer::ok(R"({"objects":[)"), StatusMalformedReply, {}},
        {"deep", RawServer::ok(nested(maxJsonDepth)), 0, *readJson(nested(maxJsonDepth))},
        {"too deep", RawServer::ok(nested(maxJsonDepth + 1)), StatusMalformedReply, {}},
        {"brackets in a string", RawServer::ok("\"\\\"" + nested(99) + "\""), 0, "\"" + nested(99)},
        {"a body cut short", head + "Content-Length: 100\r\n\r\n{}", StatusMalformedReply, {}},
        {"a chunk cut short", chunked + "20\r\n{}", StatusMalformedReply, {}},
        {"chunks with little in them",
         chunked + "2;" + std::string(200'000, 'x') + "\r\n{}\r\n0\r\n\r\n",
         StatusReplyTooLarge,
         {}},
        {"trailers",
         chunked + "9000\r\n{}" + std::string(0x9000 - 2, ' ') + "\r\n0\r\n" + lines(50'000, "a:\r\n") + "\r\n",
         StatusReplyTooLarge,
         {}},
        {"one trailer in parts",
         chunked + "9000\r\n{}" + std::string(0x9000 - 2, ' ') + "\r\n0\r\na:" + lines(20'000, " longer\r\n") + "\r\n",
         StatusReplyTooLarge,
         {}},
        {"no HTTP", "garbage\r\n\r\n", StatusMalformedReply, {}},
        {"announced too large", head + "Content-Length: 999999999999\r\n\r\n{", StatusReplyTooLarge, {}},
        {"too large", head + "\r\n" + std::string(100'001, ' '), StatusReplyTooLarge, {}},
        {"hung up", "", StatusTransportFailed, {}},
        {"a redirection",
         "HTTP/1.1 302 Found\r\nLocation: /v1\r\nContent-Length: 0\r\n\r\n",
         StatusUnexpectedReply,
         {}},
        {"forged", RawServer::ok(R"({"error":{"code":401,"message":"No."}})", "401 Unauthorized"), 401, "No."},
        {"unknown", RawServer::ok("<html>", "404 Not Found"), 404, plain404},
        {"an odd error", RawServer::ok(R"({"error":["message"]})", "404 Oops"), 404, plain404},
    };
    const auto camera = bind();
    ASSERT_TRUE(camera);
    for (const auto& [what, bytes, status, reply] : cases) {
        SCOPED_TRACE(what);
        setScript([&](const std::string&) { return Answer{bytes}; });
        const auto [told, toldStatus] = askEvents(*camera).get();
        EXPECT_EQ(toldStatus, status) << told;
        EXPECT_TRUE(reply ? told == *reply : told.is_string() && !told.empty()) << told;
        EXPECT_EQ(camera->getEventsSync(-1, -1, std::nullopt, 0, 100, 0).has_value(), status == 0);
    }
}

TEST_F(HttpClientTest, AServiceNamesAddressesOfTheWebAlone) {
    const std::vector<std::string> good = {"http://h/a.jpg", "HTTPS://h:8080?t=seCret", "http://u:p@[::1]/a b.mp4#t=1"};
    const std::vector<std::string> bad = {"",
                                          "file:///etc/passwd?seCret",
                                          "/etc/passwd",
                                          "//h/a.jpg",
                                          "data:image/png;base64,AA",
                                          ":/a.png",
                                          "concat:http://h/a|/etc/passwd",
                                          "ftp://h/a",
                                          "http:///etc/passwd",
                                          "\tfile:///a",
                                          "http://h\n/a",
                                          "http://h\\@g/",
                                          std::string("http://h\0/", 10),
                                          "httpss://h/a"};
    Reply sent{{"urls", "file:///a"}, {"objects", Reply::array()}};
    Reply expected = sent;
    const auto add = [&](const Reply& address, const Reply& left) {
        for (const auto& [text, to] : {std::pair(&address, &sent), std::pair(&left, &expected)}) {
            (*to)["objects"].push_back({{"id", 1}, {"URL", *text}, {"thumb_url", *text}, {"thumb", {{"url", *text}}}});
        }
    };
    for (const std::string& address : good) add(address, address);
    for (const std::string& address : bad) add(address, nullptr);
    add(Reply::array({"file:///a"}), nullptr);
    std::vector<std::string> lines;
    LogSink former = setLogSink([&](std::string_view line) {
        const std::lock_guard lock(mutex);
        lines.emplace_back(line);
    });
    const auto camera = bind();
    setScript([&](const std::string&) { return Answer{RawServer::ok(sent.dump())}; });
    EXPECT_EQ(camera->getEventsSync(-1, -1, std::nullopt, 0, 100, 0), expected);
    setLogSink(std::move(former));
    ASSERT_EQ(lines.size(), 1U) << "one a reply";
    EXPECT_EQ(lines[0].find("seCret"), std::string::npos);
}

TEST_F(HttpClientTest, SilenceAndRefusalAreToldApart) {
    setScript([](const std::string&) { return std::nullopt; });
    options.totalTimeout = std::chrono::milliseconds(60);
    EXPECT_EQ(find(8).status, StatusTimedOut);
    server.stop();
    EXPECT_EQ(find(8).status, StatusTransportFailed);
}

TEST_F(HttpClientTest, OpeningTellsWhatCannotBe) {
    service = std::make_unique<HttpService>(scheduler, options);
    EXPECT_EQ(service->makeConnection()->openSync("b", "http://h"), StatusSuccess);
    for (const char* url : {"", "ftp://h", "http://", "http://u:p@h", "http://h/?a=b", "h", "http://h\r\n.evil"})
        EXPECT_EQ(service->makeConnection()->openSync("b", url), StatusBadCall) << url;
    for (const char* bearer : {"", "b\r\nX: y", "b c"})
        EXPECT_EQ(service->makeConnection()->openSync(bearer, "http://h"), StatusBadCall) << bearer;
    const auto look = [&](const auto& over, std::int64_t id) { return lookUp(*service, over, id).status; };
    EXPECT_NE(lookUp(*service, nullptr, 7).error, "");
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

TEST_F(HttpClientTest, WhatIsUnderWayIsBrokenOff) {
    for (const std::string_view by : {"close", "cancel", "end of the service"}) {
        SCOPED_TRACE(by);
        setScript([by](const std::string& request) {
            const bool isSilent = by != "cancel" || request.find("/records?") != std::string::npos;
            return isSilent ? std::nullopt : std::optional(Answer{RawServer::ok("{}"), true});
        });
        const auto camera = bind();
        std::atomic<int> closed = 0;
        std::promise<void> all;
        for (int i = 0; i < 20; ++i) {
            camera->getRecords(-1, -1, 0, 1, i, [&](const Reply&, std::int32_t status) {
                if (status == StatusClosed && ++closed == 20) all.set_value();
            });
        }
        auto deletion = ask([&](ReplyCompletion done) { camera->deleteEvent(9, std::move(done)); });
        if (by == "cancel") {
            connection->cancelRequests();
            EXPECT_EQ(deletion.get().status, StatusSuccess) << "which may have reached the service";
            EXPECT_EQ(askEvents(*camera).get().status, StatusSuccess) << "over the same connection";
        } else {
            auto sync = std::async(std::launch::async, [&] { return camera->getTimelineSync(0, 1); });
            by == "close" ? connection->close() : service.reset();
            EXPECT_EQ(sync.get(), nullptr);
            EXPECT_EQ(deletion.get().status, StatusClosed);
            const auto fail = [](const Reply&, std::int32_t) { FAIL(); };
            EXPECT_EQ(camera->getCalendar(0, 0, -1, -1, fail), by == "close" ? StatusClosed : StatusSuccess);
        }
        all.get_future().wait();
    }
}

TEST_F(HttpClientTest, SyncCallsOfOneCameraAreBrokenOffAlone) {
    std::atomic<bool> isSilent = true;
    setScript([&](const std::string& request) {
        const bool answers = !isSilent && request.find("/timeline?") != std::string::npos;
        return answers ? std::optional(Answer{RawServer::ok(R"({"periods":[]})"), true}) : std::nullopt;
    });
    const auto camera = bind();
    const auto twin = lookUp(*service, connection, 7).camera;
    std::atomic<int> ended = 0;
    const auto hang = [&](const auto& of) {
        return std::async(std::launch::async, [&ended, of] {
            const auto timeline = of->getTimelineSync(0, 1);
            ++ended;
            return timeline;
        });
    };
    const std::size_t before = server.requests().size();
    camera->getRecords(-1, -1, 0, 1, 0, [&](const Reply&, std::int32_t) { ++ended; });
    auto other = hang(twin);
    while (server.requests().size() < before + 2) std::this_thread::yield();
    // One server is given four requests at a time: the last of these waits for its turn.
    std::future<std::shared_ptr<Timeline>> broken[] = {hang(camera), hang(camera), hang(camera)};
    // Again and again, since nothing tells when a call has been handed to the network.
    while (ended < 3) {
        camera->cancelSyncRequests();
        std::this_thread::yield();
    }
    for (auto& call : broken) EXPECT_EQ(call.get(), nullptr);
    isSilent = false;
    EXPECT_NE(camera->getTimelineSync(0, 1), nullptr) << "begun afterwards, over the same connection";
    EXPECT_EQ(ended, 3) << "the twin's call and the records are still under way";
    service.reset();
}

TEST_F(HttpClientTest, ANameThatDoesNotResolveHoldsNobodyUp) {
    const auto askSlow = [&] {
        auto slow = service->makeConnection();
        slow->openSync("b", "http://" + std::string(slowName));
        return slow;
    };
    namesAreSlow = true;
    options.connectTimeout = std::chrono::milliseconds(50);
    service = std::make_unique<HttpService>(scheduler, options);
    EXPECT_EQ(lookUp(*service, askSlow(), 7).status, StatusTimedOut);

    options.connectTimeout = options.totalTimeout;
    const auto camera = bind();
    const auto slow = askSlow();
    std::atomic<int> closed = 0;
    for (int i = 0; i < 20; ++i) {
        service->makeCameraList(slow)->getCamera(
            7, [&](const auto&, const auto&, std::int32_t status) { closed += status == StatusClosed; });
    }
    EXPECT_EQ(askEvents(*camera).get().status, StatusSuccess);
    EXPECT_EQ(closed, 0);
    service.reset();
    EXPECT_EQ(closed, 20);
    namesAreSlow = false;
    namesAreSlow.notify_all();
    for (int left = 0; (left = slowLookUps) > 0;) slowLookUps.wait(left);
}

TEST_F(HttpClientTest, WithoutAThreadCallsFailInsteadOfWaiting) {
    FewThreads threads;
    const auto engine = std::make_shared<HttpSession::Engine>(threads, options);
    const auto session = std::make_shared<HttpSession>(engine);
    session->open("b", server.url());
    HttpCamera camera(session, 7, "");
    EXPECT_EQ(camera.getTimelineSync(0, 1), nullptr);
    EXPECT_EQ(askEvents(camera).get().status, StatusTransportFailed);
    ExpiryMonitors monitors(threads);
    EXPECT_EQ(monitors.start({[](std::int64_t) {}, {}, {}, 0}), 0u);
    threads.left = 9;
    EXPECT_EQ(askEvents(camera).get().status, StatusSuccess);
    engine->transport.end();
    engine->callbacks.end();
}

TEST_F(HttpClientTest, ManyAtOnceCompleteOnceEach) {
    const auto camera = bind();
    constexpr int threads = 4, each = 50;
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

TEST_F(HttpClientTest, NoTokenIsLogged) {
    std::string log;
    LogSink former = setLogSink([&](std::string_view line) {
        const std::lock_guard lock(mutex);
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

TEST_F(HttpClientTest, WhatACallNamesIsEscaped) {
    const auto camera = bind();
    camera->getEventsSync(1, 2, "a b&c=\xC3\xA4\r\n", 1, 3, 4);
    const std::string line = "/events?start=1&end=2&order=1&limit=3&offset=4&type=a%20b%26c%3D%C3%A4%0D%0A ";
    EXPECT_NE(server.requests().back().find(line), std::string::npos);
}

TEST_F(HttpClientTest, TimelinesAreAscendingWhateverComes) {
    const auto camera = bind();
    const auto odd = RawServer::ok(R"({"periods":[[30,40],[10,32],[7,5],[1],[1,2,3],"x",null,[1.5,2],[50,50]]})");
    setScript([&](const std::string&) { return Answer{odd}; });
    const auto timeline = camera->getTimelineSync(5, 90);
    ASSERT_TRUE(timeline);
    std::vector<TimeMs> found;
    for (const TimelinePair& p : *timeline->periods()) found.insert(found.end(), {p.start(), p.end()});
    EXPECT_EQ(found, (std::vector<TimeMs>{10, 40, 50, 50}));
}

TEST_F(HttpClientTest, ACameraHasTheNameOfAZoneOrNone) {
    for (const std::string& zone : {std::string("Asia/Tokyo"), std::string(5000, 'x')}) {
        setScript([&](const std::string&) { return Answer{RawServer::ok(R"({"timezone":")" + zone + "\"}")}; });
        EXPECT_EQ(find(8).camera->getTimezone(), zone.size() < 100 ? zone : "");
    }
}

TEST_F(HttpClientTest, AnUpdateReachesCamerasThatExist) {
    const auto camera = bind();
    connection->update("newer", "", server.url() + "/own/path/");
    askEvents(*camera).get();
    const std::string request = server.requests().back();
    EXPECT_TRUE(request.starts_with("GET /own/path/cameras/7/events?")) << request;
    EXPECT_NE(request.find("Bearer newer\r\n"), std::string::npos) << request;
}

}  // namespace
}  // namespace korvane::test
