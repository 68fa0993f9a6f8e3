#include "korvane/server/HttpListener.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>
#include <thread>

#include "korvane/tests/server/TestPeer.h"

namespace korvane {
namespace {

using testing::ElementsAre;

constexpr std::size_t filmSize = 48 * 1024 * 1024;
constexpr std::size_t largeSize = 40'000'000;

/// Up to 64 KiB of the film, whose bytes come again after a prime number of them, so no two pieces are alike.
std::string filmPart(std::size_t from, std::size_t size) {
    constexpr std::size_t period = 65'521;
    static const std::string bytes = [] {
        std::string all;
        for (std::size_t i = 0; i < 3 * period; ++i) all += static_cast<char>((i % period) * (i % period) / 7);
        return all;
    }();
    return bytes.substr(from % period, size);
}

/// A service with one worker, whose time stands still, that answers a path with itself.
class HttpListenerTest : public testing::Test {
  protected:
    void serve(std::size_t connections = 8000, std::size_t threads = 1) {
        limits.threads = threads;
        limits.connections = connections;
        limits.clock = [this] { return std::chrono::steady_clock::time_point(std::chrono::seconds(time.load())); };
        listener = std::make_unique<HttpListener>(limits);
        listener->set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            answer(request.path, response);
            return httplib::Server::HandlerResponse::Handled;
        });
        port = listener->bind("127.0.0.1", 0);
        ASSERT_GT(port, 0);
        loop = std::thread([this] { listener->run(); });
    }

    void answer(const std::string& path, httplib::Response& response) {
        {
            const std::lock_guard lock(mutex);
            answered = path;
        }
        response.status = 200;
        if (path.starts_with("/large")) return response.set_content(std::string(largeSize, 'x'), "video/mp4");
        if (path == "/held") released.wait(false);
        if (path != "/film") return response.set_content(path, "text/plain");
        response.set_content_provider(filmSize, "video/mp4", [this](std::size_t at, std::size_t size, auto& sink) {
            filmed += size;
            return sink.write(filmPart(at, size).data(), size);
        });
    }

    void SetUp() override {
        ::getrlimit(RLIMIT_NOFILE, &descriptors);
        descriptors.rlim_cur = std::min<rlim_t>(descriptors.rlim_max, 8192);
        ::setrlimit(RLIMIT_NOFILE, &descriptors);
    }

    void TearDown() override {
        listener->shutDown();
        loop.join();
    }

    std::string lastAnswered() {
        const std::lock_guard lock(mutex);
        return answered;
    }

    static std::size_t threadsOfProcess() {
        const std::filesystem::directory_iterator threads("/proc/self/task");
        return static_cast<std::size_t>(std::distance(begin(threads), end(threads)));
    }

    rlimit descriptors{};
    ConnectionLimits limits;
    std::atomic<bool> released = false;
    std::atomic<int> time = 1000;
    std::atomic<std::size_t> filmed = 0;
    std::mutex mutex;
    std::string answered;
    std::unique_ptr<HttpListener> listener;
    int port = 0;
    std::thread loop;
};

TEST_F(HttpListenerTest, ABodyIsNeverARequest) {
    serve();
    const std::string line = "POST / HTTP/1.1\r\n", host = "Host: a\r\n", large(9000, 'x');
    const std::vector<std::string> heads = {line + host,
                                            line + "Range: x\r\n",
                                            "BREW / HTTP/1.1\r\n" + host,
                                            "POST /" + large + " HTTP/1.1\r\n" + host,
                                            line + "X: " + large + "\r\n",
                                            "GET / HTTP/1.1\r\n" + host};
    const std::string inner = "GET /inner HTTP/1.1\r\n\r\n";
    for (const std::string& head : heads) {
        const TestPeer peer(port);
        peer.send(head + "Content-Length: " + std::to_string(inner.size()) + "\r\n\r\n" + inner);
        const std::string replies = peer.readAll();
        EXPECT_EQ(replies.find("HTTP/1.1 ", 1), std::string::npos) << replies;
        EXPECT_THAT(replies, testing::StartsWith("HTTP/1.1 "));
        EXPECT_THAT(replies, testing::HasSubstr("Connection: close\r\n"));
        EXPECT_THAT(replies, testing::Not(testing::HasSubstr("Keep-Alive")));
        EXPECT_NE(lastAnswered(), "/inner");
    }
}

TEST_F(HttpListenerTest, FieldsOfTheReplyFollowTheRequest) {
    serve();
    struct Case {
        std::string field, has, hasNot;
    };
    for (const auto& [field, has, hasNot] :
         std::vector<Case>{{"Accept-Encoding: br", "Keep-Alive: timeout=10\r\n", "Content-Encoding"},
                           {"Accept-Encoding: br, GZIP;q=0.5", "Content-Encoding: gzip\r\n", ": br"},
                           {"Accept-Encoding: gzip;q=0.0, br", "\r\n\r\n/", "Content-Encoding"},
                           {"Connection: x, Close", "Connection: close\r\n", "Keep-Alive"}}) {
        const TestPeer peer(port);
        peer.send("GET / HTTP/1.1\r\n" + field + "\r\n\r\n");
        EXPECT_THAT(peer.read(), testing::AllOf(testing::HasSubstr(has), testing::Not(testing::HasSubstr(hasNot))));
        if (hasNot != "Keep-Alive") continue;
        EXPECT_EQ(peer.readAll(), "");
    }
}

TEST_F(HttpListenerTest, WhoDoesNothingTakesNoThread) {
    const std::size_t many = descriptors.rlim_cur < 8192 ? 300 : 3000;
    serve();
    EXPECT_EQ(TestPeer(port).answerTo("/first"), "/first");
    const std::size_t threads = threadsOfProcess();
    std::vector<TestPeer> silent, slow, kept;
    for (std::size_t i = 0; i < many; ++i) silent.emplace_back(port);
    for (std::size_t i = 0; i < many / 3; ++i) slow.emplace_back(port).send("GET /slow");
    for (std::size_t i = 0; i < 49; ++i) EXPECT_EQ(kept.emplace_back(port).answerTo("/kept"), "/kept");
    const TestPeer honest(port);
    for (const char byte : std::string("/of/all HTTP/1.1\r\n\r")) {
        for (const TestPeer& peer : slow) peer.send({byte});
        EXPECT_EQ(honest.answerTo("/honest"), "/honest");
    }
    EXPECT_EQ(threadsOfProcess(), threads);
    slow.back().send("\n");
    EXPECT_THAT(slow.back().read(), testing::EndsWith("/slow/of/all"));
    EXPECT_EQ(kept.front().answerTo("/again"), "/again");
    EXPECT_EQ(silent.front().answerTo("/late"), "/late");
}

TEST_F(HttpListenerTest, AnAddressHas64RepliesAtATime) {
    serve();
    std::vector<TestPeer> greedy;
    for (int i = 0; i < 64; ++i) greedy.emplace_back(port, "127.0.0.2").ask("/film");
    for (const TestPeer& peer : greedy) EXPECT_THAT(peer.read(10), "HTTP/1.1 2");
    const TestPeer next(port, "127.0.0.2"), last(port, "127.0.0.2"), other(port, "127.0.0.3");
    next.ask("/next");
    last.ask("/last");
    EXPECT_EQ(other.answerTo("/other"), "/other");
    EXPECT_EQ(lastAnswered(), "/other");
    greedy[7].close();
    EXPECT_THAT(next.read(), testing::EndsWith("/next"));
    EXPECT_THAT(last.read(), testing::EndsWith("/last"));
    EXPECT_EQ(lastAnswered(), "/last");
}

TEST_F(HttpListenerTest, AnAddressHasHalfOfTheWorkers) {
    serve(10, 4);
    std::vector<TestPeer> greedy;
    for (int i = 0; i < 6; ++i) greedy.emplace_back(port, "127.0.0.2").ask("/held");
    EXPECT_EQ(TestPeer(port).answerTo("/other"), "/other");
    greedy[3].close();
    released = true;
    released.notify_all();
    greedy.erase(greedy.begin() + 3);
    for (const TestPeer& peer : greedy) EXPECT_THAT(peer.read(), testing::EndsWith("/held"));
}

TEST_F(HttpListenerTest, ALineEndsStalledReplies) {
    limits.fromOneAddress = 2;
    serve();
    const TestPeer first(port, "127.0.0.2"), second(port, "127.0.0.2"), other(port), next(port, "127.0.0.2");
    for (const TestPeer* peer : {&first, &second, &other}) peer->ask("/film");
    const TestPeer clock(port, "127.0.0.3");
    for (int i = 0; i < 200; ++i) clock.answerTo("/clock");
    next.ask("/next");
    EXPECT_EQ(clock.answerTo("/clock"), "/clock");
    EXPECT_EQ(lastAnswered(), "/clock");
    time += 3;
    EXPECT_THAT(next.read(), testing::EndsWith("/next"));
    EXPECT_LT(first.readAll().size(), filmSize);
    std::size_t taken = 0;
    for (std::size_t count = 1; taken < filmSize && count > 0; taken += count) count = other.read(65'536).size();
    EXPECT_GE(taken, filmSize);
}

TEST_F(HttpListenerTest, AFilmIsReadAsItIsTaken) {
    serve();
    const TestPeer slow(port);
    const TestPeer honest(port);
    slow.ask("/film");
    std::string head;
    while (!head.ends_with("\r\n\r\n")) head += slow.read(1);
    EXPECT_NE(head.find("Content-Length: " + std::to_string(filmSize) + "\r\n"), std::string::npos) << head;
    std::size_t taken = 0;
    while (taken < filmSize && !HasFailure()) {
        EXPECT_EQ(honest.answerTo("/honest"), "/honest");
        // What the system keeps for both ends is the rest.
        EXPECT_LE(filmed, taken + filmSize / 3);
        for (const std::size_t until = std::min(filmSize, taken + filmSize / 50); taken < until;) {
            const std::string piece = slow.read(std::min<std::size_t>(until - taken, 65'536));
            ASSERT_TRUE(!piece.empty() && piece == filmPart(taken, piece.size())) << taken;
            taken += piece.size();
        }
    }
    EXPECT_EQ(slow.answerTo("/after"), "/after");
    EXPECT_EQ(filmed, filmSize);
}

TEST_F(HttpListenerTest, PatienceEnds) {
    serve();
    const TestPeer silent(port), slow(port), stalled(port), kept(port);
    slow.send("GET /slow HTTP/1.1\r\n");
    stalled.ask("/film");
    // Until the film has come to where it stalls.
    for (int i = 0; i < 200; ++i) kept.answerTo("/kept");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(kept.answerTo("/kept"), "/kept");
        slow.send("X");
        time += 4;
    }
    EXPECT_EQ(kept.answerTo("/kept"), "/kept");
    EXPECT_EQ(silent.readAll(), "");
    EXPECT_THAT(slow.readAll(), testing::StartsWith("HTTP/1.1 408 "));
    EXPECT_LT(stalled.readAll().size(), filmSize);
    EXPECT_EQ(kept.answerTo("/kept"), "/kept");
}

TEST_F(HttpListenerTest, WhoReadsSlowlyIsPatientlyServed) {
    serve();
    const TestPeer slow(port), clock(port);
    slow.ask("/film");
    std::size_t taken = 0;
    for (std::size_t until = 0; taken < filmSize; until = taken < filmSize / 8 ? taken + filmSize / 192 : filmSize) {
        while (taken < until) {
            const std::string piece = slow.read(65'536);
            ASSERT_NE(piece, "") << taken;
            taken += piece.size();
        }
        for (int i = 0; i < 100; ++i) clock.answerTo("/clock");
        time += 4;
    }
}

TEST_F(HttpListenerTest, RepliesHaveOneLimitTogether) {
    limits.replyBytes = 90'000'000;
    serve();
    std::vector<TestPeer> peers;
    for (const char* path : {"/large/1", "/large/2", "/large/3"}) {
        peers.emplace_back(port).ask(path);
        EXPECT_THAT(peers.back().read(9), "HTTP/1.1 ");
    }
    EXPECT_EQ(TestPeer(port).answerTo("/honest"), "/honest");
    EXPECT_LT(peers[0].readAll().size(), largeSize);
    std::size_t taken = 0;
    for (std::size_t count = 1; taken < largeSize && count > 0; taken += count) count = peers[1].read(65'536).size();
    EXPECT_GE(taken, largeSize);
}

TEST_F(HttpListenerTest, WhoHasWaitedLongestGivesWay) {
    serve(10);
    std::vector<TestPeer> peers;
    for (int i = 0; i < 10; ++i) EXPECT_EQ(peers.emplace_back(port).answerTo("/" + std::to_string(i)).size(), 2U);
    ++time;
    EXPECT_EQ(peers[0].answerTo("/again"), "/again");
    peers[9].send("GET /by");
    EXPECT_EQ(TestPeer(port).answerTo("/new"), "/new");
    EXPECT_EQ(peers[1].readAll(), "");
    for (const std::size_t i : {0U, 2U, 8U}) EXPECT_EQ(peers[i].answerTo("/there"), "/there");
    peers[9].send("/and/by HTTP/1.1\r\n\r\n");
    EXPECT_THAT(peers[9].read(), testing::EndsWith("/by/and/by"));
}

TEST_F(HttpListenerTest, HeadsThatDoNotEndHaveOneLimitTogether) {
    serve();
    std::vector<TestPeer> peers;
    for (int i = 0; i < 700; ++i) peers.emplace_back(port).send("GET / HTTP/1.1\r\nX: " + std::string(60'000, 'x'));
    EXPECT_EQ(TestPeer(port).answerTo("/honest"), "/honest");
    EXPECT_EQ(peers.front().readAll(), "");
    peers.back().send("\r\n\r\n");
    EXPECT_THAT(peers.back().read(9), "HTTP/1.1 ");
}

TEST_F(HttpListenerTest, WithoutADescriptorTheOldestGivesWay) {
    serve();
    const TestPeer old(port), young(port);
    EXPECT_EQ(old.answerTo("/old"), "/old");
    EXPECT_EQ(young.answerTo("/young"), "/young");
    const int own = ::socket(AF_INET, SOCK_STREAM, 0);
    std::vector<Descriptor> all;
    do all.emplace_back(::dup(own));
    while (all.back());
    const sockaddr_in service{AF_INET, htons(static_cast<std::uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    EXPECT_EQ(::connect(own, reinterpret_cast<const sockaddr*>(&service), sizeof service), 0);
    EXPECT_EQ(old.readAll(), "");
    EXPECT_EQ(young.answerTo("/young"), "/young");
    ::close(own);
}

}  // namespace
}  // namespace korvane
