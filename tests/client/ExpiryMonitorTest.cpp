#include <gtest/gtest.h>

#include <vector>

#include "base/UtcTime.h"
#include "base/VirtualScheduler.h"
#include "client/http/HttpService.h"

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
        auto connection = service->makeConnection();
        EXPECT_EQ(connection->openSync(token, url), 0);
        return connection;
    }

    void arm(KorvaneShareConnection& connection, const std::string& expire) {
        connection.getKorvaneApi()->setShareTokenExpire(expire);
        connection.getKorvaneApi()->setExpireMonitorCallback([this](std::int64_t left) { heard.push_back(left); },
                                                             period, guard);
    }

    std::size_t heardWithin(std::int64_t ms) {
        heard.clear();
        scheduler.advance(milliseconds(ms));
        return heard.size();
    }

    VirtualScheduler scheduler;
    std::unique_ptr<HttpService> service = std::make_unique<HttpService>(scheduler);
    std::vector<std::int64_t> heard;
};

TEST_F(ExpiryMonitorTest, AWarningComesWithinOnePeriodAndEndsWithANewToken) {
    for (const bool dropsFirst : {true, false}) {
        auto connection = open();
        arm(*connection, in(4));
        if (dropsFirst) connection.reset();
        connection = open();

        EXPECT_EQ(heardWithin(period), 1u);
        EXPECT_EQ(heard, std::vector<std::int64_t>{4 * 60'000 - period});
        EXPECT_EQ(heardWithin(3 * period), 3u);
        connection->update("newer", in(60), url);
        EXPECT_EQ(heardWithin(54 * 60'000), 0u);
        EXPECT_GT(heardWithin(60'000 + period), 0u);
        connection->close();
        EXPECT_EQ(heardWithin(60'000), 0u);
    }
}

TEST_F(ExpiryMonitorTest, WhoHearsWhat) {
    const struct {
        const char* what;
        std::function<std::shared_ptr<KorvaneShareConnection>()> bind;
        std::size_t heard;
    } cases[] = {
        {"dropped, and nobody takes over",
         [this] {
             arm(*open("a"), in(4));
             return open("b");
         },
         2},
        {"closed",
         [this] {
             auto c = open();
             arm(*c, in(4));
             c->close();
             return open();
         },
         0},
        {"closed after taking over",
         [this] {
             arm(*open(), in(4));
             auto c = open();
             c->close();
             return c;
         },
         0},
        {"a second binding leaves the first one's monitor alone",
         [this] {
             arm(*open(), in(4));
             const auto c = open();
             open("bearer")->close();
             return c;
         },
         2},
        {"armed anew",
         [this] {
             arm(*open(), in(4));
             auto c = open();
             c->getKorvaneApi()->setExpireMonitorCallback([this](std::int64_t) { heard.push_back(0); }, period, guard);
             return c;
         },
         2},
        {"ended by an empty callback",
         [this] {
             auto c = open();
             arm(*c, in(4));
             c->getKorvaneApi()->setExpireMonitorCallback({}, period, guard);
             return c;
         },
         0},
        {"never expires",
         [this] {
             auto c = open();
             arm(*c, "one day");
             return c;
         },
         0},
        {"expired long ago",
         [this] {
             auto c = open();
             arm(*c, "1970-01-01T00:00:00Z");
             return c;
         },
         2},
        {"still far",
         [this] {
             auto c = open();
             arm(*c, in(6));
             return c;
         },
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        service = std::make_unique<HttpService>(scheduler);
        const auto connection = c.bind();
        EXPECT_EQ(heardWithin(2 * period), c.heard);
        service.reset();
        EXPECT_EQ(heardWithin(2 * period), 0u) << "after the service has gone";
    }
}

TEST_F(ExpiryMonitorTest, ACallbackMayEndAnything) {
    for (const bool dropsService : {false, true}) {
        service = std::make_unique<HttpService>(scheduler);
        auto connection = open();
        connection->getKorvaneApi()->setShareTokenExpire(in(1));
        connection->getKorvaneApi()->setExpireMonitorCallback(
            [&](std::int64_t) {
                heard.push_back(0);
                connection->close();
                connection.reset();
                if (dropsService) service.reset();
                throw std::runtime_error("a host's own trouble");
            },
            period, guard);
        EXPECT_EQ(heardWithin(4 * period), 1u);
        EXPECT_EQ(connection, nullptr);
    }
    service.reset();
    scheduler.runUntilIdle();
    EXPECT_EQ(scheduler.liveThreads(), 0);
}

TEST_F(ExpiryMonitorTest, AbsurdRatesAreTaken) {
    auto connection = open();
    for (const std::int64_t rate : {std::int64_t{-5}, std::int64_t{0}, INT64_MAX, INT64_MIN}) {
        connection->getKorvaneApi()->setShareTokenExpire(in(4));
        connection->getKorvaneApi()->setExpireMonitorCallback([this](std::int64_t left) { heard.push_back(left); },
                                                              rate, INT64_MAX);
        EXPECT_EQ(heardWithin(10), rate > 0 ? 0u : 10u) << rate;
    }
}

}  // namespace
}  // namespace korvane::test
