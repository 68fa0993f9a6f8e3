#include "korvane/base/VirtualScheduler.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/base/RecursiveLock.h"
#include "korvane/base/Semaphore.h"

namespace korvane {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using Trail = std::vector<std::string>;

// Three threads and four background tasks, each with two steps between waits: who came when.
Trail raceOfThreads(std::uint64_t seed) {
    VirtualScheduler scheduler(seed);
    Trail trail;
    Semaphore pause(scheduler);
    const auto body = [&](std::string name) {
        return [&, name] {
            trail.push_back(name);
            pause.waitFor(milliseconds(10));
            trail.push_back(name);
        };
    };
    std::vector<std::unique_ptr<Thread>> threads;
    for (const char* name : {"a", "b", "c"}) threads.push_back(scheduler.spawn(name, body(name)));
    for (const char* name : {"1", "2", "3", "4"}) scheduler.runInBackground(body(name));
    scheduler.advance(milliseconds(20));
    return trail;
}

TEST(VirtualScheduler, SeedDrawsTheOrderAndReplaysIt) {
    bool differs = false;
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        const Trail first = raceOfThreads(seed);
        ASSERT_EQ(first.size(), 14u);
        EXPECT_EQ(first, raceOfThreads(seed)) << "seed " << seed;
        differs = differs || first != raceOfThreads(seed + 1);
    }
    EXPECT_TRUE(differs);
}

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

TEST_F(VirtualSchedulerTest, OtherThreadsRunWhileTheMainThreadWaits) {
    Semaphore go(scheduler);
    Semaphore done(scheduler);
    const auto thread = scheduler.spawn("answerer", [&] {
        go.wait();
        EXPECT_FALSE(scheduler.isMainThread());
        EXPECT_FALSE(never.waitFor(hours(1)));
        done.signal();
    });
    EXPECT_EQ(scheduler.liveThreads(), 1);
    go.signal();
    done.wait();
    EXPECT_EQ(scheduler.utcNow() - start, 3'600'000);
    thread->join();
    thread->join();
    EXPECT_EQ(scheduler.liveThreads(), 0);
}

TEST_F(VirtualSchedulerTest, TasksOfTheMainThreadStandStillWhileItWaits) {
    scheduler.post(note("posted"));
    scheduler.after(milliseconds(5), note("timer"));
    EXPECT_FALSE(never.waitFor(milliseconds(20)));
    EXPECT_EQ(trail, Trail{});
    scheduler.runUntilIdle();
    EXPECT_EQ(trail, (Trail{"posted@20", "timer@20"}));
}

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

TEST_F(VirtualSchedulerTest, ThreadsFromOutsideMayPostAndSignal) {
    Semaphore answer(scheduler);
    Semaphore question(scheduler);
    int posted = 0;
    std::promise<void> begun;
    std::thread outsider([&] {
        scheduler.post([] {});
        begun.set_value();
        for (int i = 0; i < 100; ++i) {
            question.wait();
            scheduler.post([&] { ++posted; });
            scheduler.runInBackground([] {});
            answer.signal();
        }
    });
    begun.get_future().wait();
    for (int i = 0; i < 100; ++i) {
        question.signal();
        answer.wait();
    }
    outsider.join();
    scheduler.runUntilIdle();
    EXPECT_EQ(posted, 100);
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
