#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "korvane/base/LoopScheduler.h"
#include "korvane/net/MediaStream.h"
#include "korvane/tests/client/RawServer.h"

namespace korvane::test {
namespace {

using Answer = RawServer::Answer;
using namespace std::chrono_literals;

std::string makeFile(std::size_t size) {
    std::string file(size, '\0');
    std::minstd_rand random(7);
    std::ranges::generate(file, [&] { return static_cast<char>(random()); });
    return file;
}

/// Of "Range: bytes=100-199".
std::pair<std::size_t, std::size_t> rangeOf(const std::string& request) {
    const auto at = request.find("bytes=");
    const auto dash = request.find('-', at);
    return {std::stoul(request.substr(at + 6)), std::stoul(request.substr(dash + 1))};
}

Answer partOf(const std::string& file, const std::string& request) {
    const auto [from, to] = rangeOf(request);
    const auto size = std::to_string(file.size());
    if (from >= file.size()) return {RawServer::ok("no", "416 Beyond\r\nContent-Range: bytes */" + size), true};
    const std::string part = file.substr(from, to + 1 - from);
    const auto range = std::to_string(from) + "-" + std::to_string(from + part.size() - 1) + "/" + size;
    return {RawServer::ok(part, "206 Part\r\nContent-Range: bytes " + range), true};
}

class MediaStreamTest : public testing::Test {
  protected:
    MediaStream& open(const std::string& url) { return stream.emplace(scheduler, url, options); }

    std::string read(std::size_t count) {
        std::string all;
        std::uint8_t buffer[5000];
        while (all.size() < count) {
            const auto got = stream->read({buffer, std::min(sizeof buffer, count - all.size())});
            if (got == 0) break;
            all.append(reinterpret_cast<const char*>(buffer), got);
        }
        return all;
    }

    const std::string file = makeFile(3'000'000);
    LoopScheduler scheduler;
    MediaOptions options{5s, 1h, {}};
    std::optional<MediaStream> stream;
};

TEST_F(MediaStreamTest, ReadsAsOneReadsAFileWhateverTheServiceKnowsOfRanges) {
    struct Case {
        const char* name;
        RawServer::Script script;
    };
    const Case cases[] = {
        {"ranges", [&](const std::string& request) { return partOf(file, request); }},
        {"no ranges",
         [&](const std::string&) {
             return Answer{RawServer::ok(file), true};
         }},
        {"no length", [&](const std::string&) { return Answer{"HTTP/1.1 200 OK\r\n\r\n" + file}; }},
        {"breaks off",
         [&](const std::string& request) {
             Answer answer = partOf(file, request);
             answer.bytes.resize(std::min<std::size_t>(answer.bytes.size(), 150'000));
             answer.keepsOpen = false;
             return answer;
         }},
    };
    for (const Case& c : cases) {
        RawServer server(c.script);
        open(server.url() + "/film");
        std::minstd_rand random(3);
        for (int step = 0; step < 40; ++step) {
            const std::size_t from = random() % (file.size() + 1000);
            const std::size_t count = random() % 400'000;
            stream->seek(static_cast<std::int64_t>(from));
            const std::string expected = from < file.size() ? file.substr(from, count) : std::string();
            ASSERT_TRUE(read(count) == expected) << c.name << " from " << from << " fault " << int(stream->fault());
        }
        EXPECT_EQ(stream->size(), file.size()) << c.name;
    }
}

TEST_F(MediaStreamTest, WhatIsNoFilmOfThatServiceIsAFault) {
    const auto says = [](const std::string& head) {
        return [head](const std::string&) -> std::optional<Answer> { return Answer{"HTTP/1.1 " + head + "\r\n\r\n"}; };
    };
    struct Case {
        RawServer::Script script;
        MediaFault fault;
    };
    const Case cases[] = {
        {says("404 Not Found\r\nContent-Length: 0"), MediaFault::Gone},
        {says("403 Forbidden\r\nContent-Length: 0"), MediaFault::Refused},
        {says("302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0"), MediaFault::BadAddress},
        {says("302 Found\r\nLocation: ftp://127.0.0.1/a\r\nContent-Length: 0"), MediaFault::BadAddress},
        {says("302 Found\r\nLocation: /again\r\nContent-Length: 0"), MediaFault::BadAddress},
        {says("206 Part\r\nContent-Range: bytes 7-9/10\r\nContent-Length: 3"), MediaFault::Broken},
        {says("206 Part\r\nContent-Length: 3"), MediaFault::Broken},
        {says("200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3;" + std::string(200'000, 'x') + "\r\nabc\r\n0"),
         MediaFault::Broken},
        {[](const std::string&) { return Answer{"garbage"}; }, MediaFault::BadAddress},
        {[](const std::string&) { return Answer{}; }, MediaFault::Broken},
        {[](const std::string&) { return std::nullopt; }, MediaFault::TimedOut},
        {[](const std::string&) {
             return Answer{"HTTP/1.1 200 OK\r\nContent-Length: 99999\r\n\r\nabc", true};
         },
         MediaFault::TimedOut},
    };
    for (const Case& c : cases) {
        RawServer server(c.script);
        options.stallTimeout = c.fault == MediaFault::TimedOut ? 300ms : 1h;
        open(server.url() + "/film");
        read(100);
        EXPECT_EQ(stream->fault(), c.fault) << &c - cases;
        EXPECT_FALSE(stream->size());
        server.stop();
    }
}

TEST_F(MediaStreamTest, ARedirectionIsFollowedAndAProxyIsNot) {
    setenv("http_proxy", "http://127.0.0.1:1", 1);
    RawServer server([&](const std::string& request) {
        if (request.starts_with("GET /new ")) return partOf(file, request);
        return Answer{"HTTP/1.1 302 Found\r\nLocation: /new\r\nContent-Length: 0\r\n\r\n", true};
    });
    open(server.url() + "/film");
    EXPECT_TRUE(read(600'000) == file.substr(0, 600'000));
    stream->seek(2'500'000);
    EXPECT_TRUE(read(10) == file.substr(2'500'000, 10));
    unsetenv("http_proxy");
    const auto requests = server.requests();
    EXPECT_EQ(std::ranges::count_if(requests, [](const auto& head) { return head.starts_with("GET /film "); }), 1);
}

TEST_F(MediaStreamTest, ACancelledReadEndsAtOnce) {
    for (const bool drips : {false, true}) {
        RawServer server([&](const std::string&) -> std::optional<Answer> {
            if (!drips) return std::nullopt;
            return Answer{"HTTP/1.1 200 OK\r\nContent-Length: 99999\r\n\r\nabc", true};
        });
        open(server.url() + "/film");
        const auto canceller = scheduler.spawn("cancel", [&] {
            while (server.requests().empty()) std::this_thread::yield();
            stream->cancel();
        });
        read(100);  // without the wait of an hour
        canceller->join();
        EXPECT_EQ(stream->fault(), MediaFault::Cancelled);
    }
}

TEST_F(MediaStreamTest, OnlyTheTwoSchemesAreOpened) {
    RawServer server([&](const std::string& request) { return partOf(file, request); });
    const std::string rest = server.url().substr(4);
    for (const std::string url : {"file:///etc/passwd", "/etc/passwd", "concat:/etc/passwd", "", "http", "data:,x"})
        EXPECT_EQ(open(url).fault(), MediaFault::BadAddress) << url;
    for (const std::string scheme : {"tcp", "ftp", "gopher", "rtsp", "ws", " http"})
        EXPECT_EQ(open(scheme + rest + "/film").fault(), MediaFault::BadAddress) << scheme;
    EXPECT_EQ(open(server.url() + "/a\r\nX: y").fault(), MediaFault::BadAddress);
    EXPECT_EQ(server.connections(), 0);
    open("HTTP" + rest + "/film");
    EXPECT_EQ(read(10), file.substr(0, 10));
}

}  // namespace
}  // namespace korvane::test
