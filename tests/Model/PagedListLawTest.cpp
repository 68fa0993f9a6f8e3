#include <map>
#include <random>

#include "korvane/client/Status.h"
#include "korvane/tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

// Nothing is lost: whatever order pages come in, however they overlap, repeat, fail and come late, with groups or
// without, and while entries are deleted, the list is the service's own, kept here as a plain sorted map.
class PagedListLaw : public ProviderTest, public ::testing::WithParamInterface<unsigned> {
  protected:
    struct Truth {
        TimeMs time = 0;
        std::string name;
    };

    std::int64_t draw(std::int64_t count) { return static_cast<std::int64_t>(random() % static_cast<unsigned>(count)); }
    bool oneIn(unsigned count) { return random() % count == 0; }
    std::int64_t drawId() { return draw(static_cast<std::int64_t>(moments.size()) + 20); }
    static bool isPending(const std::shared_ptr<ScrubberEvent>& e) { return e->type() == ScrubberEventTypePending; }
    const char* pageRequest() const { return isRecords ? "getRecords" : "getEvents"; }

    void addFootage(std::int64_t count) {
        TimeMs time = scheduler.utcNow() - 100'000'000;
        service.withFootage([&](ScriptedFootage& footage) {
            for (std::int64_t id = 1; id <= count; ++id) {
                constexpr TimeMs gaps[] = {1, 1000, 5000, 10'000, 10'001, 12'000, 90'000};
                time += gaps[draw(std::size(gaps))];
                const std::string name = isRecords ? "record_segment" : oneIn(20) ? "Doorbell" : "motion";
                footage.addEvent({id, time, name, ""});
                // Many of them end before they begin.
                footage.addRecord({id, time, time + (oneIn(2) ? -2 : 500), "v", ""});
                truth[id] = {time, name};
                moments[id] = time;
            }
        });
    }

    void bindWithLimit() {
        bind();
        provider->setSource(service.makeToken(), -1, -1, std::nullopt, isAscending, limit, 0, -1);
        provider->refresh();
        scheduler.runUntilIdle();
        expected.clear();
        for (const auto& [id, event] : truth) expected.push_back(id);
        delegate->take();
        // What comes later is of no account before the next refresh.
        service.withFootage([&](ScriptedFootage& footage) {
            footage.addEvent({100'000, scheduler.utcNow() + 1, "motion", ""});
            footage.addRecord({100'000, scheduler.utcNow() + 1, scheduler.utcNow() + 2, "v", ""});
        });
    }

    // A page that fails in any way is asked for again when it is due, and not before; who wants to go there hears of it
    // at once.
    void expectBarring() {
        const auto shown = provider->getEvents();
        const auto pending = std::ranges::find_if(shown, isPending);
        if (pending == shown.end()) return;
        const auto index = pending - shown.begin();
        const auto withObjects = [](const Reply& value) {
            return Script::altered([value](Reply& reply) { reply["objects"] = value; });
        };
        const std::pair<Script, std::int32_t> failures[] = {{Script::failed(503), 503},
                                                            {Script::answered("no object"), 0},
                                                            {withObjects(5), 0},
                                                            {withObjects(Reply::array()), 0},
                                                            {Script::failed(StatusTimedOut), StatusTimedOut}};
        for (std::chrono::seconds wait{5}; const auto& [script, status] : failures) {
            const Calls failed{"reload " + std::to_string(status) + " 0"};
            service.clearRequests();
            service.scriptNext(pageRequest(), script);
            check(static_cast<std::uint64_t>(index));
            EXPECT_EQ(delegate->take(), failed);
            scheduler.advance(wait - std::chrono::milliseconds(1));
            check(static_cast<std::uint64_t>(index));
            check(static_cast<std::uint64_t>(index), index);
            EXPECT_EQ(delegate->take(), failed);
            EXPECT_EQ(service.count(pageRequest()), 1u);
            scheduler.advance(std::chrono::milliseconds(1));
            EXPECT_EQ(delegate->take(), Calls{"redraw"}) << "after " << wait.count();
            wait = std::min(wait * 2, std::chrono::seconds(60));
        }
    }

    Script randomScript() {
        switch (draw(12)) {
            case 0:
                return Script::failed(503);
            case 1:
                return Script::late(std::chrono::milliseconds(draw(9000)));
            case 2:
                return Script::answered(Reply::array());
            case 3:
                return Script::altered([](Reply& reply) { reply.erase("meta"); });
            case 4:
            case 5:
            case 6:
                return Script::held();
            default:
                return {};
        }
    }

    void page() {
        const std::int64_t count = provider->OnScrubberGetEventsCount();
        for (std::int64_t i = draw(4); i >= 0; --i) {
            service.scriptAll(pageRequest(), randomScript());
            const std::int64_t index = draw(count + 1);
            check(static_cast<std::uint64_t>(index), oneIn(3) ? index : -1, oneIn(4) ? momentOf(drawId()) : -1);
        }
        if (oneIn(3)) service.releaseAllReversed();
        if (oneIn(3)) service.releaseAll();
        scheduler.advance(std::chrono::milliseconds(oneIn(3) ? draw(12'000) : 0));
        // Nothing that is under way is asked for twice. After a deletion an offset means another page.
        if (truth.size() < moments.size()) return;
        std::set<std::pair<TimeMs, std::int64_t>> offsets;
        for (const auto& request : service.held()) {
            if (request.name != pageRequest()) continue;
            EXPECT_TRUE(offsets.emplace(request.end, request.offset).second) << request.offset;
        }
    }

    TimeMs momentOf(std::int64_t number) const {
        const auto found = truth.lower_bound(number);
        return found == truth.end() ? truth.rbegin()->second.time + 5000 : found->second.time;
    }

    std::shared_ptr<ScrubberEvent> randomLoaded() {
        const auto event = entry(draw(provider->OnScrubberGetEventsCount()));
        const auto childs = event->childs();
        if (!childs.empty()) return childs[static_cast<std::size_t>(draw(static_cast<std::int64_t>(childs.size())))];
        return event->type() == ScrubberEventTypeItem ? event : nullptr;
    }

    void removeOne() {
        const auto event = randomLoaded();
        if (!event || isRecords) return;
        const auto id = event->identificator().value();
        service.scriptAll("deleteEvent", oneIn(4) ? Script::failed(500) : oneIn(2) ? Script::held() : Script());
        provider->deleteEvent(event, [this, id](std::int32_t status, const std::string&) {
            if (status != 0) return;
            truth.erase(id);
            confirmed.push_back(id);
        });
        scheduler.runUntilIdle();
    }

    void takeOutOne() {
        if (confirmed.empty()) return;
        const auto id = confirmed.back();
        confirmed.pop_back();
        const auto before = provider->OnScrubberGetEventsCount();
        const auto index = provider->OnScrubberDeleteEvent(ScrubberEvent::build(id, 1));
        EXPECT_GE(index, 1);
        EXPECT_LE(before - provider->OnScrubberGetEventsCount(), 1);
        const auto gone = std::ranges::find(expected, id);
        if (const auto group = groups.extract(id); group && gone != expected.begin())
            groups[*(gone - 1)] = group.mapped();
        expected.erase(gone);
        objects.erase(id);
    }

    void jump() {
        const TimeMs time = momentOf(drawId()) + draw(3) * 1000 - 1000 - draw(2);
        const bool isClosest = oneIn(2);
        delegate->take();
        service.scriptAll(pageRequest(), {});
        provider->updateForTime(time, true, isClosest);
        scheduler.runUntilIdle();
        const auto calls = delegate->take();
        if (calls.empty() || !calls.back().starts_with("index") || !confirmed.empty()) return;
        std::int64_t before = 0;
        for (const auto& [id, event] : truth) before += event.time <= time + 1000 ? 1 : 0;
        std::istringstream words(calls.back().substr(6));
        std::int64_t index = 0, status = 0, scroll = 0;
        words >> index >> status >> scroll;
        // Where nothing is earlier, to the oldest.
        const auto wish = before + (isClosest || before == 0 ? 1 : 0);
        if (wish > static_cast<std::int64_t>(expected.size())) return;
        const auto event = entry(scroll);
        auto shown = event->childs();
        if (shown.empty()) shown = {event};
        const auto wanted = expected[static_cast<std::size_t>(wish - 1)];
        EXPECT_TRUE(std::ranges::any_of(
            shown,
            [&](const auto& e) { return e->identificator() == wanted || (!isClosest && e->timeAsValue() == time); }))
            << "to " << wanted << " at " << scroll;
    }

    // A moment that is loaded is gone to where it is shown, whatever the index, and asks for nothing.
    void goToLoaded() {
        const auto event = randomLoaded();
        if (!event) return;
        const auto shown = provider->getEvents();
        const auto place = std::ranges::find(shown, event->parent() ? event->parent() : event) - shown.begin();
        const auto index = std::to_string(place), size = std::to_string(shown.size());
        delegate->take();
        check(0, 0, event->timeAsValue());
        EXPECT_EQ(delegate->take(), Calls{"index " + index + " 0 " + index + " " + size + " " + size});
    }

    // The entries of all slots, a group's members in place of it.
    std::vector<std::shared_ptr<ScrubberEvent>> slots() {
        const auto shown = provider->getEvents();
        EXPECT_EQ(static_cast<std::int64_t>(shown.size()), provider->OnScrubberGetEventsCount());
        std::vector<std::shared_ptr<ScrubberEvent>> all;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            if (shown[i] != entry(static_cast<std::int64_t>(i))) ADD_FAILURE() << "not what is shown at " << i;
            auto childs = shown[i]->childs();
            if (childs.empty()) {
                const bool isAlone = !shown[i]->parent() && shown[i]->type() != ScrubberEventTypeGroup;
                if (!isAlone) ADD_FAILURE() << "half a group at " << i;
                all.push_back(shown[i]);
                continue;
            }
            if (isAscending) std::ranges::reverse(childs);
            expectGroup(*shown[i], childs);
            all.insert(all.end(), childs.begin(), childs.end());
        }
        return all;
    }

    // Its members are from old to new.
    void expectGroup(const ScrubberEvent& group, const std::vector<std::shared_ptr<ScrubberEvent>>& members) {
        ASSERT_TRUE(isGrouping);
        ASSERT_GE(members.size(), 2u);
        const auto& face = isAscending ? members.back() : members.front();
        const auto& last = isAscending ? members.front() : members.back();
        EXPECT_EQ(
            std::tuple(group.type(), group.identificator(), group.timeAsValue(), group.start(), group.end()),
            std::tuple(ScrubberEventTypeGroup, face->identificator(), face->timeAsValue(), face->start(), last->end()));
        const bool rings = std::ranges::any_of(members, [](const auto& e) { return e->name() == "Doorbell"; });
        EXPECT_EQ(group.name(), rings ? "Doorbell" : face->name());
        // It stays the same object, also when it grows together with older ones or its newest member is deleted.
        const auto& object =
            groups.try_emplace(*members.back()->identificator(), members.back()->parent()).first->second;
        EXPECT_EQ(object.get(), &group);
        for (std::size_t i = 0; i < members.size(); ++i) {
            EXPECT_EQ(members[i]->parent().get(), &group);
            if (i == 0 || isAscending) continue;
            // What a deletion has parted stays together.
            for (auto id = members[i - 1]->identificator().value(); id < members[i]->identificator(); ++id) {
                EXPECT_LE(moments[id + 1] - moments[id], isRecords ? 10'501 : 10'000);
            }
        }
    }

    void expectLawful() {
        const auto all = slots();
        ASSERT_EQ(all.size(), expected.size() + 2);
        EXPECT_EQ(all.front()->type(), ScrubberEventTypeHead);
        EXPECT_EQ(all.back()->type(), ScrubberEventTypeLive);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            if (all[i + 1]->type() == ScrubberEventTypePending) continue;
            ASSERT_EQ(all[i + 1]->identificator(), expected[i]) << "in slot " << i + 1;
            auto& object = objects[expected[i]];
            if (!object) object = all[i + 1];
            ASSERT_EQ(object, all[i + 1]) << "another object for the same entry";
        }
        if (all[1]->hasSpan()) {
            EXPECT_EQ(provider->OnScrubberFindClosestEventByPosition(all[1]->start()).index, 1);
        }
        const TimeMs moment = momentOf(drawId()) - draw(2);
        auto query = ScrubberEventQuery::at(moment, drawId() - 1);
        query.notAfter += draw(2) * draw(100'000);
        if (oneIn(3)) query.identificator = drawId();
        expectPlainSearches(*provider, moment, query);
    }

    // As a strip that rests on one place after the other.
    void lookAtAll() {
        service.clearRequests();
        const auto pages = 10 + 4 * expected.size() / static_cast<std::size_t>(std::max<std::int64_t>(limit, 1));
        for (std::size_t round = 0; round < pages; ++round) {
            const auto shown = provider->getEvents();
            const auto pending = std::ranges::find_if(shown, isPending);
            if (pending == shown.end()) return;
            check(static_cast<std::uint64_t>(pending - shown.begin()));
            scheduler.advance(std::chrono::minutes(2));
        }
        ADD_FAILURE() << "slots stay pending after " << service.count(pageRequest()) << " requests";
    }

    void endQuietly() {
        service.scriptAll(pageRequest(), {});
        service.releaseAll();
        scheduler.advance(std::chrono::minutes(2));
        while (!confirmed.empty()) takeOutOne();
        lookAtAll();
    }

    std::mt19937 random{GetParam()};
    const bool isRecords = GetParam() % 4 == 0;
    const bool isAscending = GetParam() % 7 == 0;
    bool isGrouping = GetParam() % 2 == 0;
    std::int64_t limit = 0;
    // What the service has, what the list has to have, and what is confirmed gone of it but still shown.
    std::map<std::int64_t, Truth> truth;
    std::map<std::int64_t, TimeMs> moments;
    std::vector<std::int64_t> expected;
    std::vector<std::int64_t> confirmed;
    std::map<std::int64_t, std::shared_ptr<ScrubberEvent>> objects;
    // By their newest members.
    std::map<std::int64_t, std::shared_ptr<ScrubberEvent>> groups;
};

TEST_P(PagedListLaw, NothingIsLost) {
    if (isRecords) useRecords();
    constexpr std::int64_t limits[] = {1, 2, 5, 30, 100};
    limit = limits[draw(std::size(limits))];
    // Some are longer than one of the list's inner chunks.
    addFootage(limit == 100 ? 1000 + draw(100) : 20 + draw(250));
    provider->enableEventGrouping(isGrouping);
    bindWithLimit();
    expectBarring();
    for (int step = 0; step < 60 && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        switch (draw(6)) {
            case 0:
                provider->enableEventGrouping(isGrouping = !isGrouping);
                groups.clear();
                // What is asked for from the next refresh on is of no account before.
                provider->setSource(service.makeToken(), 5, momentOf(drawId()), "Doorbell", draw(2), limit, 0, -1);
                break;
            case 1:
                removeOne();
                break;
            case 2:
                takeOutOne();
                break;
            case 3:
                goToLoaded();
                jump();
                break;
            default:
                page();
        }
        expectLawful();
    }
    endQuietly();
    expectLawful();
    // Showing groups or not asks for nothing and loses nothing.
    service.clearRequests();
    for (int i = 0; i < 2; ++i) {
        groups.clear();
        provider->enableEventGrouping(isGrouping = !isGrouping);
        expectLawful();
    }
    EXPECT_EQ(service.count(pageRequest()), 0u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PagedListLaw, stormSeeds(60));

}  // namespace
}  // namespace korvane::test
