#include "korvane/base/VirtualScheduler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "korvane/base/Semaphore.h"

namespace korvane {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using Trail = std::vector<std::string>;

class VirtualSchedulerTest : public ::testing::Test {
  protected:
    std::function<void()> note(std::string name) {
        return [this, name] { trail.push_back(name + "@" + std::to_string(scheduler.utcNow() - start)); };
    }

    VirtualScheduler scheduler;
    const TimeMs start = scheduler.utcNow();
    Semaphore never{scheduler};
    Trail trail;
};

TEST_F(VirtualSchedulerTest, AdvanceRunsWhatFallsDueInOrderOfTime) {
    scheduler.after(milliseconds(30), note("c"));
    scheduler.after(milliseconds(10), [&] {
        note("a")();
        scheduler.after(milliseconds(10), note("nested"));
        scheduler.post(note("posted"));
    });
    scheduler.after(milliseconds(31), note("late"));
    const auto thread = scheduler.spawn("ticker", [&] {
        never.waitFor(milliseconds(25));
        note("thread")();
    });
    scheduler.advance(milliseconds(30));
    EXPECT_EQ(trail, (Trail{"a@10", "posted@10", "nested@20", "thread@25", "c@30"}));
    scheduler.advance(hours(1));
    EXPECT_EQ(trail.back(), "late@31");
    EXPECT_EQ(scheduler.utcNow(), start + 30 + 3'600'000);
}

TEST_F(VirtualSchedulerTest, TimeHookComesBeforeTheTasksOfTheMoment) {
    scheduler.setTimeHook(note("hook"));
    scheduler.after(milliseconds(5), note("task"));
    scheduler.runUntilIdle();
    scheduler.advance(milliseconds(8));
    EXPECT_EQ(trail, (Trail{"hook@5", "task@5", "hook@8"}));
    scheduler.setTimeHook({});
    scheduler.advance(milliseconds(1));
    EXPECT_EQ(trail.size(), 3u);

    const auto monotonic = scheduler.monotonicNow();
    scheduler.shiftUtc(-hours(1));
    EXPECT_EQ(scheduler.utcNow(), start + 9 - 3'600'000);
    EXPECT_EQ(scheduler.monotonicNow(), monotonic) << "the clock was set, and time does not go back";
}

TEST(VirtualScheduler, DestructionEndsTimedWaitsAndDropsTasks) {
    int ran = 0;
    int turns = 0;
    const auto held = std::make_shared<int>(0);
    {
        std::unique_ptr<Thread> thread;
        VirtualScheduler scheduler;
        scheduler.post([&ran, held] { ++ran; });
        scheduler.after(milliseconds(1), [&ran, held] { ++ran; });
        scheduler.runInBackground([&ran, held] { ++ran; });
        thread = scheduler.spawn("ticker", [&turns, &scheduler] {
            Semaphore never(scheduler);
            while (turns < 3) {
                never.waitFor(hours(1000));
                ++turns;
            }
        });
    }
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(turns, 3);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(VirtualSchedulerDeathTest, DeadlockIsReported) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto deadlock = [] {
        VirtualScheduler scheduler;
        Semaphore never(scheduler);
        const auto thread = scheduler.spawn("stuck one", [&] { never.wait(); });
        scheduler.runUntilIdle();
        never.wait();
    };
    EXPECT_DEATH(deadlock(), "main waits for a notification(.|\n)*stuck one waits for a notification");
}

}  // namespace
}  // namespace korvane
