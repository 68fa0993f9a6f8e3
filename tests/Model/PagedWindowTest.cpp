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
        {"<html>", 0},
        {{{"meta", 5}, {"objects", {{"id", 1}}}}, 0},
        {{{"meta", {{"total_count", 9}}}, {"objects", Reply::array()}}, 0},
        {page(-1), 0},
        {page(50'000'001), 0},
        {page("nine"), 0},
        {page(~std::uint64_t{0}), 0},
        // Without a total, the list is what the page tells of.
        {page(nullptr), 3},
        {page("9"), 11},
        {page(50'000'000), 50'000'002},
    };
    for (const auto& [reply, count] : cases) {
        service.scriptNext("getEvents", Script::answered(reply));
        bind();
        EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), count) << reply.dump();
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

// Of either kind of list.
TEST_F(PagedWindow, ADeletionIsAskedOfTheServiceAndLeavesTheList) {
    for (const bool isRecords : {false, true}) {
        if (isRecords) useRecords();
        Calls answers;
        const auto remove = [&](const std::shared_ptr<ScrubberEvent>& event) {
            return provider->deleteEvent(event, [&](std::int32_t status, const std::string& message) {
                answers.push_back(std::to_string(status) + " " + message);
            });
        };
        EXPECT_EQ(remove(ScrubberEvent::build(5, 1)), -1) << "unbound";
        service.addEvents(isRecords ? 0 : 250, scheduler.utcNow() - 60'000);
        bind();
        const std::int64_t count = provider->OnScrubberGetEventsCount();
        delegate->take();
        EXPECT_EQ(remove(nullptr), -1);
        EXPECT_EQ(remove(ScrubberEvent::build(isRecords ? 4 : 5, 1)), 0);
        EXPECT_EQ(remove(ScrubberEvent::build(std::nullopt, 1)), 0);
        EXPECT_EQ(provider->deleteEvent(ScrubberEvent::build(7, 1), nullptr), 0);
        for (const Reply& odd : {Reply(), Reply::array({1})}) {
            service.scriptNext("deleteEvent", Script::answered(odd));
            EXPECT_EQ(remove(ScrubberEvent::build(6, 1)), 0);
        }
        service.scriptNext("deleteEvent", Script::held());
        EXPECT_EQ(remove(ScrubberEvent::build(8, 1)), 0);
        scheduler.runUntilIdle();
        EXPECT_EQ(delegate->take(), Calls{});
        EXPECT_EQ(provider->OnScrubberGetEventsCount(), count);
        provider->close();
        scheduler.runUntilIdle();
        EXPECT_EQ(answers, (Calls{"0 The event was deleted.", "404 There is no such event.", "0 ", "0 ",
                                  "-8 The connection was closed."}));
        EXPECT_EQ(remove(ScrubberEvent::build(9, 1)), -1);
    }
}

TEST_F(PagedWindow, AJumpThatFailsIsOver) {
    bindTo250();
    service.scriptNext("getEvents", Script::failed(503));
    provider->updateForTime(1, true, false);
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), Calls{});
    EXPECT_EQ(service.count("getEvents"), 1u);
}

TEST_F(PagedWindow, WhereNothingIsEarlierAJumpGoesToTheOldest) {
    bindTo250();
    service.scriptNext("getEvents", Script::altered([](Reply& reply) { reply["objects"] = 5; }));
    provider->updateForTime(1, true, false);
    scheduler.runUntilIdle();
    EXPECT_EQ(delegate->take(), Calls{"index 51 0 1 252 252"});
}

}  // namespace
}  // namespace korvane::test
