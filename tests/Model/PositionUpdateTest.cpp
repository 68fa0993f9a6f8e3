#include "korvane/client/Status.h"
#include "korvane/tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

// Both kinds of lists: 250 entries half a minute apart with ids 1 and up from the oldest, the newest 100 loaded.
class PositionUpdate : public ProviderTest, public ::testing::WithParamInterface<bool> {
  protected:
    PositionUpdate() {
        if (isRecords()) useRecords();
        service.withFootage([this](ScriptedFootage& f) {
            for (std::int64_t id = 1; id <= 250; ++id) {
                f.addEvent({id, momentOf(id), "motion", ""});
                f.addRecord({id, momentOf(id), momentOf(id) + 1000, "", ""});
            }
        });
    }

    static bool isRecords() { return GetParam(); }
    static std::string pageRequest() { return isRecords() ? "getRecords" : "getEvents"; }
    TimeMs momentOf(std::int64_t id) const { return first_ + id * 30'000; }
    static std::shared_ptr<ScrubberEvent> withId(std::optional<std::int64_t> id) { return ScrubberEvent::build(id, 1); }

    void bindAnew() {
        bind();
        delegate->take();
        service.clearRequests();
    }

    Calls update(TimeMs time) {
        EXPECT_EQ(provider->updateForTime(time, true, false), 0);
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

TEST_P(PositionUpdate, AsksFromTheMomentOnWhenNothingIsEarlier) {
    bindAnew();
    // A range that the list will have from its next refresh on: until then its own filter counts.
    provider->setSource(service.makeToken(), 5, momentOf(300), "motion", 1, 10, 20, -1);
    service.clearRequests();
    service.scriptNext(pageRequest(), withoutElements);
    service.scriptNext("getTimelineThumbnailsFull", Script::held());
    const auto calls = update(momentOf(3));
    const auto requests = service.requests(pageRequest());
    ASSERT_GE(requests.size(), 2u);
    const std::optional<std::string> filter;
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

}  // namespace
}  // namespace korvane::test
