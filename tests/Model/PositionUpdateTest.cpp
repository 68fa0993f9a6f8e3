#include "client/Status.h"
#include "tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

// Both kinds of lists: 250 entries half a minute apart with ids 1 and up from the oldest, the newest 100 loaded. From
// 226 on every second one comes 4 s after the one before.
class PositionUpdate : public ProviderTest, public ::testing::WithParamInterface<bool> {
  protected:
    PositionUpdate() {
        if (isRecords()) useRecords();
        service.withFootage([this](ScriptedFootage& f) {
            for (std::int64_t id = 1; id <= 250; ++id) {
                const TimeMs time = id > 226 ? momentOf(id - id % 2) + id % 2 * 4000 : momentOf(id);
                f.addEvent({id, time, "motion", ""});
                f.addRecord({id, time, time + 1000, "", ""});
            }
        });
    }

    static bool isRecords() { return GetParam(); }
    static std::string pageRequest() { return isRecords() ? "getRecords" : "getEvents"; }
    TimeMs momentOf(std::int64_t id) const { return first_ + id * 30'000; }
    static std::shared_ptr<ScrubberEvent> withId(std::optional<std::int64_t> id) { return ScrubberEvent::build(id, 1); }

    void bindAnew(bool isGrouped = false) {
        provider->enableEventGrouping(isGrouped);
        bind();
        delegate->take();
        service.clearRequests();
    }

    Calls update(TimeMs time, bool isClosest = false) {
        EXPECT_EQ(provider->updateForTime(time, true, isClosest), 0);
        return callsAfterwards();
    }

    Calls callsAfterwards() {
        scheduler.runUntilIdle();
        return delegate->take();
    }

    static auto values(const ScriptedRequest& r) {
        return std::tuple(r.start, r.end, r.events, r.order, r.limit, r.offset);
    }

    const Script withoutElements = Script::altered([](Reply& reply) { reply["objects"] = 5; });

  private:
    const TimeMs first_ = scheduler.utcNow() - 251 * 30'000;
};

INSTANTIATE_TEST_SUITE_P(EventsAndRecords, PositionUpdate, ::testing::Bool());

TEST_P(PositionUpdate, GoesWhereTheNumberOfEarlierEntriesTells) {
    const struct {
        bool isGrouped;
        TimeMs time;
        bool isClosest;
        Calls calls;
    } cases[] = {
        {false, momentOf(40), false, {"index 90 0 40 252 252"}},
        {false, momentOf(40) - 1000, false, {"index 90 0 40 252 252"}},
        {false, momentOf(40) - 1001, false, {"index 89 0 39 252 252"}},
        {false, momentOf(40), true, {"index 91 0 41 252 252"}},
        {false, momentOf(200) + 7000, false, {"index 200 0 200 252 252"}},
        {false, momentOf(250), true, {"index 251 0 251 252 252"}},
        {false, momentOf(1) - 1001, true, {"index 51 0 1 252 252"}},
        {false, std::numeric_limits<TimeMs>::max(), false, {"index 250 0 250 252 252"}},
        // In a list with groups the number gives a guess, unless the moment itself is there.
        {true, momentOf(40), false, {"index 76 0 26 240 240"}},
        {true, momentOf(40), true, {"index 77 0 27 240 240"}},
        {true, momentOf(230) + 4000, false, {"index 228 0 228 240 240"}},
        {true, momentOf(200), false, {"index 200 0 200 240 240"}},
        {true, momentOf(200) + 1, false, {"index 186 0 186 240 240"}},
        // A guess before the list's begin, and the head entry, to which nobody goes.
        {true, momentOf(5), true, {}},
        {true, momentOf(13), false, {}},
        {true, momentOf(13), true, {}},
    };
    for (const auto& c : cases) {
        bindAnew(c.isGrouped);
        EXPECT_EQ(update(c.time, c.isClosest), c.calls) << c.isGrouped << " at " << c.time - momentOf(0);
    }
    // Head and live entry alone: no guess.
    service.scriptNext(pageRequest(), Script::altered([](Reply& r) { r["meta"]["total_count"] = 0; }));
    bindAnew(true);
    EXPECT_EQ(update(momentOf(1)), Calls{"index 1 0 1 2 2"});
}

TEST_P(PositionUpdate, AsksFromTheMomentOnWhenNothingIsEarlier) {
    bindAnew();
    // A range that the list will have from its next refresh on; the order of these two requests is their own.
    provider->setSource(service.makeToken(), 5, momentOf(300), "motion", 1, 10, 20, -1);
    service.clearRequests();
    service.scriptNext(pageRequest(), withoutElements);
    service.scriptNext("getTimelineThumbnailsFull", Script::held());
    const auto calls = update(momentOf(3));
    const auto requests = service.requests(pageRequest());
    ASSERT_GE(requests.size(), 2u);
    const auto filter = isRecords() ? std::nullopt : std::optional<std::string>("motion");
    EXPECT_EQ(values(requests[0]), std::tuple(-1, momentOf(3) + 1000, filter, 0, 10, 0));
    EXPECT_EQ(values(requests[1]), std::tuple(momentOf(3), momentOf(300), filter, 0, 10, 0));
    if (isRecords()) {
        EXPECT_EQ(calls, Calls{});
        EXPECT_EQ(values(service.held().at(0)), values(requests[1]));
        service.releaseAll();
    }
    EXPECT_EQ(isRecords() ? callsAfterwards() : calls, Calls{"index 6 0 1 252 252"});
}

TEST_P(PositionUpdate, TellsNobodyOfWhatFails) {
    const std::vector<Script> cases[] = {
        {Script::failed(503)},
        {Script::answered(nullptr)},
        {Script::answered("text")},
        {Script::altered([](Reply& r) { r["meta"]["total_count"] = -1; })},
        {withoutElements, withoutElements},
        {withoutElements, Script::failed(StatusTimedOut)},
        {withoutElements, Script::answered({})},
    };
    bindAnew();
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        service.clearRequests();
        for (const auto& script : cases[i]) service.scriptNext(pageRequest(), script);
        EXPECT_EQ(update(momentOf(40)), Calls{}) << i;
        EXPECT_EQ(service.count(pageRequest()), cases[i].size()) << i;
    }
}

TEST_P(PositionUpdate, ClosingEndsWhatIsUnderWay) {
    Script late = Script::held();
    late.isUnstoppable = true;
    const std::vector<Script> stages[] = {{late}, {withoutElements, late}, {withoutElements}};
    for (const auto& scripts : stages) {
        bindAnew();
        service.clearRequests();
        for (const auto& script : scripts) service.scriptNext(pageRequest(), script);
        service.scriptAll("getTimelineThumbnailsFull", late);
        update(momentOf(40));
        provider->close();
        const auto thumbnailRequests = service.count("getTimelineThumbnailsFull");
        service.releaseAll();
        scheduler.runUntilIdle();
        EXPECT_EQ(service.count("getTimelineThumbnailsFull"), thumbnailRequests) << "nobody is left to ask for";
        EXPECT_EQ(callsAfterwards(), Calls{});
        EXPECT_EQ(update(momentOf(40)), Calls{});
        service.scriptAll("getTimelineThumbnailsFull", {});
    }
}

TEST_P(PositionUpdate, FindsAMomentAsAPlainWalkDoes) {
    ScrubberDataSourceDelegate& list = *provider;
    EXPECT_EQ(list.OnScrubberFindEventByPosition(momentOf(0)), -1) << "unbound";
    for (const bool isGrouped : {false, true}) {
        bindAnew(isGrouped);
        update(momentOf(40));
        for (std::int64_t event = -2; event < 253; ++event) {
            for (const TimeMs beside : {-1, 0, 1, 999, 5'000, 20'000}) {
                const TimeMs at = event == 252 ? -beside : momentOf(event) + beside;
                const auto closest = list.OnScrubberFindClosestEventByPosition(at);
                const auto plain = list.ScrubberDataSourceDelegate::OnScrubberFindClosestEventByPosition(at);
                ASSERT_EQ(std::pair(closest.index, closest.isPositionExist),
                          std::pair(plain.index, plain.isPositionExist));
                ASSERT_EQ(list.OnScrubberFindEventByPosition(at),
                          list.ScrubberDataSourceDelegate::OnScrubberFindEventByPosition(at));
            }
        }
    }
}

TEST_P(PositionUpdate, DeletesAtTheServiceAndLeavesTheList) {
    Calls answers;
    const auto remove = [&](const std::shared_ptr<ScrubberEvent>& event) {
        return provider->deleteEvent(event, [&](std::int32_t status, const std::string& message) {
            answers.push_back(std::to_string(status) + " " + message);
        });
    };
    EXPECT_EQ(remove(withId(5)), -1) << "unbound";
    bindAnew();
    EXPECT_EQ(remove(nullptr), -1);
    EXPECT_EQ(remove(withId(5)), 0);
    EXPECT_EQ(remove(withId(std::nullopt)), 0);
    EXPECT_EQ(provider->deleteEvent(withId(7), nullptr), 0);
    service.scriptNext("deleteEvent", Script::answered(nullptr));
    EXPECT_EQ(remove(withId(6)), 0);
    service.scriptNext("deleteEvent", Script::answered(Reply::array({1})));
    EXPECT_EQ(remove(withId(6)), 0);
    service.scriptNext("deleteEvent", Script::held());
    EXPECT_EQ(remove(withId(8)), 0);
    EXPECT_EQ(callsAfterwards(), Calls{});
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 252);
    provider->close();
    scheduler.runUntilIdle();
    EXPECT_EQ(answers, (Calls{"0 The event was deleted.", "404 There is no such event.", "0 ", "0 ",
                              "-8 The connection was closed."}));
    EXPECT_EQ(remove(withId(9)), -1);
}

TEST_P(PositionUpdate, TakesTheFirstEntryOfAnIdOutOfTheList) {
    EXPECT_EQ(provider->OnScrubberDeleteEvent(withId(250)), -1);
    bindAnew();
    entry(180)->setIdentificator(201);
    const std::pair<std::shared_ptr<ScrubberEvent>, std::int32_t> cases[] = {
        {nullptr, -1},     {withId(0), -1},    {withId(std::nullopt), -1}, {withId(100), -1}, {withId(250), 250},
        {withId(250), -1}, {withId(201), 180}, {withId(201), 200},         {entry(160), 160},
    };
    for (const auto& [event, index] : cases) EXPECT_EQ(provider->OnScrubberDeleteEvent(event), index);
    // The total of the first page goes on to count.
    check(100);
    EXPECT_EQ(service.requests(pageRequest())[0].offset, 100);
    EXPECT_EQ(delegate->take(), Calls{"index 150 0 -1 248 248"});

    bindAnew(true);
    EXPECT_EQ(provider->OnScrubberDeleteEvent(withId(229)), -1) << "a member";
    EXPECT_EQ(provider->OnScrubberDeleteEvent(withId(228)), 227) << "its group";
    EXPECT_EQ(provider->OnScrubberGetEventsCount(), 239);
}

}  // namespace
}  // namespace korvane::test
