#include <random>

#include "base/UtcTime.h"
#include "client/Status.h"
#include "tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

constexpr const char* address = "http://127.0.0.1:1";
constexpr TimeMs minute = 60'000;

class SourceBinding : public ProviderTest {
  protected:
    SourceBinding() { service.addEvents(30, scheduler.utcNow() - minute); }

    std::string tokenFor(TimeMs lifetime, const std::string& bearer = "bearer") {
        return service.makeToken(7, formatUtc(scheduler.utcNow() + lifetime), address, bearer);
    }

    std::int32_t setFullSource(const std::string& token) {
        return provider->setSource(token, 1000, scheduler.utcNow(), "motion", 257, 10, 3, 2000);
    }

    // Through the operation's three forms: with the token alone, with a position, with everything.
    std::int32_t setSourceBy(int form, const std::string& token) {
        if (form == 0) return provider->setSource(token);
        return form == 1 ? provider->setSource(token, 1000) : setFullSource(token);
    }

    std::vector<std::string> requestNames() {
        std::vector<std::string> names;
        for (const auto& request : service.requests()) names.push_back(request.name);
        return names;
    }
};

using Names = std::vector<std::string>;

TEST_F(SourceBinding, RefusesBadTokensAndUnbinds) {
    const std::pair<std::string, std::int32_t> cases[] = {
        {"", StatusBadCall},
        {"%%%", StatusTokenEncoding},
        {tokenFor(-1), StatusTokenExpired},
    };
    for (const auto& [token, status] : cases) {
        for (const int form : {0, 1, 2}) {
            ASSERT_EQ(bind(), 0);
            delegate->take();
            service.clearRequests();
            EXPECT_EQ(setSourceBy(form, token), status);
            scheduler.runUntilIdle();
            EXPECT_EQ(requestNames(), Names{"close"});
            EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
            EXPECT_EQ(delegate->take(), Calls{});
            EXPECT_EQ(provider->refresh(), -1);
            if (token.empty()) continue;
            EXPECT_EQ(provider->lastErrorCode(), status);
            EXPECT_NE(provider->lastErrorString().value_or(""), "");
        }
    }
}

TEST_F(SourceBinding, OpensTwoConnectionsAndKeepsTheSecond) {
    EXPECT_EQ(bind(), 0);
    EXPECT_EQ(requestNames(), (Names{"openSync", "openSync", "getCamera", "setFullSharedToken", "getEvents"}));
    const auto requests = service.requests();
    EXPECT_EQ(requests[0].connection, 1);
    EXPECT_EQ(std::tuple(requests[1].connection, requests[1].token, requests[1].baseUrl),
              std::tuple(2, "bearer", address));
    EXPECT_EQ(requests[2].id, 7);
    EXPECT_EQ(requests[3].token, service.makeToken());
    EXPECT_EQ(requests[4].connection, 2);
    EXPECT_EQ(service.openConnections(), 1);
    EXPECT_EQ(provider->lastErrorString(), "Success");
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});

    provider->close();
    provider->close();
    EXPECT_EQ(service.openConnections(), 0);
    EXPECT_EQ(service.count("close"), 1u);
    EXPECT_EQ(provider->refresh(), -1);
}

TEST_F(SourceBinding, StartsANewConnectionAtTheDefaults) {
    for (const int form : {0, 1, 2}) {
        const auto token = service.makeToken(7, "", form == 2 ? "" : address);
        service.clearRequests();
        EXPECT_EQ(setSourceBy(form, token), 0);
        scheduler.runUntilIdle();
        const auto request = service.requests("getEvents").at(0);
        EXPECT_EQ(std::tuple(request.start, request.end, request.events, request.order, request.limit, request.offset),
                  std::tuple(-1, scheduler.utcNow(), std::optional<std::string>(), 0, 100, 0));
        EXPECT_EQ(service.requests("openSync").at(0).baseUrl, form == 2 ? "" : address);
        EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
    }
}

TEST_F(SourceBinding, SwapsTheTokenOfTheSameCameraAndService) {
    const auto later = formatUtc(scheduler.utcNow() + 120 * minute);
    const struct {
        std::int64_t camid;
        std::string expires, url;
        bool isUpdate;
    } cases[] = {
        {7, later, address, true}, {7, "", address, false},    {7, later, "http://127.0.0.1:2", false},
        {7, later, "", false},     {8, later, address, false}, {-1, later, address, false},
    };
    for (const auto& c : cases) {
        bind();
        delegate->take();
        service.clearRequests();
        const auto token = service.makeToken(c.camid, c.expires, c.url, "fresh");
        EXPECT_EQ(setFullSource(token), 0);
        scheduler.runUntilIdle();
        EXPECT_EQ(requestNames().front(), c.isUpdate ? "update" : "close") << c.camid << c.url;
        if (!c.isUpdate) continue;
        EXPECT_EQ(requestNames(), (Names{"update", "setFullSharedToken"}));
        EXPECT_EQ(service.requests("update").at(0).token, "fresh");
        EXPECT_EQ(service.requests("setFullSharedToken").at(0).token, token);
        EXPECT_EQ(delegate->take(), Calls{});
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), 32);
        // What was given along counts from the next refresh on.
        EXPECT_EQ(provider->refresh(), 0);
        const auto request = service.requests("getEvents").at(0);
        EXPECT_EQ(std::tuple(request.start, request.end, request.events, request.order, request.limit, request.offset),
                  std::tuple(1000, scheduler.utcNow(), std::optional<std::string>("motion"), 1, 10, 3));
        // A limit or offset that is no such thing leaves the one before; 256 is ascending by none of its low 8 bits.
        provider->setSource(token, -1, -1, std::nullopt, 256, 0, -1, -1);
        provider->refresh();
        const auto next = service.requests("getEvents").at(1);
        EXPECT_EQ(std::tuple(next.start, next.order, next.limit, next.offset), std::tuple(-1, 0, 10, 3));
    }
}

TEST_F(SourceBinding, FillsTheOpenPartsOfATokenFromTheDefaults) {
    const std::string token = base64Url(R"({"token":"b","expires":"","camid":7,"api":"host"})");
    const std::tuple<const char*, std::int32_t, const char*> cases[] = {
        {"", 443, "https://host:443"},
        {"http", 8080, "http://host:8080"},
        {"", 81, "http://host:81"},
    };
    for (const auto& [protocol, port, baseUrl] : cases) {
        provider->setApiProtocol(protocol, port);
        service.clearRequests();
        EXPECT_EQ(provider->setSource(token), 0);
        EXPECT_EQ(service.requests("openSync").at(0).baseUrl, baseUrl);
    }
}

TEST_F(SourceBinding, TellsOfACameraThatIsNotFound) {
    const struct {
        std::int64_t camid;
        std::int32_t openStatus;
        std::int32_t status;
        const char* text;
    } cases[] = {
        {8, 0, 404, "There is no such camera."},
        {7, StatusTransportFailed, StatusBadCall, "The connection is not open."},
    };
    for (const auto& c : cases) {
        service.scriptAll("openSync", Script::failed(c.openStatus));
        EXPECT_EQ(provider->setSource(service.makeToken(c.camid, "")), 0);
        scheduler.runUntilIdle();
        EXPECT_EQ(delegate->take(), Calls{"reload " + std::to_string(c.status) + " 0"});
        EXPECT_EQ(provider->lastErrorCode(), c.status);
        EXPECT_EQ(provider->lastErrorString(), c.text);
        EXPECT_EQ(provider->refresh(), -1);
        EXPECT_EQ(service.count("getEvents"), 0u);
    }
}

TEST_F(SourceBinding, WarnsOfATokenAboutToExpireUntilItIsSwapped) {
    const auto period = std::chrono::milliseconds(5000);
    provider->setSource(tokenFor(4 * minute));
    scheduler.runUntilIdle();
    delegate->take();
    scheduler.advance(period);
    EXPECT_EQ(delegate->take(), Calls{"expires 235000"});

    setFullSource(tokenFor(60 * minute));
    scheduler.advance(period * 3);
    EXPECT_EQ(delegate->take(), Calls{}) << "swapped";

    setFullSource(tokenFor(4 * minute));
    scheduler.advance(period);
    EXPECT_EQ(delegate->take().size(), 1u);
    provider->close();
    scheduler.advance(period * 3);
    EXPECT_EQ(delegate->take(), Calls{}) << "closed";

    EXPECT_EQ(provider->onSharedTokenWillExpireIn(100), 5);
    provider->setDelegate(nullptr);
    EXPECT_EQ(provider->onSharedTokenWillExpireIn(100), 0);

    provider->setDelegate(delegate);
    provider->setSource(tokenFor(4 * minute));
    scheduler.runUntilIdle();
    delegate->take();
    provider.reset();
    scheduler.advance(period * 3);
    EXPECT_EQ(delegate->take(), Calls{}) << "gone";
}

TEST_F(SourceBinding, ALateCameraOfAnEarlierBindingStartsItsLoad) {
    Script late = Script::held();
    late.isUnstoppable = true;
    service.scriptNext("getCamera", late);
    bind();
    provider->close();
    service.releaseAll();
    scheduler.runUntilIdle();
    EXPECT_EQ(service.count("getEvents"), 1u);
    EXPECT_EQ(delegate->take(), Calls{"reload -8 0"});
}

TEST_F(SourceBinding, AStormOfSourcesLeavesOneBindingAndNoStrayCalls) {
    for (unsigned seed = 1; seed <= roundsOf(20); ++seed) {
        std::mt19937 random(seed);
        std::shared_ptr<RecordingDelegate> last;
        for (int i = 0; i < 15; ++i) {
            if (random() % 3 == 0) service.scriptNext("getEvents", Script::held());
            if (random() % 3 == 0) service.scriptNext("getCamera", Script::late(std::chrono::milliseconds(50)));
            // As a view does it: the provider before is closed, its delegate taken away, both dropped.
            provider->close();
            if (random() % 2 == 0) provider->setDelegate(nullptr);
            last = std::make_shared<RecordingDelegate>();
            provider = std::make_shared<ScrubberEventsDataProvider>(scheduler, service);
            provider->setDelegate(last);
            EXPECT_EQ(provider->setSource(service.makeToken()), 0);
            if (random() % 2 == 0) scheduler.advance(std::chrono::milliseconds(random() % 80));
        }
        scheduler.advance(std::chrono::seconds(1));
        service.releaseAll();
        scheduler.runUntilIdle();
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), 32);
        EXPECT_EQ(last->take(), Calls{"reload 0 0"});
        EXPECT_EQ(service.openConnections(), 1);
    }
}

}  // namespace
}  // namespace korvane::test
