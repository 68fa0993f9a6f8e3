#include "server/CameraServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "server/AccessToken.h"
#include "server/Base64Url.h"
#include "server/Storage.h"
#include "tests/server/TempFolder.h"

namespace korvane {
namespace {

using nlohmann::json;

constexpr TimeMs kNow = 1'780'000'000'000;
constexpr TimeMs kStart = kNow - 86'400'000;

/// A service over a data base with one recorded camera and one that has nothing.
class CameraServerTest : public testing::Test {
  protected:
    void SetUp() override {
        for (int i = 0; i < 5000; ++i) film_ += static_cast<char>(i * 7);
        folder_.write("footage/film.mp4", film_);
        auto storage = Storage::open(folder_ / "camera.db");
        ASSERT_TRUE(storage);
        camera_ = (*storage)->cameraForFolder((folder_ / "footage").string(), "Yard", "Europe/Berlin")->id;
        other_ = (*storage)->cameraForFolder("/nowhere", "Other", "UTC")->id;
        std::vector<NewEvent> events;
        for (int i = 0; i < 250; ++i)
            events.push_back({kStart + i * 1000, i % 10 == 0 ? "doorbell" : "motion", i == 0 ? "JPEG" : ""});
        ASSERT_FALSE((*storage)->storeRecording(camera_, {"film.mp4", 1, 1, ""},
                                                NewRecord{kStart, kStart + 600'000, "PICTURE"}, events));
        ASSERT_FALSE((*storage)->storeRecording(camera_, {"gone.mp4", 1, 1, ""},
                                                NewRecord{kStart + 700'000, kStart + 800'000, ""}, {}));
        CameraServerOptions options;
        options.now = [] { return kNow; };
        options.patience = std::chrono::milliseconds(300);
        options.threads = 8;
        server_ = std::make_unique<CameraServer>(folder_ / "camera.db", options);
        const auto port = server_->start();
        ASSERT_TRUE(port) << port.error().message;
        port_ = *port;
        bearer_ = bearerFor(camera_);
    }

    std::string bearerFor(std::int64_t camera, TimeSec expires = kNow / 1000 + 60) const {
        return AccessToken::forDatabase(folder_ / "camera.db")->issueBearer(camera, expires);
    }

    httplib::Result get(const std::string& path, httplib::Headers headers = {}) const {
        headers.emplace("Authorization", "Bearer " + bearer_);
        return httplib::Client("127.0.0.1", port_).Get(path, headers);
    }

    std::string root() const { return "/v1/cameras/" + std::to_string(camera_); }

    json fetch(const std::string& rest) const {
        const auto reply = get(root() + rest);
        EXPECT_TRUE(reply) << rest;
        if (!reply) return {};
        EXPECT_EQ(reply->status, 200) << rest << ": " << reply->body;
        return json::parse(reply->body, nullptr, false);
    }

    /// The path and query of a URL that the service gave, which must be its own.
    std::string pathOf(const std::string& url) const {
        EXPECT_TRUE(url.starts_with(server_->baseUrl() + "/")) << url;
        return url.substr(server_->baseUrl().size());
    }

    /// Sends bytes and reads until the service closes.
    std::string raw(const std::string& bytes, bool closeAtOnce = false) const {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port_);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t count = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) break;
            sent += static_cast<std::size_t>(count);
        }
        std::string reply;
        std::array<char, 4096> buffer;
        while (!closeAtOnce) {
            const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
            if (count <= 0) break;
            reply.append(buffer.data(), static_cast<std::size_t>(count));
        }
        ::close(socket);
        return reply;
    }

    TempFolder folder_;
    std::string film_;
    std::int64_t camera_ = 0;
    std::int64_t other_ = 0;
    std::unique_ptr<CameraServer> server_;
    std::uint16_t port_ = 0;
    std::string bearer_;
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
    const std::string forged = bearer_.substr(0, bearer_.size() - 4) + "AAAA";
    struct Row {
        std::string token;
        std::int64_t camera;
        int status;
    };
    const Row rows[] = {{bearer_, camera_, 200},     {"", camera_, 401},
                        {forged, camera_, 401},      {bearerFor(camera_, kNow / 1000), camera_, 401},
                        {bearer_, other_, 403},      {bearer_, 9999, 403},
                        {bearerFor(9999), 9999, 404}};
    httplib::Client client("127.0.0.1", port_);
    for (const Row& row : rows) {
        const std::string path = "/v1/cameras/" + std::to_string(row.camera);
        const auto byHeader = client.Get(path, {{"Authorization", "Bearer " + row.token}});
        const auto byQuery = client.Get(path + "?access=" + row.token);
        for (const auto* reply : {&byHeader, &byQuery}) {
            if (row.status == 200) {
                EXPECT_EQ((*reply)->status, 200);
            } else {
                expectError(*reply, row.status, row.token);
            }
        }
    }
    const json camera = fetch("");
    EXPECT_EQ(camera, (json{{"id", camera_}, {"name", "Yard"}, {"timezone", "Europe/Berlin"}}));
}

TEST_F(CameraServerTest, IssuesTokensThatOpenIt) {
    const auto whole = server_->issueToken(camera_, std::chrono::seconds(60));
    ASSERT_TRUE(whole);
    const json token = json::parse(*decodeBase64Url(*whole));
    EXPECT_EQ(token["svcp"], server_->baseUrl());
    EXPECT_EQ(token["api_p"], port_);
    bearer_ = token["token"];
    EXPECT_EQ(fetch("")["id"], camera_);
    EXPECT_FALSE(server_->issueToken(9999, std::chrono::seconds(60)));
}

TEST_F(CameraServerTest, PagesEvents) {
    const json newest = fetch("/events");
    EXPECT_EQ(newest["meta"], (json{{"total_count", 250}, {"limit", 100}, {"offset", 0}}));
    ASSERT_EQ(newest["objects"].size(), 100U);
    EXPECT_EQ(newest["objects"][0]["time"], "2026-05-27T20:30:49.000Z");
    EXPECT_EQ(newest["objects"][0]["camid"], camera_);
    EXPECT_FALSE(newest["objects"][0].contains("thumb"));
    const json oldest =
        fetch("/events?order=1&limit=-5&offset=-3&type=DoorBell&start=-1&end=" + std::to_string(kStart + 20'000));
    EXPECT_EQ(oldest["meta"]["total_count"], 3);
    EXPECT_EQ(oldest["objects"][0]["name"], "doorbell");
    const auto picture = get(pathOf(oldest["objects"][0]["thumb"]["url"]));
    EXPECT_EQ(picture->body, "JPEG");
    EXPECT_EQ(picture->get_header_value("Content-Type"), "image/jpeg");
    EXPECT_EQ(fetch("/events?limit=99999999")["meta"]["limit"], 1000);
    EXPECT_EQ(fetch("/events?limit=0")["objects"], json::array());
    EXPECT_EQ(fetch("/events?offset=9223372036854775807")["objects"], json::array());
}

TEST_F(CameraServerTest, RecordsAndThumbnailsJoinByTheirTime) {
    const json records = fetch("/records?order=1");
    ASSERT_EQ(records["objects"].size(), 2U);
    const json& film = records["objects"][0];
    EXPECT_EQ(film["end"], "2026-05-27T20:36:40.000Z");
    const json thumbnails = fetch("/thumbnails?origin=recording_thumbnail&offset=5&limit=1&origin_ids=" +
                                  std::to_string(film["id"].get<std::int64_t>()) + ",9999");
    ASSERT_EQ(thumbnails["objects"].size(), 1U);
    EXPECT_EQ(thumbnails["objects"][0]["time"], film["start"]);
    EXPECT_EQ(get(pathOf(thumbnails["objects"][0]["url"]))->body, "PICTURE");
    EXPECT_EQ(get(pathOf(film["url"]))->body, film_);
    expectError(get(pathOf(records["objects"][1]["url"])), 404, "file gone");
}

TEST_F(CameraServerTest, TimelineActivityAndCalendar) {
    const std::string window = "?start=" + std::to_string(kStart + 1000) + "&end=" + std::to_string(kStart + 650'000);
    EXPECT_EQ(
        fetch("/timeline" + window),
        (json{{"start", kStart + 1000}, {"end", kStart + 650'000}, {"periods", {{kStart + 1000, kStart + 600'000}}}}));
    EXPECT_EQ(fetch("/activity?start=-1&end=-1&events=&boundstime=0&daysincamtz=0&limit=100&offset=0"),
              json::array({"2026-05-27"}));
    EXPECT_EQ(fetch("/activity?start=0&end=1000"), json::array());
    EXPECT_EQ(fetch("/calendar?start=0&end=0&limit=-1&offset=-1"), json::array({"2026-05-27"}));
    EXPECT_EQ(fetch("/calendar?offset=1"), json::array());
}

TEST_F(CameraServerTest, DeletesAnEventOnce) {
    const std::string event =
        "/events/" + std::to_string(fetch("/events?limit=1")["objects"][0]["id"].get<std::int64_t>());
    httplib::Client client("127.0.0.1", port_);
    const httplib::Headers headers = {{"Authorization", "Bearer " + bearer_}};
    const auto deleted = client.Delete(root() + event, headers);
    ASSERT_TRUE(deleted);
    EXPECT_TRUE(json::parse(deleted->body)["message"].is_string());
    expectError(client.Delete(root() + event, headers), 404, "again");
    EXPECT_EQ(fetch("/events")["meta"]["total_count"], 249);
}

TEST_F(CameraServerTest, SaysWhatIsWrongWithARequest) {
    struct Row {
        std::string path;
        int status;
    };
    const Row rows[] = {{root() + "/events?start=yesterday", 400},
                        {root() + "/events?limit=1e3", 400},
                        {root() + "/events?offset=99999999999999999999", 400},
                        {root() + "/events?order=%00", 400},
                        {root() + "/thumbnails?origin_ids=1,,2", 400},
                        {root() + "/thumbnails?origin=other", 400},
                        {root() + "/activity?daysincamtz=x", 400},
                        {root() + "/nothing", 404},
                        {root() + "/events/1/video", 404},
                        {root() + "/records/x/video", 404},
                        {root() + "/records/-1/video", 404},
                        {root() + "/records/1/../../camera.db", 404},
                        {root() + "/records/..%2f..%2fcamera.db/video", 404},
                        {root() + "/records/1/video/../../../../camera.db", 404},
                        {root() + "/%2e%2e/%2e%2e/etc/passwd", 404},
                        {"/v1/cameras/seven", 400},
                        {"/../../etc/passwd", 404},
                        {"/%00", 404},
                        {"/", 404},
                        {"/" + std::string(8100, 'a'), 404},
                        {"/" + std::string(9000, 'a'), 414}};
    for (const Row& row : rows) expectError(get(row.path), row.status, row.path.substr(0, 100));
    httplib::Client client("127.0.0.1", port_);
    expectError(client.Post(root() + "/events", {{"Authorization", "Bearer " + bearer_}}, "x", "text/plain"), 405,
                "POST");
}

TEST_F(CameraServerTest, ServesParts) {
    const std::string path = pathOf(fetch("/records?order=1")["objects"][0]["url"]);
    struct Row {
        std::string range;
        std::size_t first;
        std::size_t length;
    };
    for (const Row& row : {Row{"bytes=0-0", 0, 1}, {"bytes=100-199", 100, 100}, {"bytes=4990-9999", 4990, 10}}) {
        const auto reply = get(path, {{"Range", row.range}});
        ASSERT_TRUE(reply) << row.range;
        EXPECT_EQ(reply->status, 206) << row.range;
        EXPECT_EQ(reply->body, film_.substr(row.first, row.length)) << row.range;
        const std::string last = std::to_string(row.first + row.length - 1);
        EXPECT_EQ(reply->get_header_value("Content-Range"),
                  "bytes " + std::to_string(row.first) + "-" + last + "/5000");
    }
    for (const char* range : {"bytes=5000-", "bytes=9-1", "bytes=99999999999999999999-", "bytes=-0", "bytes=x"})
        expectError(get(path, {{"Range", range}}), 416, range);
    const auto whole = get(path, {{"Range", "bytes=0-1,4-5"}});
    EXPECT_EQ(whole->status, 200);
    EXPECT_EQ(whole->body, film_);
    EXPECT_EQ(whole->get_header_value("Accept-Ranges"), "bytes");
    std::string many = "bytes=0-1";
    while (many.size() < 8000) many += ",0-1";
    EXPECT_TRUE(get(path, {{"Range", many}}));
    const auto head = httplib::Client("127.0.0.1", port_).Head(path);
    EXPECT_EQ(head->get_header_value("Content-Length"), "5000");
    EXPECT_TRUE(head->body.empty());
}

TEST_F(CameraServerTest, OutlivesUnfriendlyPeers) {
    const std::string request = "GET " + root() + "/events?access=" + bearer_ + " HTTP/1.1\r\nHost: x\r\n";
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

TEST_F(CameraServerTest, AHostileHostHeaderDoesNotReachTheUrls) {
    const std::string reply = raw("GET " + root() + "/records?access=" + bearer_ +
                                  " HTTP/1.1\r\nHost: evil\"/<b>\r\nConnection: close\r\n\r\n");
    EXPECT_NE(reply.find("http://127.0.0.1:" + std::to_string(port_) + "/v1/"), std::string::npos);
    EXPECT_EQ(reply.find("evil"), std::string::npos);
}

TEST_F(CameraServerTest, StopEndsIdleConnectionsAndFreesThePort) {
    httplib::Client kept("127.0.0.1", port_);
    kept.set_keep_alive(true);
    ASSERT_TRUE(kept.Get("/"));
    CameraServerOptions taken;
    taken.port = port_;
    EXPECT_FALSE(CameraServer(folder_ / "camera.db", taken).start());
    server_->stop();
    server_->stop();
    EXPECT_EQ(server_->baseUrl(), "");
    EXPECT_TRUE(CameraServer(folder_ / "camera.db", taken).start());
    EXPECT_TRUE(server_->start());
}

TEST_F(CameraServerTest, ManyAskAtOnce) {
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 24; ++i)
        threads.emplace_back([this, &good, i] {
            for (int round = 0; round < 5; ++round) {
                const auto reply = get(root() + "/events?limit=3&offset=" + std::to_string(i));
                if (reply && reply->status == 200 && json::parse(reply->body)["objects"].size() == 3) ++good;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(good, 120);
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
