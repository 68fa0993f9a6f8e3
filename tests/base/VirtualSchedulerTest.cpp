#include "korvane/base/VirtualScheduler.h"

#include <gtest/gtest.h>

#include "korvane/base/Semaphore.h"

namespace korvane {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

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
