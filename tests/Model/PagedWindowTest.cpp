#include "client/Status.h"
#include "tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

class PagedWindow : public ProviderTest {
  protected:
    // A list of 250 events of which the newest 100 are loaded.
    void bindTo250() {
        service.addEvents(250, scheduler.utcNow() - 60'000);
        bind();
        EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
        service.clearRequests();
    }

    void refresh() {
        EXPECT_EQ(provider->refresh(), 0);
        scheduler.runUntilIdle();
    }

    std::vector<std::int64_t> offsetsAsked() {
        std::vector<std::int64_t> offsets;
        for (const auto& request : service.requests("getEvents")) offsets.push_back(request.offset);
        return offsets;
    }

    // The next page is held until release(), and comes whatever happens meanwhile.
    void holdNextPage() {
        Script late = Script::held();
        late.isUnstoppable = true;
        service.scriptNext("getEvents", late);
    }

    void release() {
        service.releaseAll();
        scheduler.runUntilIdle();
    }

    bool isFilled(std::int64_t first, std::int64_t last) {
        for (std::int64_t i = first; i <= last; ++i) {
            if (entry(i)->type() != ScrubberEventTypeItem) return false;
        }
        return true;
    }
};

TEST_F(PagedWindow, MakesTheListWithTheFirstPage) {
    service.withFootage([](ScriptedFootage& f) { f.timezone = "Asia/Tokyo"; });
    bindTo250();
    EXPECT_EQ(entry(150)->type(), ScrubberEventTypePending);
    EXPECT_EQ(entry(150)->camid(), 7);
    EXPECT_TRUE(isFilled(151, 250));
    EXPECT_EQ(entry(250)->timezone(), "Asia/Tokyo");
    EXPECT_EQ(entry(251)->camid(), 0);
    EXPECT_EQ(entry(252), nullptr);
    EXPECT_EQ(entry(-1), nullptr);
    const auto all = provider->getEvents();
    ASSERT_EQ(all.size(), 252u);
    EXPECT_EQ(all[151], entry(151));
}

TEST_F(PagedWindow, FetchesThePageAroundAnIndex) {
    const struct {
        std::uint64_t index;
        std::int64_t scroll;
        std::vector<std::int64_t> offsets;
        Calls calls;
        std::int64_t filledFrom, filledTo;
    } cases[] = {
        {100, -1, {100}, {"index 150 0 -1 252 252"}, 51, 250},
        {140, 140, {100}, {"index 150 0 140 252 252"}, 51, 250},
        {150, -1, {100}, {"index 150 0 -1 252 252"}, 51, 250},
        {99, -1, {101}, {"index 149 0 -1 252 252"}, 50, 149},
        {1, 1, {199}, {"index 51 0 1 252 252"}, 1, 51},
        {252, 252, {}, {}, 151, 250},
        {~std::uint64_t{0}, -1, {}, {}, 151, 250},
        // Entries that are there: a call when the view wants to go there, and never for the head entry.
        {200, -1, {}, {}, 151, 250},
        {200, 200, {}, {"index 200 0 200 252 252"}, 151, 250},
        {200, 199, {}, {}, 151, 250},
        {251, 251, {}, {"index 251 0 251 252 252"}, 151, 250},
        {0, 0, {}, {}, 151, 250},
    };
    bindTo250();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.index);
        refresh();
        delegate->take();
        service.clearRequests();
        check(c.index, c.scroll);
        EXPECT_EQ(offsetsAsked(), c.offsets);
        EXPECT_EQ(delegate->take(), c.calls);
        EXPECT_TRUE(isFilled(c.filledFrom, c.filledTo));
    }
}

TEST_F(PagedWindow, LooksAheadByHalfAPage) {
    const struct {
        std::uint64_t index;
        std::int64_t limit, offset;
    } cases[] = {{100, 1, 150}, {90, 2, 159}, {80, 3, 169}, {70, 10, 175}, {40, 100, 185}};
    bindTo250();
    for (const auto& c : cases) {
        provider->setSource(service.makeToken(), -1, -1, std::nullopt, 0, c.limit, 0, -1);
        service.clearRequests();
        check(c.index);
        EXPECT_EQ(offsetsAsked(), std::vector{c.offset}) << c.index;
        EXPECT_EQ(service.requests("getEvents").back().limit, c.limit);
    }
}

TEST_F(PagedWindow, TakesSurplusElementsUpToALimit) {
    const Reply event = {{"id", 1}, {"time", "1970-01-01T00:01:40Z"}};
    provider->enableEventGrouping(true);
    service.scriptNext("getEvents", Script::answered({{"meta", {{"total_count", 5000}}},
                                                      {"objects", Reply(std::vector<Reply>(3000, event))}}));
    bind();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 5002 - 999);
    EXPECT_EQ(entry(5000 - 999)->childCount(), 1000u);
}

TEST_F(PagedWindow, FindsALoadedMomentAtItsEntryOrGroup) {
    const TimeMs newest = scheduler.utcNow() - 60'000;
    provider->enableEventGrouping(true);
    service.withFootage([&](ScriptedFootage& f) {
        for (int i = 0; i < 4; ++i) f.addEvent({10 + i, newest - i * 4000, "motion", ""});
        for (int i = 0; i < 150; ++i) f.addEvent({100 + i, newest - 60'000 - i * 20'000, "motion", ""});
    });
    bind();
    delegate->take();
    service.clearRequests();
    const auto group = provider->OnScrubberGetEventsCount() - 2;
    ASSERT_EQ(entry(group)->childCount(), 4u);
    const auto call = [](std::int64_t index, const char* sizes) {
        return Calls{"index " + std::to_string(index) + " 0 " + std::to_string(index) + sizes};
    };
    for (const TimeMs member : {newest, newest - 4000, newest - 12'000}) {
        check(3, 3, member);
        EXPECT_EQ(delegate->take(), call(group, " 153 153"));
    }
    check(3, 3, newest - 80'000);
    EXPECT_EQ(delegate->take(), call(group - 2, " 153 153"));
    EXPECT_EQ(service.count("getEvents"), 0u);
    // Not loaded: the index counts.
    check(20, 20, newest - 1);
    EXPECT_EQ(service.count("getEvents"), 1u);
    EXPECT_EQ(delegate->take(), Calls{"index 54 0 20 153 153"});
}

TEST_F(PagedWindow, TellsOfBadFirstPages) {
    const Reply event = {{"id", 1}, {"time", "1970-01-01T00:01:40Z"}};
    const auto page = [&](Reply total) {
        return Reply{{"meta", {{"total_count", std::move(total)}}}, {"objects", Reply::array({event})}};
    };
    const std::pair<Reply, std::int64_t> cases[] = {
        {nullptr, 0},
        {"<html>", 0},
        {Reply::array({event}), 0},
        {Reply::object(), 0},
        {{{"meta", 5}, {"objects", {{"id", 1}}}}, 0},
        {{{"meta", {{"total_count", 9}}}, {"objects", Reply::array()}}, 0},
        {page(-1), 0},
        {page(50'000'001), 0},
        {page("nine"), 0},
        {page(2.5), 0},
        {page(~std::uint64_t{0}), 0},
        {page(nullptr), 2},
        {{{"objects", Reply::array({event, event, event})}}, 2},
        {page(9), 11},
        {page("9"), 11},
        {page(50'000'000), 50'000'002},
    };
    service.scriptNext("getEvents", Script::failed(503));
    bind();
    EXPECT_EQ(delegate->take(), Calls{"reload 503 0"});
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    for (const auto& [reply, count] : cases) {
        SCOPED_TRACE(reply.dump());
        service.scriptNext("getEvents", Script::answered(reply));
        bind();
        EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), count);
        // Without a total the page begins at the head entry, and what does not fit is dropped.
        if (count == 2) {
            EXPECT_EQ(entry(0)->type(), ScrubberEventTypeItem);
        } else if (count > 2) {
            EXPECT_EQ(entry(count - 2)->timeAsValue(), 100'000);
        }
    }
}

TEST_F(PagedWindow, LeavesSlotsPendingAfterABadLaterPage) {
    bindTo250();
    const struct {
        Script script;
        const char* call;
    } cases[] = {
        {Script::failed(StatusTimedOut), "reload -3 0"},
        {Script::answered("no object"), "reload 0 0"},
        {Script::altered([](Reply& reply) { reply["objects"] = 5; }), "reload 0 0"},
        // A total that cannot be is of no account here.
        {Script::altered([](Reply& reply) { reply["meta"]["total_count"] = -5; }), "index 150 0 -1 252 252"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(entry(150)->type(), ScrubberEventTypePending);
        service.scriptNext("getEvents", c.script);
        check(120);
        EXPECT_EQ(delegate->take(), Calls{c.call});
    }
    EXPECT_TRUE(isFilled(51, 250));
    EXPECT_EQ(service.count("getEvents"), std::size(cases));
}

TEST_F(PagedWindow, AsksTwiceForWhatIsStillOnItsWay) {
    bindTo250();
    service.scriptAll("getEvents", Script::held());
    check(100);
    check(120);
    check(20);
    EXPECT_EQ(offsetsAsked(), (std::vector<std::int64_t>{100, 100, 180}));
    service.releaseAllReversed();
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), (Calls{"index 70 0 -1 252 252", "index 150 0 -1 252 252", "index 150 0 -1 252 252"}));
    for (std::int64_t i = 1; i <= 250; ++i) EXPECT_EQ(entry(i)->identificator(), i);
}

TEST_F(PagedWindow, PagesUpToTheEndOfTheFirstLoad) {
    bindTo250();
    const TimeMs loadedAt = scheduler.utcNow();
    scheduler.advance(std::chrono::minutes(5));
    service.withFootage([&](ScriptedFootage& f) { f.addEvent({999, loadedAt + 1000, "motion", ""}); });
    check(100);
    const auto pages = service.requests("getEvents");
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages[0].end, loadedAt);
    EXPECT_EQ(entry(150)->identificator(), 150);

    delegate->take();
    EXPECT_EQ(provider->refresh(), 0);
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 253);
    EXPECT_EQ(entry(251)->identificator(), 999);
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
}

TEST_F(PagedWindow, RepliesAfterCloseOrAnotherFirstPageDoNoHarm) {
    bindTo250();
    // A later page after close: nothing to fill, and the delegate hears of it.
    holdNextPage();
    check(100);
    provider->close();
    release();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    EXPECT_EQ(delegate->take(), Calls{"index 150 0 -1 0 0"});

    // A first page after close builds the list without a camera.
    holdNextPage();
    bind();
    provider->close();
    release();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 252);
    EXPECT_EQ(entry(250)->timezone(), "");
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
    check(100);
    EXPECT_EQ(delegate->take(), Calls{}) << "no camera, no request";

    // A later page of the list before goes to its old place in the new one.
    bind();
    holdNextPage();
    check(100);
    service.withFootage([](ScriptedFootage& f) { f.removeEvent(250); });
    refresh();
    release();
    EXPECT_EQ(delegate->take(), (Calls{"reload 0 0", "reload 0 0", "index 150 0 -1 251 251"}));
    EXPECT_EQ(entry(249)->identificator(), 249);
    EXPECT_EQ(entry(150)->identificator(), 150);
}

TEST_F(PagedWindow, LetsADelegateCloseTheProviderFromItsCall) {
    bindTo250();
    delegate->onCall = [this] { provider->close(); };
    check(200, 200);
    EXPECT_EQ(delegate->take(), Calls{"index 200 0 200 252 252"});
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    bind();
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
}

TEST_F(PagedWindow, ReportsLoadingForAFirstPageWithAPosition) {
    bindTo250();
    provider->requestEvents(-1, -1, 1000);
    scheduler.runUntilIdle();
    // Nothing is as old as that: on to the oldest entry.
    EXPECT_EQ(delegate->take(), (Calls{"reload 0 1", "index 51 0 1 252 252"}));
    provider->requestEvents(-1, -1, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
}

}  // namespace
}  // namespace korvane::test
