#include <random>

#include "korvane/base/Base64Url.h"
#include "korvane/base/UtcTime.h"
#include "korvane/client/Status.h"
#include "korvane/tests/Model/ProviderFixture.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

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

    std::vector<std::string> requestNames() {
        std::vector<std::string> names;
        for (const auto& request : service.requests()) names.push_back(request.name);
        return names;
    }
};

using Names = std::vector<std::string>;

TEST_F(SourceBinding, SwapsTheTokenOfTheSameCameraAndService) {
    const auto later = formatUtc(scheduler.utcNow() + 120 * minute);
    const std::tuple<std::int64_t, std::string, std::string, bool> cases[] = {
        {7, later, address, true}, {7, "", address, false},    {7, later, "http://127.0.0.1:2", false},
        {7, later, "", false},     {8, later, address, false}, {-1, later, address, false},
    };
    for (const auto& [camid, expires, url, isUpdate] : cases) {
        bind();
        delegate->take();
        service.clearRequests();
        const auto token = service.makeToken(camid, expires, url, "fresh");
        EXPECT_EQ(setFullSource(token), 0);
        scheduler.runUntilIdle();
        EXPECT_EQ(requestNames().front(), isUpdate ? "update" : "close") << camid << url;
        if (!isUpdate) continue;
        EXPECT_EQ(requestNames(), (Names{"update", "setFullSharedToken"}));
        EXPECT_EQ(service.requests("update").at(0).token, "fresh");
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

TEST_F(SourceBinding, WarnsOfATokenAboutToExpireUntilItIsSwappedOrClosed) {
    const std::pair<const char*, std::function<void()>> ends[] = {
        {"swapped", [&] { setFullSource(tokenFor(60 * minute, "fresh")); }},
        {"closed", [&] { provider->close(); }},
        {"gone", [&] { provider.reset(); }},
    };
    for (const auto& [what, end] : ends) {
        provider->setSource(tokenFor(4 * minute));
        scheduler.runUntilIdle();
        delegate->take();
        scheduler.advance(std::chrono::seconds(10));
        EXPECT_EQ(delegate->take(), (Calls{"expires 235000", "expires 230000"}));
        end();
        scheduler.advance(std::chrono::seconds(15));
        EXPECT_EQ(delegate->take(), Calls{}) << what;
    }
}

// In whichever order the threads run, a refresh that has asked is not followed by the load that it has overtaken.
TEST_F(SourceBinding, ALoadThatIsOvertakenByARefreshAsksForNothing) {
    int overtaken = 0;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        VirtualScheduler threads(seed);
        ScriptedService camera(threads);
        const auto bound = std::make_shared<ScrubberEventsDataProvider>(threads, camera);
        std::size_t before = 0;
        std::int32_t status = StatusBadCall;
        EXPECT_EQ(bound->setSource(camera.makeToken()), 0);
        threads.spawn("host", [&] {
            before = camera.count("getEvents");
            status = bound->refresh();
        });
        threads.runUntilIdle();
        if (status != StatusSuccess || before > 0) continue;
        ++overtaken;
        EXPECT_EQ(camera.count("getEvents"), 1u) << seed;
    }
    EXPECT_GT(overtaken, 0);
    EXPECT_LT(overtaken, 100) << "the seed draws no order";
}

TEST_F(SourceBinding, ASlowServiceHoldsNoCallerUpAndTheHostHearsNothingOfWhatItEnded) {
    const auto timeline = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    timeline->setDelegate(delegate);
    const std::pair<std::string, std::shared_ptr<ScrubberSourceBinding>> cases[] = {
        {"getCamera", provider}, {"getEvents", provider}, {"getActivity", timeline}, {"getTimelineSync", timeline}};
    for (const auto& [slow, bound] : cases) {
        for (const std::string by : {"close", "refresh", "setSource"}) {
            service.scriptAll(slow, Script::held());
            bound->setSource(service.makeToken());
            scheduler.runUntilIdle();
            service.scriptAll(slow, {});
            const auto before = scheduler.monotonicNow();
            by == "close" ? bound->close() : void(by == "refresh" ? bound->refresh() : bound->setSource(""));
            EXPECT_EQ(scheduler.monotonicNow(), before) << slow << by;
            const bool goesOn = by == "refresh" && slow == "getCamera";
            EXPECT_EQ(service.held().size(), goesOn ? 1u : 0u) << slow << by;
            scheduler.runUntilIdle();
            const bool isFresh = by == "refresh" && slow != "getCamera";
            EXPECT_EQ(delegate->take(), isFresh ? Calls{"reload 0 0"} : Calls{}) << slow << by;
        }
    }
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

TEST_F(SourceBinding, OpensTwoConnectionsAndKeepsTheSecond) {
    bind();
    EXPECT_EQ(requestNames(), (Names{"openSync", "openSync", "getCamera", "setFullSharedToken", "getEvents"}));
    EXPECT_EQ(service.requests()[4].connection, 2);
    provider->close();
    EXPECT_EQ(service.openConnections(), 0);
}

TEST_F(SourceBinding, TellsOfACameraThatIsNotFound) {
    EXPECT_EQ(provider->setSource(service.makeToken(8, "")), 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), Calls{"reload 404 0"});
    EXPECT_EQ(provider->lastErrorCode(), 404);
}

TEST_F(SourceBinding, FillsTheOpenPartsOfATokenFromTheDefaults) {
    provider->setApiProtocol("http", 8080);
    EXPECT_EQ(provider->setSource(encodeBase64Url(R"({"token":"b","expires":"","camid":7,"api":"host"})")), 0);
    EXPECT_EQ(service.requests("openSync").back().baseUrl, "http://host:8080");
}

TEST_F(SourceBinding, ABadTokenUnbinds) {
    for (const auto& [token, status] : {std::pair("", StatusBadCall), {"%%%", StatusTokenEncoding}}) {
        bind();
        EXPECT_EQ(setFullSource(token), status);
        EXPECT_EQ(service.openConnections() + provider->OnScrubberGetEventsCount(), 0);
    }
}

TEST_F(SourceBinding, ALateCameraOfAnEarlierBindingIsNobodys) {
    Script late = Script::held();
    late.isUnstoppable = true;
    service.scriptNext("getCamera", late);
    bind();
    bind();
    service.clearRequests();
    service.releaseAll();
    scheduler.runUntilIdle();
    EXPECT_EQ(requestNames(), Names{});
}

}  // namespace
}  // namespace korvane::test
