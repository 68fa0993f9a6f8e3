// A cell of the strip that follows its host's player, on virtual time.
#include <gmock/gmock.h>

#include "korvane/base/Log.h"
#include "korvane/tests/views/StripFixture.h"
#include "korvane/toolkit/LayoutConstraint.h"
#include "korvane/views/timeline/Presentation/CellScale.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

MATCHER(IsWithinFrames, "") {
    return std::abs(std::get<0>(arg) - std::get<1>(arg)) <= 32;
}

class PlaybackTest : public StripTest {
  protected:
    PlaybackTest() {
        host_.delegate->OnScrubberEventPlayStarted = [this](const auto& event) { return hear("started", event); };
        host_.delegate->OnScrubberEventPlayFinished = [this](const auto& event) { return hear("finished", event); };
        host_.delegate->OnScrubberGetCurrentPositionForPlayingEvent = [this](const auto& /*event*/) {
            polls_.push_back(elapsed());
            if (onPoll_) onPoll_();
            return last_ = player_ ? player_() : -1;
        };
        host_.delegate->OnScrubberSetCurrentPositionForPlayingEvent = [this](const auto& /*event*/, TimeMs position) {
            if (seek_) seek_(position);
        };
        entries_ = show(50);
    }

    std::int32_t hear(const std::string& what, const std::shared_ptr<ScrubberEvent>& event) {
        heard_.push_back(what + ' ' + std::to_string(event->identificator().value_or(-1)));
        return 1;
    }

    TimeMs elapsed() { return std::chrono::floor<milliseconds>(ui_.scheduler().monotonicNow() - begin_).count(); }
    int threads() { return ui_.scheduler().liveThreads(); }
    ScrubberCell& playing() const { return *cell(item); }
    LayoutConstraint& bar() const { return *qvariant_cast<LayoutConstraint*>(playing().property("progress")); }
    double atMark(std::int64_t index = item) const { return view_->getOffsetBetweenPointerAndItemBegin(index); }
    TimeMs startOf(std::int64_t index = item) const { return view_->getEvent(index)->start(); }

    /// The item rests on the mark and plays; its first tick is over.
    void play() {
        moveTo(item);
        begin_ = ui_.scheduler().monotonicNow();
        playing().startProgress(owner());
        settle();
    }

    /// A player that runs on from `position`.
    void playFrom(TimeMs position) {
        const auto since = ui_.scheduler().monotonicNow();
        player_ = [this, position, since] {
            return position + std::chrono::floor<milliseconds>(ui_.scheduler().monotonicNow() - since).count();
        };
    }

    /// Lets time pass, and looks after each advance whether the mark stands where the player is.
    void expectMarkFollows(std::int64_t index, milliseconds time) {
        const CellScale scale{startOf(index), view_->getEvent(index)->end(), 100};
        std::size_t seen = polls_.size();
        int advances = 0;
        for (; time.count() > 0; time -= 50ms) {
            ui_.advance(50ms);
            if (std::exchange(seen, polls_.size()) == polls_.size()) continue;
            EXPECT_NEAR(atMark(index), scale.offsetOf(last_), 0.5) << "polled " << last_ - scale.start;
            ++advances;
        }
        EXPECT_GE(advances, 3);
    }

    static constexpr std::int64_t item = 20;  // 2 points a second

    std::shared_ptr<OwnEvents> entries_;
    std::chrono::microseconds begin_{};
    std::function<TimeMs()> player_;
    std::function<void()> onPoll_;
    std::function<void(TimeMs)> seek_;
    TimeMs last_ = 0;
    std::vector<TimeMs> polls_;  // when, ms since play()
    std::vector<std::string> heard_;
};

TEST_F(PlaybackTest, TicksFollowThePlayer) {
    struct Case {
        std::vector<TimeMs> positions;  // from the start of the item, the last one again and again
        double bar;
        double atMark;
        bool finishes;
        std::vector<TimeMs> polls;
    };
    const TimeMs none = -1 - startOf();
    const Case cases[] = {
        {{none}, 0, 0, false, {0, 1000, 2000, 3000}},
        {{-startOf()}, 0, 0, false, {0, 1000, 2000, 3000}},
        {{10'000, 11'000, 12'000, none}, 24, 24, false, {0, 1008, 2016, 3024}},
        {{10'000, -5'000}, 0, 0, false, {0, 1008, 2016, 3016}},
        {{10'000, 70'000}, 100, 20, true, {0, 1008, 2016, 3016}},
        {{70'000, 10'000}, 20, 20, true, {0, 1008, 2016, 3016}},
        {{50'000}, 100, 100, true, {0, 1008, 2008, 3008}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.positions.front());
        polls_.clear();
        heard_.clear();
        player_ = [&, start = startOf()] {
            return start + c.positions[std::min(polls_.size(), c.positions.size()) - 1];
        };
        play();
        ui_.advance(3900ms);
        EXPECT_DOUBLE_EQ(bar().constant(), c.bar);
        EXPECT_NEAR(atMark(), c.atMark, 1e-6);
        EXPECT_THAT(polls_, testing::Pointwise(IsWithinFrames(), c.polls));
        EXPECT_EQ(heard_.size(), c.finishes ? 2U : 1U) << "once a run";
        playing().stopProgress();
        EXPECT_EQ(bar().constant(), 0);
    }
}

TEST_F(PlaybackTest, AnAnimationWithoutEndIsWaitedForThreeSeconds) {
    player_ = [this] { return startOf() + 100 * std::min<TimeMs>(std::ssize(polls_), 100); };
    play();
    ui_.scheduler().advance(6500ms);  // no frame is drawn
    EXPECT_THAT(polls_, ElementsAre(0, 3000, 6000));
    playing().actionEnded();
    settle();
    EXPECT_THAT(polls_, ElementsAre(0, 3000, 6000, 6500)) << "taking over from an animation is not its end";
    playing().startProgress(owner());
    settle();
    EXPECT_EQ(polls_.size(), 5U);
}

TEST_F(PlaybackTest, PausesHoldBarAndStripUntilASeek) {
    playFrom(startOf() + 10'000);
    play();
    playing().pauseProgress(true);
    ui_.advance(2100ms);
    EXPECT_EQ(bar().constant(), 20);
    EXPECT_GT(atMark(), 22);
    playing().pauseProgress(false);
    playing().pauseScroll(true);
    const double before = atMark();
    ui_.advance(2100ms);
    EXPECT_GT(bar().constant(), 24);
    EXPECT_EQ(atMark(), before);
    playing().setPositionByOffset(before);
    expectMarkFollows(item, 4s);
    view_->toEvent(view_->getEvent(item), false, false);
    EXPECT_GT(atMark(), 20) << "a start where the strip is begins at the player, not at the mark";

    playing().pauseScroll(true);
    play();
    EXPECT_GT(atMark(), 20) << "a run that is ended by the next takes its pause along";
    playing().stopProgress();
    playing().pauseScroll(true);
    play();
    ui_.advance(2100ms);
    EXPECT_NEAR(atMark(), 0, 1e-6) << "a run leaves a pause from before it";
}

TEST_F(PlaybackTest, AStopEndsTheWaitAtOnce) {
    playFrom(startOf() + 10'000);
    play();
    ui_.advance(100ms);
    const TimeMs before = elapsed();
    playing().stopProgress();
    EXPECT_EQ(elapsed(), before);
    EXPECT_EQ(threads(), 0);
    ui_.advance(3s);
    EXPECT_EQ(polls_.size(), 1U) << "neither a tick nor the end of the animation asks again";

    // A host that keeps the thread for a second delays the stop by that, and not by the wait of a tick.
    const auto busy = ui_.scheduler().makeMonitor();
    onPoll_ = [&] {
        const std::lock_guard lock(*busy);
        busy->waitFor(1s);
    };
    play();
    playing().stopProgress();
    EXPECT_EQ(elapsed(), 1000);
    EXPECT_EQ(threads(), 0);
    settle();
    EXPECT_EQ(bar().constant(), 0) << "an advance that was on its way";
}

TEST_F(PlaybackTest, AHostThatStopsFromItsCallbackEndsTheRun) {
    std::vector<std::string> log;
    const auto sink = setLogSink([&](std::string_view line) { log.emplace_back(line); });
    playFrom(startOf() + 10'000);
    onPoll_ = [this] {
        if (polls_.size() < 2) return;
        playing().stopProgress();
        playing().startProgress(owner());
    };
    play();
    ui_.advance(1100ms);
    setLogSink(sink);
    EXPECT_EQ(polls_.size(), 2U);
    EXPECT_EQ(threads(), 0);
    EXPECT_EQ(bar().constant(), 0);
    EXPECT_EQ(log.size(), 1U) << "a start is refused there";
    polls_.clear();
    play();
    ui_.advance(50ms);
    EXPECT_EQ(threads(), 1);
    EXPECT_GT(bar().constant(), 0);
}

TEST_F(PlaybackTest, ACellThatShowsAnotherEntryForgetsWhatWasPosted) {
    play();
    double base = 0;
    double previous = 0;
    int seeks = 0;
    seek_ = [&](TimeMs) { ++seeks; };
    playing().advanceProgressTo(startOf() + 10'000, startOf(), startOf() + 50'000, base, previous);
    playing().setPositionByOffset(30);
    ScrubberCell& recycled = playing();
    recycled.prepareForReuse();
    recycled.setEvent(view_->getEvent(item + 1));
    recycled.startProgress(owner());
    settle();
    EXPECT_EQ(bar().constant(), 0);
    EXPECT_NEAR(atMark(), 0, 1e-6);
    EXPECT_EQ(seeks, 0);
}

}  // namespace
}  // namespace korvane::test
