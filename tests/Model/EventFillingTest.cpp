#include <limits>
#include <random>
#include <sstream>

#include "tests/Model/PlainEventList.h"
#include "tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

Reply at(TimeMs time, std::int64_t id = 1, const std::string& name = "motion") {
    return {{"id", id}, {"name", name}, {"time", formatUtc(time)}};
}

Reply pageOf(const std::vector<TimeMs>& times) {
    Reply page = Reply::array();
    for (std::size_t i = 0; i < times.size(); ++i) page.push_back(at(times[i], static_cast<std::int64_t>(i) + 1));
    return page;
}

class EventFilling : public ProviderTest {
  protected:
    // Ids of a list's entries, a group's in brackets, slots that wait as points; head and live entry left out.
    std::string shape() {
        std::ostringstream text;
        for (std::int64_t i = 1; i + 1 < provider->OnScrubberGetEventsCount(); ++i) {
            const auto fields = entry(i)->fields();
            if (fields.type == ScrubberEventTypeGroup) {
                text << '[';
                for (const auto& child : fields.childs) text << child->identificator().value();
                text << ']';
            } else if (fields.type == ScrubberEventTypeItem) {
                text << fields.identificator.value_or(-1);
            } else {
                text << '.';
            }
        }
        return text.str();
    }

    std::string fill(std::uint64_t slots, const std::vector<TimeMs>& times, std::uint64_t index, bool grouping) {
        provider->enableEventGrouping(grouping);
        provider->initStorageForEvents(slots);
        provider->fillEventsFromDictionary(pageOf(times), index);
        return shape();
    }
};

TEST_F(EventFilling, ReadsAnElementByItsKeys) {
    const auto text = [](const char* value) { return std::optional<std::string>(value); };
    const auto no = std::optional<std::string>();
    const struct {
        const char* element;
        std::optional<std::int64_t> id;
        std::optional<std::string> name, time, imageUrl;
        TimeMs moment, start;
    } cases[] = {
        {R"({"id":5,"name":"motion","time":"1970-01-01T00:01:40Z","thumb":{"url":"u"},"video":"v"})", 5, text("motion"),
         text("1970-01-01T00:01:40Z"), text("u"), 100000, 95000},
        {R"({"ID":5,"CamId":9,"thumb":{"x":1,"URL":"u","url":"w"}})", 5, text(""), text(""), text("u"), -1, 0},
        // The keys of these three are known in any case, their values only under the exact spelling.
        {R"({"id":5,"Name":"motion","Time":"1970-01-01T00:01:40Z","Thumb":{"url":"u"}})", 5, no, no, no, -1, -5001},
        {R"({"name":"a","NAME":"b"})", 0, text("a"), text(""), text(""), -1, 0},
        {R"({"id":1,"iD":2,"id":3,"ID":4})", 4, text(""), text(""), text(""), -1, 0},
        {R"({"id":"12","name":7,"time":"soon","thumb":[]})", 12, no, text("soon"), no, -1, -5001},
        {R"({"id":null,"name":null,"time":null,"thumb":null})", std::nullopt, no, no, no, -1, -5001},
        {R"({"":1,"thumb":{"url":5}})", 0, text(""), text(""), no, -1, 0},
        {R"("text")", 0, text(""), text(""), text(""), -1, 0},
        {"null", 0, text(""), text(""), text(""), -1, 0},
        {R"([{"id":5}])", 0, text(""), text(""), text(""), -1, 0},
    };
    for (const bool grouping : {false, true}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.element);
            provider->enableEventGrouping(grouping);
            provider->initStorageForEvents(3);
            Reply page = Reply::array({Reply::parse(c.element), at(-1'000'000, 8)});
            provider->fillEventsFromDictionary(page, 3);
            const auto fields = entry(3)->fields();
            EXPECT_EQ(fields.type, ScrubberEventTypeItem);
            EXPECT_EQ(fields.identificator, c.id);
            EXPECT_EQ(fields.name, c.name);
            EXPECT_EQ(fields.time, c.time);
            EXPECT_EQ(fields.imageUrl, c.imageUrl);
            EXPECT_EQ(fields.videoUrl, "");
            EXPECT_EQ(fields.timeAsValue, c.moment);
            EXPECT_EQ(fields.start, c.start);
            EXPECT_EQ(entry(2)->identificator(), 8) << "the neighbour has moved";
        }
    }
}

TEST_F(EventFilling, PlacesAndGroupsAPage) {
    const struct {
        bool grouping;
        std::uint64_t slots, index;
        std::vector<TimeMs> times;
        const char* shape;
    } cases[] = {
        {false, 12, 10, {30, 20, 10}, ".......321.."},
        {false, 12, 14, {30}, "............"},
        {true, 12, 14, {30}, "............"},
        {true, 6, 6, {100000, 95000, 60000, 58000, 30000, 0}, "65[43][21]"},
        {true, 3, 3, {20000, 10000}, ".[21]"},
        {true, 3, 3, {20001, 10000}, ".21"},
        {true, 3, 3, {20000, 15000, 10000}, "[321]"},
        // Neighbours count, not the whole span.
        {true, 4, 4, {30000, 21000, 12000, 3000}, "[4321]"},
        // More elements than slots: the fill ends at the head entry.
        {false, 2, 2, {300000, 200000, 100000, 0}, "21"},
        {true, 2, 2, {300000, 200000, 100000, 0}, "21"},
        {true, 2, 2, {300000, 200000, 195000, 190000}, "21"},
        // A page of an earlier, longer list.
        {false, 2, 3, {300000}, ".."},
        {true, 2, 3, {300000}, ".."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(fill(c.slots, c.times, c.index, c.grouping), c.shape) << "grouping " << c.grouping;
        EXPECT_EQ(entry(0)->type(), ScrubberEventTypeHead);
        EXPECT_EQ(entry(provider->OnScrubberGetEventsCount() - 1)->type(), ScrubberEventTypeLive);
    }
}

TEST_F(EventFilling, OldestFirstWhatDoesNotFitEndsAtTheLastEntry) {
    bind();
    provider->setSource(service.makeToken(), -1, -1, std::nullopt, 1, 0, 0, -1);
    EXPECT_EQ(fill(3, {1, 2, 3}, 1, false), "123");
    EXPECT_EQ(fill(2, {1, 2, 3, 4, 5}, 1, false), "12");
    EXPECT_EQ(entry(3)->identificator(), 5);
    // Each element joins the one before, and the slot that moves into the place of one that is folded is passed over.
    EXPECT_EQ(fill(4, {1, 90'000, 500'000, 600'000}, 1, true), "[321].");
}

struct Mode {
    bool isGrouping;
    bool isAscending;
    unsigned seed;
};

class RandomPages : public EventFilling, public ::testing::WithParamInterface<Mode> {
  protected:
    void addRandomEvents(int count) {
        service.withFootage([&](ScriptedFootage& footage) {
            TimeMs time = scheduler.utcNow() - 100'000'000;
            for (int id = 1; id <= count; ++id) {
                constexpr TimeMs gaps[] = {0, 1000, 5000, 10000, 10001, 40000, 90000};
                time += gaps[random() % std::size(gaps)];
                footage.addEvent({id, time,
                                  random() % 20 == 0  ? "Doorbell"
                                  : random() % 5 == 0 ? "sound"
                                                      : "motion",
                                  ""});
            }
        });
    }

    Reply answerTo(const ScriptedRequest& request) {
        Reply reply;
        service.withFootage([&](ScriptedFootage& footage) { reply = footage.events(request, {}); });
        return reply;
    }

    // That of the default walks over the whole list.
    void expectSameFinds() {
        ScrubberDataSourceDelegate& list = *provider;
        for (int i = 0; i < 20; ++i) {
            const auto& sought = *plain.list[random() % plain.list.size()];
            const auto from = static_cast<std::int64_t>(random() % plain.list.size());
            auto query = ScrubberEventQuery::at(sought.time, from);
            if (random() % 2 == 0) query.notAfter += static_cast<TimeMs>(random() % 100'000);
            if (random() % 3 == 0) query.identificator = sought.id;
            ASSERT_EQ(list.OnScrubberFindEvent(query), list.ScrubberDataSourceDelegate::OnScrubberFindEvent(query));
        }
    }

    void expectSameLists() {
        expectSameFinds();
        ASSERT_EQ(provider->OnScrubberGetEventsCount(), static_cast<std::int64_t>(plain.list.size()));
        for (std::size_t i = 0; i < plain.list.size(); ++i) {
            const auto event = entry(static_cast<std::int64_t>(i))->fields();
            const auto& expected = *plain.list[i];
            std::vector<std::int64_t> ids, expectedIds;
            for (const auto& child : event.childs) {
                ids.push_back(child->identificator().value());
                ASSERT_EQ(child->parent(), entry(static_cast<std::int64_t>(i)));
            }
            for (const auto& child : expected.childs) expectedIds.push_back(child->id);
            ASSERT_EQ(std::tuple(event.type, event.identificator.value(), event.timeAsValue, event.start, event.end,
                                 event.name.value(), ids),
                      std::tuple(expected.type, expected.id, expected.time, expected.start, expected.end, expected.name,
                                 expectedIds))
                << "at " << i;
        }
    }

    std::mt19937 random{GetParam().seed};
    PlainEventList plain;
};

INSTANTIATE_TEST_SUITE_P(Modes, RandomPages,
                         ::testing::Values(Mode{true, false, 1}, Mode{true, false, 2}, Mode{true, false, 3},
                                           Mode{false, false, 4}, Mode{true, true, 5}, Mode{false, true, 6}));

TEST_P(RandomPages, AgreeWithThePlainList) {
    constexpr int total = 700;
    addRandomEvents(total);
    provider->enableEventGrouping(GetParam().isGrouping);
    bind();
    if (GetParam().isAscending) {
        provider->setSource(service.makeToken(), -1, -1, std::nullopt, 1, 0, 0, -1);
        provider->refresh();
        scheduler.runUntilIdle();
    }
    plain.isGrouping = GetParam().isGrouping;
    plain.isAscending = GetParam().isAscending;
    plain.create(total);
    plain.fill(answerTo(service.requests("getEvents").back())["objects"], plain.isAscending ? 1 : total);
    expectSameLists();

    for (int round = 0; round < static_cast<int>(roundsOf(60)) && !HasFatalFailure(); ++round) {
        const std::size_t index = random() % (plain.list.size() + 2);
        service.clearRequests();
        const bool asks = index < plain.list.size() && plain.list[index]->type == -1;
        check(index);
        const auto requests = service.requests("getEvents");
        ASSERT_EQ(requests.size(), asks ? 1u : 0u);
        if (!asks) continue;
        const std::size_t last = plain.endOfRun(index);
        ASSERT_EQ(requests[0].offset, plain.serviceOffset(last));
        ASSERT_EQ(requests[0].limit, 100);
        plain.fill(answerTo(requests[0])["objects"], last);
        expectSameLists();
    }
}

}  // namespace
}  // namespace korvane::test
