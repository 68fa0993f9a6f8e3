#include "korvane/server/CameraServer.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "korvane/base/Base64Url.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/Database.h"
#include "korvane/server/Storage.h"
#include "korvane/tests/server/TempFolder.h"

namespace korvane {
namespace {

using nlohmann::json;

constexpr TimeMs nowTime = 1'780'000'000'000;
constexpr TimeMs startTime = nowTime - 86'400'000;

/// A service over a data base with one recorded camera and one that has nothing.
class CameraServerTest : public testing::Test {
  protected:
    void SetUp() override {
        for (int i = 0; i < 5000; ++i) film += static_cast<char>(i * 7);
        folder.write("footage/film.mp4", film);
        auto storage = Storage::open(folder / "camera.db");
        ASSERT_TRUE(storage);
        camera = (*storage)->cameraForFolder((folder / "footage").string(), "Yard", "Europe/Berlin")->id;
        other = (*storage)->cameraForFolder("/nowhere", "Other", "UTC")->id;
        std::vector<NewEvent> events;
        for (int i = 0; i < 250; ++i)
            events.push_back({startTime + i * 1000, i % 10 == 0 ? "doorbell" : "motion", i == 0 ? "JPEG" : ""});
        ASSERT_FALSE((*storage)->storeRecording(camera, {"film.mp4", 1, 1, ""},
                                                NewRecord{startTime, startTime + 600'000, "PICTURE"}, events));
        ASSERT_FALSE((*storage)->storeRecording(camera, {"gone.mp4", 1, 1, ""},
                                                NewRecord{startTime + 700'000, startTime + 800'000, ""}, {}));
        CameraServerOptions options;
        options.now = [] { return nowTime; };
        options.patience = std::chrono::milliseconds(300);
        options.threads = 8;
        server = std::make_unique<CameraServer>(folder / "camera.db", options);
        const auto started = server->start();
        ASSERT_TRUE(started) << started.error().message;
        port = *started;
        bearer = bearerFor(camera);
    }

    std::string bearerFor(std::int64_t of, TimeSec expires = nowTime / 1000 + 60) const {
        return AccessToken::forDatabase(folder / "camera.db")->issueBearer(of, expires);
    }

    httplib::Result get(const std::string& path, httplib::Headers headers = {}) const {
        headers.emplace("Authorization", "Bearer " + bearer);
        return httplib::Client("127.0.0.1", port).Get(path, headers);
    }

    std::string root() const { return "/v1/cameras/" + std::to_string(camera); }

    json fetch(const std::string& rest) const {
        const auto reply = get(root() + rest);
        EXPECT_TRUE(reply) << rest;
        if (!reply) return {};
        EXPECT_EQ(reply->status, 200) << rest << ": " << reply->body;
        return json::parse(reply->body, nullptr, false);
    }

    /// The path and query of a URL that the service gave, which must be its own.
    std::string pathOf(const std::string& url) const {
        EXPECT_TRUE(url.starts_with(server->baseUrl() + "/")) << url;
        return url.substr(server->baseUrl().size());
    }

    /// Sends bytes and reads until the service closes.
    std::string raw(const std::string& bytes, bool closeAtOnce = false) const {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in address{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
        EXPECT_EQ(::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        std::string reply;
        std::array<char, 4096> buffer;
        for (ssize_t count = 0; !closeAtOnce && (count = ::recv(socket, buffer.data(), buffer.size(), 0)) > 0;)
            reply.append(buffer.data(), static_cast<std::size_t>(count));
        ::close(socket);
        return reply;
    }

    TempFolder folder;
    std::string film;
    std::int64_t camera = 0;
    std::int64_t other = 0;
    std::unique_ptr<CameraServer> server;
    std::uint16_t port = 0;
    std::string bearer;
};

void expectError(const httplib::Result& reply, int status, const std::string& what) {
    ASSERT_TRUE(reply) << what;
    EXPECT_EQ(reply->status, status) << what;
    const json body = json::parse(reply->body, nullptr, false);
    ASSERT_TRUE(body.is_object()) << what << ": " << reply->body;
    EXPECT_EQ(body["error"]["code"], status) << what;
    EXPECT_FALSE(body["error"]["message"].get<std::string>().empty());
}

TEST_F(CameraServerTest, LetsInWhoHoldsAValidTokenForTheCamera) {
    const std::string forged = bearer.substr(0, bearer.size() - 4) + "AAAA";
    const std::tuple<std::string, std::int64_t, int> rows[] = {
        {bearer, camera, 200},       {"", camera, 401},
        {forged, camera, 401},       {bearerFor(camera, nowTime / 1000), camera, 401},
        {bearer, other, 403},        {bearer, 9999, 403},
        {bearerFor(9999), 9999, 404}};
    httplib::Client client("127.0.0.1", port);
    for (const auto& [token, of, status] : rows) {
        const std::string path = "/v1/cameras/" + std::to_string(of);
        const auto byHeader = client.Get(path, {{"Authorization", "Bearer " + token}});
        const auto byQuery = client.Get(path + "?access=" + token);
        for (const auto* reply : {&byHeader, &byQuery}) {
            if (status == 200) {
                EXPECT_EQ((*reply)->status, 200);
            } else {
                expectError(*reply, status, token);
            }
        }
    }
    EXPECT_EQ(fetch(""), (json{{"id", camera}, {"name", "Yard"}, {"timezone", "Europe/Berlin"}}));
}

TEST_F(CameraServerTest, PagesHaveTheirLimits) {
    const json newest = fetch("/events");
    EXPECT_EQ(newest["meta"], (json{{"total_count", 250}, {"limit", 100}, {"offset", 0}}));
    EXPECT_EQ(newest["objects"].size(), 100U);
    EXPECT_EQ(fetch("/events?order=1&limit=-5&offset=-3&type=DoorBell")["objects"][0]["name"], "doorbell");
    EXPECT_EQ(fetch("/events?limit=99999999")["meta"]["limit"], 1000);
    EXPECT_EQ(fetch("/events?limit=0")["objects"], json::array());
    EXPECT_EQ(fetch("/events?offset=9223372036854775807")["objects"], json::array());

    // However many days there are, they come whole.
    const auto storage = Storage::open(folder / "camera.db");
    const auto onDay = [](std::int64_t day) { return NewEvent{day * 86'400'000, "motion", ""}; };
    ASSERT_FALSE((*storage)->addEvents(other, 1500, onDay));
    bearer = bearerFor(other);
    const auto days = get("/v1/cameras/" + std::to_string(other) + "/activity?start=0&limit=100&offset=10");
    EXPECT_EQ(json::parse(days->body).size(), 1500U);
}

TEST_F(CameraServerTest, PicturesAndFilmsComeByTheirUrls) {
    const json event = fetch("/events?order=1&limit=1")["objects"][0];
    const auto picture = get(pathOf(event["thumb"]["url"]));
    EXPECT_EQ(picture->body, "JPEG");
    EXPECT_EQ(picture->get_header_value("Content-Type"), "image/jpeg");
    EXPECT_EQ(get(pathOf(fetch("/thumbnails?order=1&limit=1")["objects"][0]["url"]))->body, "PICTURE");
    expectError(get(pathOf(fetch("/records?limit=1")["objects"][0]["url"])), 404, "file gone");
}

TEST_F(CameraServerTest, SaysWhatIsWrongWithARequest) {
    using Paths = std::vector<std::string>;
    const Paths bad = {"/events?start=yesterday", "/events?limit=1e3",           "/events?offset=99999999999999999999",
                       "/events?order=%00",       "/thumbnails?origin_ids=1,,2", "/thumbnails?origin=other",
                       "/activity?daysincamtz=x"};
    for (const auto& path : bad) expectError(get(root() + path), 400, path);
    const Paths missing = {"/nothing",
                           "/events/1/video",
                           "/records/x/video",
                           "/records/-1/video",
                           "/records/1/../../camera.db",
                           "/records/..%2f..%2fcamera.db/video",
                           "/records/1/video/../../../../camera.db",
                           "/%2e%2e/%2e%2e/etc/passwd"};
    for (const auto& path : missing) expectError(get(root() + path), 404, path);
    for (const auto& path : Paths{"/../../etc/passwd", "/%00", "/", "/" + std::string(8100, 'a')})
        expectError(get(path), 404, path.substr(0, 100));
    expectError(get("/v1/cameras/seven"), 400, "no number");
    expectError(get("/" + std::string(9000, 'a')), 414, "too long");
    httplib::Client client("127.0.0.1", port);
    expectError(client.Post(root() + "/events", {{"Authorization", "Bearer " + bearer}}, "x", "text/plain"), 405,
                "POST");
}

TEST_F(CameraServerTest, ReadersDoNotWaitForAWriterAndADeletionNotLong) {
    const std::string path =
        root() + "/events/" + std::to_string(fetch("/events?limit=1")["objects"][0]["id"].get<int>());
    const httplib::Headers headers = {{"Authorization", "Bearer " + bearer}};
    httplib::Client client("127.0.0.1", port);
    {
        Database writer((folder / "camera.db").string());
        DatabaseTransaction held(writer);
        writer.execute("DELETE FROM events");
        EXPECT_EQ(fetch("/events?limit=1")["meta"]["total_count"], 250);
        const auto refused = client.Delete(path, headers);
        expectError(refused, 503, "while another writes");
        EXPECT_EQ(refused->get_header_value("Retry-After"), "1");
    }
    {
        // A writer of the same process, which the first reader ends.
        const auto storage = std::move(*Storage::open(folder / "camera.db"));
        std::size_t seen = 0;
        ASSERT_FALSE(storage->addEvents(other, 1, [&](std::int64_t) {
            seen = storage->events(camera, {})->rows.size();
            EXPECT_TRUE(storage->deleteEvent(camera, 1).error().isBusy);
            return NewEvent{1, "motion", ""};
        }));
        EXPECT_EQ(seen, 100U);
    }
    EXPECT_EQ(client.Delete(path, headers)->status, 200);
}

TEST_F(CameraServerTest, ServesParts) {
    const std::string path = pathOf(fetch("/records?order=1")["objects"][0]["url"]);
    for (const auto& [range, first, told] :
         {std::tuple("bytes=0-0", 0, "bytes 0-0/5000"), {"bytes=4990-9999", 4990, "bytes 4990-4999/5000"}}) {
        const auto reply = get(path, {{"Range", range}});
        ASSERT_TRUE(reply) << range;
        EXPECT_EQ(reply->status, 206) << range;
        EXPECT_EQ(reply->body, film.substr(static_cast<std::size_t>(first), reply->body.size())) << range;
        EXPECT_EQ(reply->get_header_value("Content-Range"), told);
    }
    expectError(get(path, {{"Range", "bytes=5000-"}}), 416, "past the end");
    const auto whole = get(path, {{"Range", "bytes=0-1,4-5"}});
    EXPECT_EQ(whole->status, 200);
    EXPECT_EQ(whole->body, film);
    EXPECT_EQ(whole->get_header_value("Accept-Ranges"), "bytes");
    std::string many = "bytes=0-1";
    while (many.size() < 8000) many += ",0-1";
    // Some libraries take a level of the stack for each part.
    EXPECT_EQ(get(path, {{"Range", many}})->status, 400);
    const auto head = httplib::Client("127.0.0.1", port).Head(path);
    EXPECT_EQ(head->get_header_value("Content-Length"), "5000");
    EXPECT_TRUE(head->body.empty());
}

TEST_F(CameraServerTest, OutlivesUnfriendlyPeers) {
    const std::string request = "GET " + root() + "/events?access=" + bearer + " HTTP/1.1\r\nHost: x\r\n";
    std::string manyHeaders = request;
    for (int i = 0; i < 20'000; ++i) manyHeaders += "X-" + std::to_string(i) + ": y\r\n";
    const std::string attacks[] = {"",
                                   std::string("\0\0\0\0\r\n\r\n", 8),
                                   "GET",
                                   "GET / HTTP/9.9\r\n\r\n",
                                   "BREW /pot HTTP/1.1\r\n\r\n",
                                   request,
                                   request + "Content-Length: -1\r\n\r\n",
                                   request + "Content-Length: 99999999999999999999999\r\n\r\nx",
                                   request + "Transfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFF\r\n",
                                   request + "Range: bytes=" + std::string(7000, '9') + "-\r\n\r\n",
                                   "GET /" + std::string(200'000, 'a') + " HTTP/1.1\r\n\r\n",
                                   request + "X: " + std::string(200'000, 'b') + "\r\n\r\n",
                                   manyHeaders + "\r\n",
                                   std::string(500'000, '\n')};
    for (const std::string& attack : attacks) {
        raw(attack);
        raw(attack, true);
        EXPECT_EQ(fetch("/events?limit=1")["objects"].size(), 1U) << attack.substr(0, 60);
    }
}

TEST_F(CameraServerTest, RefusesWhatTwoServersReadDifferently) {
    const std::string line = "GET /a HTTP/1.1\r\n";
    const std::string next = "\r\n\r\nGET /b HTTP/1.1\r\nConnection: close\r\n\r\n";
    const std::string heads[] = {"Transfer-Encoding : chunked",
                                 "X\t: y",
                                 "Content-Length: 3\r\nTransfer-Encoding: chunked",
                                 "transfer-encoding: chunked\r\ncontent-length: 3",
                                 "Content-Length: 0\r\nContent-Length: 3",
                                 "Content-Length: 0, 3",
                                 "Content-Length: +3",
                                 "X: y\nContent-Length: 3",
                                 "X: y\rZ: z",
                                 "X: y\r\n continued",
                                 std::string("X: a\0b", 6),
                                 "X: a\x01",
                                 "X\x7f: a",
                                 ": nameless",
                                 "no colon",
                                 "Host: a\r\nHost: b"};
    for (const std::string& head : heads) {
        const std::string reply = raw(line + head + next);
        EXPECT_TRUE(reply.starts_with("HTTP/1.1 400")) << head << "\n" << reply;
        EXPECT_EQ(reply.find("HTTP/1.1", 1), std::string::npos) << head;
    }
    EXPECT_TRUE(raw("GET /a\tHTTP/1.1\r\n\r\n").starts_with("HTTP/1.1 400"));
    const std::string two = raw(line + "X: \xc3\xa4\t!\r\nContent-Length: 0" + next);
    EXPECT_NE(two.find("HTTP/1.1 401", 9), std::string::npos) << two;
}

TEST_F(CameraServerTest, AHostileHostHeaderDoesNotReachTheUrls) {
    const std::string reply = raw("GET " + root() + "/records?access=" + bearer +
                                  " HTTP/1.1\r\nHost: evil\"/<b>\r\nConnection: close\r\n\r\n");
    EXPECT_NE(reply.find("http://127.0.0.1:" + std::to_string(port) + "/v1/"), std::string::npos);
    EXPECT_EQ(reply.find("evil"), std::string::npos);
}

TEST_F(CameraServerTest, StopEndsIdleConnectionsAndFreesThePort) {
    httplib::Client kept("127.0.0.1", port);
    kept.set_keep_alive(true);
    ASSERT_TRUE(kept.Get("/"));
    CameraServerOptions taken;
    taken.port = port;
    EXPECT_FALSE(CameraServer(folder / "camera.db", taken).start());
    server->stop();
    server->stop();
    EXPECT_EQ(server->baseUrl(), "");
    EXPECT_TRUE(CameraServer(folder / "camera.db", taken).start());
    EXPECT_TRUE(server->start());
}

TEST(CameraServerStart, TellsWhyItCannot) {
    const TempFolder folder;
    folder.write("broken.db", std::string(9000, 'x'));
    EXPECT_FALSE(CameraServer(folder / "broken.db").start());
    CameraServerOptions elsewhere;
    elsewhere.address = "192.0.2.1";
    EXPECT_FALSE(CameraServer(folder / "camera.db", elsewhere).start());
    EXPECT_FALSE(CameraServer(folder / "camera.db").issueToken(1, std::chrono::seconds(1)));
}

}  // namespace
}  // namespace korvane
