#include <gmock/gmock.h>

#include "korvane/tests/views/StripFixture.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using PointerScrollingTest = StripTest;

TEST_F(PointerScrollingTest, AnimationTimeFollowsTheWay) {
    // Points from the item's rest, positive is left of the mark; seconds asked for; how long it lasts.
    const std::tuple<double, double, std::chrono::milliseconds> cases[] = {
        {-300, 0, 1000ms},    {-201, 0, 1000ms}, {-199, 0, 0ms},     {-100, 0, 0ms},
        {0, 0, 0ms},          {100, 0, 500ms},   {199, 0, 995ms},    {300, 0, 1000ms},
        {300, 0.001, 1000ms}, {300, 0.002, 2ms}, {-100, 0.3, 300ms}, {-100, 5.0, 1000ms},
    };
    show(50);
    for (const auto& [from, fixedTime, lasts] : cases) {
        moveTo(20, from);
        int completed = 0;
        view_->scrollToPointer(20, fixedTime, [&] { ++completed; });
        if (lasts > 20ms) {
            ui_.advance(lasts - 20ms);
            EXPECT_EQ(completed, 0) << from << ", " << fixedTime;
        }
        ui_.advance(40ms);
        EXPECT_EQ(completed, 1) << from << ", " << fixedTime;
    }
    for (const IndexPath nowhere : {IndexPath(), IndexPath(0), IndexPath(-4)}) {
        const double before = strip().contentOffset().x;
        view_->scrollToPointer(nowhere, 0.5, [] { FAIL() << "called for the head"; });
        ui_.advance(1100ms);
        EXPECT_DOUBLE_EQ(strip().contentOffset().x, before);
    }
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
    const auto passed = source->OnScrubberGetEventByIndex(20);
    EXPECT_GT(passed->timeAsValue(), passed->start() + 15'000) << "a QML handler listens as well";
    EXPECT_EQ(passed->timeAsValue() % 1000, 0);
}

TEST_F(PointerScrollingTest, ARestWithinThePlayingEntrySeeks) {
    show(50);
    moveTo(20);
    dragToRest(-20);
    ASSERT_EQ(host_.count("select 20"), 1U);
    host_.take();
    host_.delegate->OnScrubberGetRangeForPlayingEvent = [](const auto& /*event*/, TimeMs* start, TimeMs* end) {
        *start += 10'000;
        *end -= 10'000;
    };
    const double before = strip().contentOffset().x;

    dragToRest(-50);
    const double moved = strip().contentOffset().x - before;
    EXPECT_GT(moved, 30) << "it stays where it was dropped";
    EXPECT_EQ(host_.count("select 20"), 0U);
    const TimeMs start = view_->getEvent(20)->start() + 10'000;
    const TimeMs expected = (start / 1000 + static_cast<TimeMs>(moved * 30 / 100)) * 1000;
    EXPECT_EQ(host_.take().back(), "seek 20 " + std::to_string(expected));

    // An entry without an id is never the same one.
    view_->getEvent(20)->setIdentificator(0);
    dragToRest(-20);
    EXPECT_EQ(host_.count("select 0"), 1U);
}

TEST_F(PointerScrollingTest, ARestInAGapGoesToTheNearerNeighbourAndOneAtTheEndStaysLive) {
    view_->getConfig().setCellSeparatorWidth(40);
    view_->applyConfig();
    show(30);
    for (const auto& [offset, nearer] : {std::pair{105.0, 10}, {125.0, 11}}) {
        moveTo(10, offset - 10);
        dragToRest(-20);
        EXPECT_EQ(host_.take().back(), "select " + std::to_string(nearer));
        EXPECT_EQ(underMark(), nearer);
        EXPECT_NEAR(view_->getOffsetBetweenPointerAndItemBegin(nearer), 0, 1e-6);
    }
    view_->toEvent(nullptr);
    comeToRestUnheard();
    for (const double by : {-30.0, -12.0, 12.0, 80.0}) {
        dragToRest(by);
        ui_.advance(2s);
        EXPECT_EQ(host_.take().back(), by < 20 ? "select live" : "select 28") << by;
        EXPECT_EQ(underMark(), by < 20 ? 29 : 28) << by;
    }
}

TEST_F(PointerScrollingTest, ARestOnTheHeadSelectsNothingAndStopsPlayback) {
    show(30);
    moveTo(1);
    dragToRest(-20);
    ASSERT_TRUE(view_->getCurrentEvent());
    host_.take();
    moveTo(1, -30);  // where only the rubber band lets a finger go
    strip().delegate()->scrollViewDidEndDragging(strip(), false);
    EXPECT_EQ(host_.take(), std::vector<std::string>{"end 0"});
    ui_.advance(1100ms);
    EXPECT_EQ(underMark(), 0);
    EXPECT_FALSE(view_->getCurrentEvent());
    EXPECT_THAT(host_.take(), IsEmpty());
}

}  // namespace
}  // namespace korvane::test
