#include <gmock/gmock.h>

#include "tests/views/StripFixture.h"
#include "toolkit/LayoutConstraint.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using PointerScrollingTest = StripTest;

TEST_F(PointerScrollingTest, AnimationTimeFollowsTheWay) {
    struct Case {
        double from;       // points from the item's rest; positive is left of the mark
        double fixedTime;  // seconds
        std::chrono::milliseconds lasts;
    };
    const Case cases[] = {
        {-300, 0, 1000ms},    {-201, 0, 1000ms}, {-199, 0, 0ms},     {-100, 0, 0ms},
        {0, 0, 0ms},          {100, 0, 500ms},   {199, 0, 995ms},    {300, 0, 1000ms},
        {300, 0.001, 1000ms}, {300, 0.002, 2ms}, {-100, 0.3, 300ms}, {-100, 5.0, 1000ms},
    };
    show(50);
    for (const Case& c : cases) {
        moveTo(20, c.from);
        int completed = 0;
        view_->scrollToPointer(20, c.fixedTime, [&] { ++completed; });
        EXPECT_NEAR(view_->getOffsetBetweenPointerAndItemBegin(20), 0, 1e-6) << "the value set is there at once";
        if (c.lasts > 20ms) {
            ui_.advance(c.lasts - 20ms);
            EXPECT_EQ(completed, 0) << c.from << ", " << c.fixedTime;
        }
        ui_.advance(40ms);
        EXPECT_EQ(completed, 1) << c.from << ", " << c.fixedTime;
        EXPECT_NEAR(strip().seenContentOffset().x, strip().contentOffset().x, 1e-6);
    }
    for (const IndexPath nowhere : {IndexPath(), IndexPath(0), IndexPath(-4)}) {
        const double before = strip().contentOffset().x;
        view_->scrollToPointer(nowhere, 0.5, [] { FAIL() << "called for the head"; });
        ui_.advance(1100ms);
        EXPECT_DOUBLE_EQ(strip().contentOffset().x, before);
    }
}

TEST_F(PointerScrollingTest, TapSelectsAndFetchesWhatIsNear) {
    load(250);
    moveTo(160);
    ui_.tap({250, 60});
    ui_.advance(1100ms);
    EXPECT_THAT(host_.take(), ElementsAre("select 158"));
    ASSERT_TRUE(view_->getCurrentEvent());
    EXPECT_EQ(view_->getCurrentEvent()->identificator(), 158);
    EXPECT_EQ(underMark(), 158);
    EXPECT_EQ(service_.count("getEvents"), 1U) << "it is loaded already";

    // The position was not touched, so that the next change of size brings the old one back.
    ui_.root()->setHeight(121);
    ui_.advance(50ms);
    EXPECT_EQ(underMark(), 251);
    EXPECT_FALSE(view_->getCurrentEvent());
    EXPECT_THAT(host_.take(), IsEmpty());
}

TEST_F(PointerScrollingTest, TapOnTheSpacers) {
    struct Case {
        std::int64_t count;
        double at;  // x of the finger, the strip at its start
        std::vector<std::string> heard;
    };
    // The only entry of a list counts as live, but such a list has nothing to scroll to.
    for (const Case& c : {Case{1, 100, {}}, {2, 100, {}}, {2, 500, {"select live"}}, {5, 100, {}}}) {
        show(c.count);
        strip().setContentOffset({0, 0});
        settle();
        ui_.tap({c.at, 60});
        ui_.advance(1100ms);
        EXPECT_EQ(host_.take(), c.heard) << c.count << " at " << c.at;
    }
}

TEST_F(PointerScrollingTest, PendingPagesFillInWhereTheStripRests) {
    load(250);
    moveTo(100);
    EXPECT_EQ(dateOf(100), "loading...");
    drag(-20);
    ui_.advance(1200ms);
    ASSERT_EQ(service_.count("getEvents"), 2U);
    const auto request = service_.requests("getEvents").back();
    EXPECT_EQ(request.offset, 100);
    EXPECT_EQ(request.limit, 100);
    EXPECT_NE(dateOf(100), "loading...");
    // The page is anchored at entry 150, and that is what the host hears of.
    EXPECT_EQ(host_.count("select pending"), 1U);
    EXPECT_EQ(host_.count("select 150"), 1U);
    EXPECT_EQ(host_.count("state 0>0 0"), 2U);
}

TEST_F(PointerScrollingTest, AFillThatGroupsKeepsTheStripUnderTheMark) {
    service_.withFootage([this](ScriptedFootage& footage) {
        for (std::int64_t id = 1; id <= 300; ++id) {
            footage.addEvent(
                {id, ui_.scheduler().utcNow() - 10'000'000 + (id / 2) * 60'000 + id % 2 * 5'000, "motion", ""});
        }
    });
    view_->getConfig().setEventGrouping(true);
    load(0);
    const std::int64_t before = view_->getEventsCount();
    ASSERT_LT(before, 302);
    moveTo(120);
    drag(-20);
    for (int ms = 0; ms < 1200 && host_.count("state 0>0 0") == 0; ++ms) ui_.advance(1ms);
    ASSERT_EQ(view_->getCurrentEvent(), nullptr);
    ui_.advance(9ms);
    EXPECT_EQ(view_->getCurrentEvent(), nullptr) << "the new layout has not settled";
    ui_.advance(2ms);
    EXPECT_NE(view_->getCurrentEvent(), nullptr);
    ui_.advance(1200ms);
    EXPECT_LT(view_->getEventsCount(), before);
    EXPECT_EQ(strip().numberOfItems(), view_->getEventsCount());
    EXPECT_EQ(host_.count("state 0>0 0"), 1U);
    ASSERT_TRUE(view_->getCurrentEvent());
    EXPECT_EQ(view_->getCurrentEvent(), view_->getEvent(underMark()));
    EXPECT_EQ(view_->getCurrentEvent()->type(), ScrubberEventTypeGroup);
    EXPECT_TRUE(dateOf(underMark()).endsWith("(2)"));
}

TEST_F(PointerScrollingTest, SlowDragFliesOverAndSnaps) {
    const auto source = show(50);
    moveTo(20);
    drag(-130);
    const auto heard = host_.lines;
    ASSERT_GE(heard.size(), 4U);
    EXPECT_EQ(heard.front(), "start 20");
    EXPECT_GE(host_.count("continue 20"), 2U);
    EXPECT_GE(host_.count("continue 21"), 1U);
    EXPECT_EQ(heard.back(), "end 21");
    ui_.advance(1100ms);
    EXPECT_EQ(host_.count("select 21"), 1U);
    EXPECT_NEAR(view_->getOffsetBetweenPointerAndItemBegin(21), 0, 1e-6);

    // The moment under the mark was written into the entries, and stays there.
    const auto passed = source->OnScrubberGetEventByIndex(20);
    EXPECT_GT(passed->timeAsValue(), passed->start() + 30'000);
    EXPECT_EQ(passed->timeAsValue() % 1000, 0);
}

TEST_F(PointerScrollingTest, WithoutAListenerADragChangesNoEntry) {
    const auto source = show(50);
    host_.delegate->OnScrubberDraggingContinueFlyOverEvent = nullptr;
    const TimeMs before = source->OnScrubberGetEventByIndex(20)->timeAsValue();
    moveTo(20);
    drag(-50);
    EXPECT_EQ(source->OnScrubberGetEventByIndex(20)->timeAsValue(), before);

    QObject::connect(view_.get(), &ScrubberView::scrubberDraggingContinueFlyOverEvent, [](const auto&) {});
    ui_.advance(1100ms);
    moveTo(20);
    drag(-50);
    EXPECT_NE(source->OnScrubberGetEventByIndex(20)->timeAsValue(), before) << "a QML handler listens as well";
}

TEST_F(PointerScrollingTest, FlickIsSilentUntilItRests) {
    show(2000);
    moveTo(1000);
    ui_.drag({600, 60}, {200, 60}, 80ms);
    settle();
    ASSERT_TRUE(strip().isDecelerating());
    host_.take();
    for (int i = 0; i < 400 && strip().isDecelerating(); ++i) ui_.advance(16ms);
    ui_.advance(1100ms);
    const auto rested = underMark();
    EXPECT_GT(rested, 1003);
    EXPECT_THAT(host_.take(), ElementsAre("select " + std::to_string(rested)));
}

TEST_F(PointerScrollingTest, ARestWithinThePlayingEntrySeeks) {
    show(50);
    moveTo(20);
    dragToRest(-20);
    ASSERT_EQ(host_.count("select 20"), 1U);
    host_.take();
    const double before = strip().contentOffset().x;

    dragToRest(-50);
    const double moved = strip().contentOffset().x - before;
    EXPECT_GT(moved, 30) << "it stays where it was dropped";
    EXPECT_EQ(host_.count("select 20"), 0U);
    const TimeMs start = view_->getEvent(20)->start();
    const TimeMs expected = (start / 1000 + static_cast<TimeMs>(moved * 50 / 100)) * 1000;
    EXPECT_EQ(host_.take().back(), "seek 20 " + std::to_string(expected));

    // An entry without an id is never the same one.
    view_->getEvent(20)->setIdentificator(0);
    dragToRest(-20);
    EXPECT_EQ(host_.count("select 0"), 1U);
}

TEST_F(PointerScrollingTest, ARestInAGapGoesLive) {
    view_->getConfig().setCellSeparatorWidth(40);
    view_->applyConfig();
    show(30);
    moveTo(10, 118);
    ASSERT_EQ(underMark(), -1);
    moveTo(10, 105);
    dragToRest(-20);
    EXPECT_EQ(host_.count("select live"), 1U);
    EXPECT_EQ(underMark(), 29);
    EXPECT_FALSE(view_->getCurrentEvent());
}

TEST_F(PointerScrollingTest, ARestOnTheHeadSelectsNothingAndStopsPlayback) {
    show(30);
    moveTo(1);
    dragToRest(-20);
    ASSERT_TRUE(view_->getCurrentEvent());
    host_.take();
    moveTo(1, -30);  // where only the rubber band lets a finger go
    view_->scrollViewDidEndDragging(strip(), false);
    EXPECT_EQ(host_.take(), std::vector<std::string>{"end 0"});
    ui_.advance(1100ms);
    EXPECT_EQ(underMark(), 0);
    EXPECT_FALSE(view_->getCurrentEvent());
    EXPECT_THAT(host_.take(), IsEmpty());
}

TEST_F(PointerScrollingTest, PositionIsFoundExactlyOrNotAtAll) {
    const auto source = show(500);
    view_->toEvent(source->OnScrubberGetEventByIndex(40));
    ui_.advance(50ms);
    EXPECT_THAT(host_.take(), ElementsAre("select 40"));
    EXPECT_EQ(underMark(), 40);
    EXPECT_EQ(view_->getCurrentEvent(), source->OnScrubberGetEventByIndex(40));

    view_->toEvent(ScrubberEvent::build(123));
    ui_.advance(50ms);
    EXPECT_EQ(underMark(), 40);
    view_->toEvent(source->OnScrubberGetEventByIndex(300), false);
    ui_.advance(50ms);
    EXPECT_EQ(underMark(), 300);
    EXPECT_THAT(host_.take(), IsEmpty());

    view_->toEvent(nullptr, true, false);
    ui_.advance(50ms);
    EXPECT_EQ(underMark(), 300) << "without a scroll the playing cell starts anew";
    EXPECT_EQ(view_->getCurrentEvent(), source->OnScrubberGetEventByIndex(300));
    view_->updateScrubberData();
    ui_.advance(50ms);
    EXPECT_EQ(underMark(), 499);
    EXPECT_FALSE(view_->getCurrentEvent());
}

TEST_F(PointerScrollingTest, PositionSurvivesAResizeInAnyPhase) {
    const auto source = show(500);
    host_.delegate->OnScrubberDraggingContinueFlyOverEvent = nullptr;  // it would change the moment that is sought
    for (const std::int64_t index : {40, 499}) {
        for (const double width : {500.0, 1000.0, 801.0}) {
            view_->toEvent(index == 499 ? nullptr : source->OnScrubberGetEventByIndex(index));
            ui_.advance(50ms);
            ui_.press({300, 60});
            ui_.advance(16ms);
            ui_.move({260, 60});
            ui_.root()->setWidth(width);
            ui_.advance(50ms);
            EXPECT_EQ(underMark(), index) << width;
            EXPECT_NEAR(view_->getOffsetBetweenPointerAndItemBegin(index), 0, 1e-6) << width;
            ui_.release({260, 60});
            ui_.advance(2s);
        }
    }
}

TEST_F(PointerScrollingTest, ARecycledCellPlaysNoLonger) {
    show(5000);
    moveTo(20);
    dragToRest(-20);
    ASSERT_TRUE(view_->getCurrentEvent());
    for (const std::int64_t far : {1000, 2000, 3000}) moveTo(far);
    const auto current = view_->getCurrentEvent();
    EXPECT_TRUE(!current || current->identificator() == 20);
    host_.take();
    dragToRest(-20);
    EXPECT_EQ(host_.count("select 3000"), 1U) << "a new selection, and no seek within a recycled cell";
}

TEST_F(PointerScrollingTest, ProgressMovesBarAndStripUntilTheEnd) {
    show(50);
    moveTo(20);
    ScrubberCell* const playing = cell(20);
    playing->startProgress(view_.get());
    auto* const bar = qvariant_cast<LayoutConstraint*>(playing->property("progress"));
    const TimeMs start = view_->getEvent(20)->start();
    const TimeMs end = view_->getEvent(20)->end();
    double base = 0;
    double previous = 0;
    const double from = strip().contentOffset().x;
    const auto expectAt = [&](TimeMs position, double barLength, double moved) {
        playing->advanceProgressTo(position, start, end, base, previous);
        settle();
        EXPECT_DOUBLE_EQ(bar->constant(), barLength) << position - start;
        EXPECT_DOUBLE_EQ(strip().contentOffset().x - from, moved) << position - start;
    };
    expectAt(start + 25'000, 50, 50);
    EXPECT_LT(bar->seen(), 50);
    playing->pauseProgress(true);
    expectAt(start + 30'000, 50, 60);
    playing->pauseProgress(false);
    playing->pauseScroll(true);
    expectAt(start + 35'000, 70, 60);
    playing->pauseScroll(false);
    expectAt(end + 60'000, 100, 60);  // held at the end of the picture
    playing->stopProgress();
    expectAt(start + 25'000, 0, 60);
}

}  // namespace
}  // namespace korvane::test
