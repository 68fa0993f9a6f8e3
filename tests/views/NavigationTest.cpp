#include <limits>

#include "korvane/tests/views/StripFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

class NavigationTest : public StripTest {
  protected:
    using Operation = std::function<void(ScrubberView&)>;

    /// What the host hears of an operation until the strip rests.
    Lines hear(const Operation& operation) {
        host_.take();
        operation(*view_);
        ui_.advance(1100ms);
        return host_.take();
    }

    /// A list of the host's own with this entry playing; -1 lets none play.
    std::shared_ptr<OwnEvents> playIn(std::int64_t entries, std::int64_t index) {
        view_->clean();
        const auto source = show(entries);
        if (index >= 0) view_->toEvent(source->OnScrubberGetEventByIndex(index));
        comeToRestUnheard();
        EXPECT_EQ(playing(), index);
        return source;
    }

    /// The id of what plays, which is its index in a list of the host's own.
    std::int64_t playing() const {
        const auto current = view_->getCurrentEvent();
        return current ? current->identificator().value_or(0) : -1;
    }

    const Operation next_ = &ScrubberView::toNextEvent;
    const Operation previous_ = &ScrubberView::toPreviousEvent;
};

TEST_F(NavigationTest, ListsOfEveryLengthWithNothingPlaying) {
    struct Case {
        const char* name;
        Operation run;
        std::vector<Lines> heard;  // by the list's length, from 0
    };
    const Case cases[] = {
        {"first", &ScrubberView::toFirstEvent, {{}, {}, {"select live"}, {"select 1"}, {"select 1"}}},
        {"last", &ScrubberView::toLastEvent, {{}, {}, {"select live"}, {"select 1"}, {"select 2"}}},
        {"next", next_, {{}, {}, {}, {}, {}}},
        {"previous", previous_, {{}, {}, {}, {"select 1"}, {"select 2"}}},
        {"closest",
         [](auto& view) { view.toClosestEvent(nullptr); },
         {{}, {}, {"select live"}, {"select live"}, {"select live"}}},
        {"third entry", [](auto& view) { view.toEventAt(2); }, {{}, {}, {}, {"select live"}, {"select 2"}}},
    };
    for (const Case& c : cases) {
        for (std::size_t count = 0; count < c.heard.size(); ++count) {
            playIn(static_cast<std::int64_t>(count), -1);
            EXPECT_EQ(hear(c.run), c.heard[count]) << c.name << " of " << count;
        }
    }
}

TEST_F(NavigationTest, NeighboursOfWhatPlays) {
    struct Case {
        std::int64_t from;  // of entries 1 to 4
        Operation run;
        Lines heard;
        std::int64_t playsThen;
    };
    const Case cases[] = {
        {1, next_, {"select 2"}, 2},
        {4, next_, {"select live"}, -1},
        {1, previous_, {}, 1},
        {4, previous_, {"select 3"}, 3},
        {2, [](auto& view) { view.toNextEventWithSendNotify(false); }, {}, 3},
        {2, [](auto& view) { view.toPreviousEventWithSendNotify(false); }, {}, 1},
        {2, [](auto& view) { view.toEvent(nullptr, true, false); }, {}, 2},
        {2, [](auto& view) { view.toEvent(ScrubberEvent::build(123)); }, {}, 2},
        {2, [](auto& view) { view.toEvent(view.getEvent(4), false); }, {}, 4},
    };
    for (const Case& c : cases) {
        playIn(6, c.from);
        EXPECT_EQ(hear(c.run), c.heard) << "from " << c.from;
        EXPECT_EQ(playing(), c.playsThen) << "from " << c.from;
    }

    playIn(6, 2);
    hear(next_);
    view_->updateScrubberData();
    ui_.advance(1100ms);
    EXPECT_EQ(playing(), 2) << "the position was left alone";
}

TEST_F(NavigationTest, NeighboursAreOtherEntriesAlsoOfTheSameMoment) {
    const auto source = playIn(6, 1);
    for (const std::int64_t index : {1, 2, 3}) source->made[index]->setTimeAsValue(source->made[2]->timeAsValue());
    for (const std::int64_t index : {2, 3, 4}) EXPECT_EQ(hear(next_), Lines{"select " + std::to_string(index)});
    for (const std::int64_t index : {3, 2, 1}) EXPECT_EQ(hear(previous_), Lines{"select " + std::to_string(index)});
    EXPECT_EQ(hear(previous_), Lines{});
}

TEST_F(NavigationTest, ClosestIsTheFirstOfTheDayThatBeginsThen) {
    constexpr TimeMs day = 86'400'000;
    constexpr TimeMs first = 1'060'000 + 2 * day;  // entries follow by the minute
    const std::pair<TimeMs, Lines> cases[] = {
        // none: the provider was asked, and has nothing
        {first, {"select 1"}}, {first + 1, {"select 2"}},
        {first + 120'001, {}}, {first - day + 1, {"select 1"}},
        {first - day, {}},     {std::numeric_limits<TimeMs>::max(), {}},
        {0, {"select live"}},  {std::numeric_limits<TimeMs>::min(), {"select live"}},
    };
    const auto source = playIn(5, -1);
    for (const std::int64_t index : {1, 2, 3}) source->made[index]->setTimeAsValue(first + (index - 1) * 60'000);
    for (const auto& [time, heard] : cases) {
        EXPECT_EQ(hear([at = time](auto& view) { view.toClosestEvent(ScrubberEvent::build(at)); }), heard) << time;
    }
    source->made[1]->setType(ScrubberEventTypePending);
    EXPECT_EQ(hear([](auto& view) { view.toClosestEvent(first + 1); }), Lines{}) << "something closer may lie before";
}

TEST_F(NavigationTest, WhatIsNotLoadedIsFetchedByItsTime) {
    load(250);
    const auto goTo = [this](TimeMs time) { return hear([&](auto& view) { view.toClosestEvent(time); }); };
    const TimeMs oldest = view_->getEvent(151)->timeAsValue();
    EXPECT_EQ(goTo(oldest + 30'000).front(), "select 152");
    goTo(oldest);
    EXPECT_EQ(service_.count("getEvents"), 2U) << "the hole before that moment is in view";

    const TimeMs unknown = oldest - 60 * 30'000;
    const Lines heard = goTo(unknown);
    ASSERT_GT(playing(), 0);
    EXPECT_NEAR(static_cast<double>(view_->getCurrentEvent()->timeAsValue()), static_cast<double>(unknown), 60'000);
    EXPECT_EQ(underMark(), playing());
    EXPECT_EQ(heard.back(), "select " + std::to_string(playing()));

    // The live entry can play only where the provider has sent the strip.
    EXPECT_EQ(goTo(view_->getEvent(250)->timeAsValue() + 1).back(), "select live");
    ASSERT_TRUE(view_->getCurrentEvent());
    EXPECT_EQ(hear(next_), Lines{});
    EXPECT_EQ(hear(previous_), Lines{"select 250"});
}

TEST_F(NavigationTest, TheNextFollowsWhenHostAndSettingSaySo) {
    // The delegate's answer, QML's, the setting; whether the next one follows.
    using Answer = std::optional<std::int32_t>;
    const std::tuple<Answer, bool, bool, bool> cases[] = {
        {1, false, true, true}, {1, false, false, false}, {2, false, true, false}, {0, true, true, false},
        {{}, true, true, true}, {{}, false, true, false}, {{}, true, false, false}};
    for (const auto& [answer, ofQml, isSet, follows] : cases) {
        view_->playback()->setPosition(0);
        playIn(6, 2);
        host_.delegate->OnScrubberEventPlayFinished = {};
        if (answer) host_.delegate->OnScrubberEventPlayFinished = [told = *answer](const auto&) { return told; };
        view_->playback()->setNextEventFollows(ofQml);
        view_->getConfig().setContinuousEventPlaying(isSet);
        view_->playback()->setPosition(view_->getCurrentEvent()->end());
        ui_.advance(5s, 50ms);
        EXPECT_EQ(playing(), follows ? 3 : 2) << answer.value_or(-1);
    }
}

TEST_F(NavigationTest, WhoWalksFindsTheNeighboursLoaded) {
    load(450);
    service_.scriptAll("getEvents", Script::late(800ms));
    view_->toLastEvent();
    ui_.advance(1s);
    for (std::int64_t walked = 0; walked < 300; ++walked) {
        view_->toPreviousEvent();
        ui_.advance(150ms, 50ms);
        const auto under = view_->getEvent(underMark());
        ASSERT_TRUE(under && under->type() == ScrubberEventTypeItem) << walked << ' ' << underMark();
    }
    EXPECT_LE(service_.count("getEvents"), 5U);
}

}  // namespace
}  // namespace korvane::test
