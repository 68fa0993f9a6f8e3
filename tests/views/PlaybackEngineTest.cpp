#include "korvane/views/timeline/Presentation/PlaybackEngine.h"

#include <gtest/gtest.h>

#include <limits>

#include "korvane/base/VirtualScheduler.h"
#include "korvane/tests/views/FakePlaybackHost.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

constexpr TimeMs earliest = std::numeric_limits<TimeMs>::min();
constexpr TimeMs latest = std::numeric_limits<TimeMs>::max();

constexpr PlaybackRules eventRules{0, true, false};
constexpr PlaybackRules treeRules{-1, false, true};

TEST(PlaybackTickTest, DecidesByPositionAndEnd) {
    constexpr TimeMs end = 5000;
    struct Case {
        const char* what;
        PlaybackProgress before;
        TimeMs end;
        TimeMs position;
        bool finishes;
        bool eventAdvances;
        bool treeAdvances;
    };
    const Case cases[] = {
        {"no position", {3000, true, false}, end, -1, false, false, false},
        {"a position and no end", {3000, true, false}, -1, 9000, false, true, true},
        {"at the end", {3000, true, false}, end, end, true, true, false},
        {"beyond the end", {3000, true, false}, end, latest, true, true, false},
        {"the end was told", {3000, true, true}, end, end, false, true, false},
        {"the same again", {3000, true, false}, end, 3000, false, false, false},
        {"backwards", {3000, true, false}, end, 2000, false, true, true},
        {"to 0", {3000, true, false}, end, 0, false, true, true},
        {"long ago", {3000, true, false}, end, earliest, false, true, true},
        {"an end long ago", {3000, true, false}, earliest, 4000, true, true, false},
    };
    for (const Case& c : cases) {
        for (const bool isEvent : {true, false}) {
            SCOPED_TRACE(std::string(c.what) + (isEvent ? ", event" : ", tree"));
            const bool advances = isEvent ? c.eventAdvances : c.treeAdvances;
            const auto tick = playbackTick(isEvent ? eventRules : treeRules, c.before, c.end, c.position);
            EXPECT_FALSE(tick.tellsStarted);
            EXPECT_EQ(tick.tellsFinished, c.finishes);
            EXPECT_EQ(tick.advances, advances);
            EXPECT_EQ(tick.wait, advances ? 3000ms : 1000ms);
            EXPECT_EQ(tick.progress.lastPosition, advances ? c.position : c.before.lastPosition);
            EXPECT_EQ(tick.progress.finished, c.before.finished || c.finishes);
        }
    }
    for (const TimeMs position : {TimeMs(-1), TimeMs(0), TimeMs(4000)}) {
        const auto tick = playbackTick(eventRules, {0}, end, position);
        EXPECT_TRUE(tick.tellsStarted && tick.progress.played) << position;
    }
}

TEST(PlaybackEngineTest, ARunOfTheTreeHoldsWhileTheStripMoves) {
    const auto scheduler = std::make_shared<VirtualScheduler>();
    FakePlaybackHost owner;
    owner.rangeEnd = 60'000;
    owner.scrolls = true;
    PlaybackEngine engine(scheduler, treeRules, [](TimeMs, TimeMs, TimeMs) {});
    const auto event = ScrubberEvent::build(1, 30'000);
    engine.start(&owner, event);
    scheduler->advance(5s);
    EXPECT_EQ(owner.polls + owner.started, 0);
    owner.scrolls = false;
    scheduler->advance(1s);
    EXPECT_EQ(owner.started, 1);
}

}  // namespace
}  // namespace korvane::test
