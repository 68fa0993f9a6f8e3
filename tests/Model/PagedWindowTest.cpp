#include "korvane/client/Status.h"
#include "korvane/tests/Model/ProviderFixture.h"

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

    bool isFilled(std::int64_t first, std::int64_t last) {
        for (std::int64_t i = first; i <= last; ++i) {
            if (entry(i)->type() != ScrubberEventTypeItem) return false;
        }
        return true;
    }
};

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
        {99, -1, {101}, {"index 149 0 -1 252 252"}, 50, 149},
        {1, 1, {199}, {"index 51 0 1 252 252"}, 1, 51},
        {~std::uint64_t{0}, -1, {}, {}, 151, 250},
        // Entries that are there: a call when the view wants to go there, and never for the head entry.
        {200, -1, {}, {}, 151, 250},
        {200, 199, {}, {}, 151, 250},
        {251, 251, {}, {"index 251 0 251 252 252"}, 151, 250},
        {0, 0, {}, {}, 151, 250},
    };
    service.withFootage([](ScriptedFootage& f) { f.timezone = "Asia/Tokyo"; });
    bindTo250();
    EXPECT_EQ(entry(250)->timezone(), "Asia/Tokyo");
    EXPECT_EQ(std::tuple(entry(150)->camid(), entry(251)->camid(), entry(252), entry(-1)),
              std::tuple(7, 0, nullptr, nullptr));
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

TEST_F(PagedWindow, TakesSurplusElementsUpToALimit) {
    const Reply event = {{"id", 1}, {"time", "1970-01-01T00:01:40Z"}};
    provider->enableEventGrouping(true);
    service.scriptNext("getEvents", Script::answered({{"meta", {{"total_count", 5000}}},
                                                      {"objects", Reply(std::vector<Reply>(3000, event))}}));
    bind();
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 5002 - 999);
    EXPECT_EQ(entry(5000 - 999)->childCount(), 1000u);
    EXPECT_EQ(entry(5000 - 999)->identificator(), 1);
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
        // Without a total, the list is what the page tells of.
        {page(nullptr), 3},
        {{{"objects", Reply::array({event, event, event})}}, 5},
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
        if (count > 0) {
            EXPECT_EQ(entry(count - 2)->timeAsValue(), 100'000);
        }
    }
}

TEST_F(PagedWindow, FollowsAServiceThatCountsOtherEntries) {
    bindTo250();
    const auto remove = [&](std::int64_t from, std::int64_t to) {
        service.withFootage([&](ScriptedFootage& f) {
            for (auto id = from; id <= to; ++id) f.removeEvent(id);
        });
    };
    // Somebody else deletes: the list is made anew, with the page that told of it.
    remove(200, 200);
    check(100, 100);
    EXPECT_EQ(delegate->take(), (Calls{"reload 0 0", "index 149 0 99 251 251"}));
    EXPECT_TRUE(isFilled(50, 149));
    EXPECT_EQ(entry(99)->identificator(), 99);
    EXPECT_EQ(entry(240)->type(), ScrubberEventTypePending);
    // Once more within 5 s: that page counts as failed.
    remove(1, 20);
    check(240);
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 251);
    scheduler.advance(std::chrono::seconds(5));
    check(240);
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 231);
    EXPECT_EQ(entry(229)->identificator(), 250);
    // A service that does not count, and has no more than this.
    service.scriptNext("getEvents", Script::answered({{"objects", Reply::array()}}));
    scheduler.advance(std::chrono::minutes(1));
    check(50);
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 131);
}

TEST_F(PagedWindow, RepliesForAListThatIsNoMoreSayNothing) {
    const auto answerLate = [&](const std::function<void()>& meanwhile) {
        for (const bool isFirstPage : {false, true}) {
            bind();
            holdNextPage();
            isFirstPage ? void(provider->refresh()) : check(100);
            meanwhile();
            delegate->take();
            service.releaseAll();
            scheduler.runUntilIdle();
            EXPECT_EQ(delegate->take(), Calls{});
        }
    };
    bindTo250();
    answerLate([&] { provider->close(); });
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 0);
    check(100);
    EXPECT_EQ(delegate->take(), Calls{}) << "no camera, no request";
    answerLate([&] {
        service.withFootage([](ScriptedFootage& f) { f.removeEvent(250); });
        refresh();
    });
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 251);
    EXPECT_EQ(entry(249)->identificator(), 249);
    EXPECT_EQ(entry(149)->type(), ScrubberEventTypePending);
}

TEST_F(PagedWindow, AFirstPageThatADeletionHasOvertakenIsAskedForAgain) {
    bindTo250();
    holdNextPage();
    const auto event = entry(200);
    provider->refresh();
    provider->deleteEvent(event, nullptr);
    scheduler.runUntilIdle();
    delegate->take();
    service.releaseAll();
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 251);
    EXPECT_EQ(provider->OnScrubberDeleteEvent(event), -1);
}

}  // namespace
}  // namespace korvane::test
