#include <gtest/gtest.h>

#include <vector>

#include "korvane/base/UtcTime.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/http/HttpService.h"

namespace korvane::test {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t period = 5'000;
constexpr std::int64_t guard = 300'000;
const std::string url = "http://127.0.0.1:1";

class ExpiryMonitorTest : public testing::Test {
  protected:
    std::string in(std::int64_t minutes) const { return formatUtc(scheduler.utcNow() + minutes * 60'000); }

    std::shared_ptr<KorvaneShareConnection> open(const std::string& token = "bearer") {
        auto opened = service->makeConnection();
        EXPECT_EQ(opened->openSync(token, url), 0);
        return opened;
    }

    std::shared_ptr<KorvaneShareConnection> reopen(const std::string& token = "bearer") {
        connection.reset();
        return connection = open(token);
    }

    static void setCallback(KorvaneShareConnection& of, std::function<void(std::int64_t)> callback) {
        of.getKorvaneApi()->setExpireMonitorCallback(std::move(callback), period, guard);
    }

    void arm(KorvaneShareConnection& of, const std::string& expire) {
        of.getKorvaneApi()->setShareTokenExpire(expire);
        setCallback(of, [this](std::int64_t left) { heard.push_back(left); });
    }

    std::size_t heardWithin(std::int64_t ms) {
        heard.clear();
        scheduler.advance(milliseconds(ms));
        return heard.size();
    }

    VirtualScheduler scheduler;
    std::unique_ptr<HttpService> service = std::make_unique<HttpService>(scheduler);
    std::shared_ptr<KorvaneShareConnection> connection;
    std::shared_ptr<KorvaneShareConnection> older;
    std::vector<std::int64_t> heard;
};

TEST_F(ExpiryMonitorTest, WhoHearsWhat) {
    const std::tuple<const char*, std::int64_t, std::function<void()>, std::size_t> cases[] = {
        {"dropped, and nobody takes over", 4, [this] { reopen("b"); }, 2},
        {"closed, and opened anew", 4, [this] { connection->close(), reopen(); }, 0},
        {"a second binding leaves the first one's monitor alone", 4, [this] { reopen(), open()->close(); }, 2},
        {"dropped beside one that was opened before", 4, [this] { older->close(), reopen("b"); }, 2},
        {"taken over beside one that was opened before", 4, [this] { reopen()->close(); }, 0},
        {"dropped beside one that has another token by now", 4,
         [this] {
             const auto later = open();
             later->update("newer", in(60), url);
             connection.reset();
             later->close();
         },
         2},
        {"armed anew after taking over", 4, [this] { arm(*reopen(), in(4)); }, 2},
        {"ended by an empty callback", 4, [this] { setCallback(*connection, {}); }, 0},
        {"never expires", 4, [this] { arm(*connection, "one day"); }, 0},
        {"expired long ago", 60, [this] { arm(*connection, "1970-01-01T00:00:00Z"); }, 2},
        {"updated to a token that lasts", 4, [this] { connection->update("newer", in(60), url); }, 0},
        {"updated to one that ends as soon", 60, [this] { connection->update("newer", in(4), url); }, 2},
        {"closed", 4, [this] { connection->close(); }, 0},
        {"still far", 4, [this] { arm(*connection, in(6)); }, 0},
    };
    for (const auto& [what, minutes, change, count] : cases) {
        SCOPED_TRACE(what);
        service = std::make_unique<HttpService>(scheduler);
        older = open();
        arm(*reopen(), in(minutes));
        change();
        EXPECT_EQ(heardWithin(2 * period), count);
        service.reset();
        EXPECT_EQ(heardWithin(2 * period), 0u) << "after the service has gone";
    }
}

TEST_F(ExpiryMonitorTest, ACallbackMayEndAnything) {
    for (const bool dropsService : {false, true}) {
        service = std::make_unique<HttpService>(scheduler);
        connection = open();
        connection->getKorvaneApi()->setShareTokenExpire(in(1));
        setCallback(*connection, [&](std::int64_t) {
            heard.push_back(0);
            connection->close();
            connection.reset();
            if (dropsService) service.reset();
            throw std::runtime_error("a host's own trouble");
        });
        EXPECT_EQ(heardWithin(4 * period), 1u);
    }
    service.reset();
    scheduler.runUntilIdle();
    EXPECT_EQ(scheduler.liveThreads(), 0);
}

}  // namespace
}  // namespace korvane::test
