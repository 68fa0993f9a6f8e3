// What holds on every scheduler: the same bodies run on real threads and on the virtual clock.
#include "korvane/base/Scheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Log.h"
#include "korvane/base/LoopScheduler.h"
#include "korvane/base/RecursiveLock.h"
#include "korvane/base/Semaphore.h"
#include "korvane/base/SerialQueue.h"
#include "korvane/base/VirtualScheduler.h"

namespace korvane {
namespace {

using std::chrono::milliseconds;

struct RealTime {
    LoopScheduler scheduler;
    void runUntil(const std::function<bool()>& done) { scheduler.runUntil(done); }
};

struct VirtualTime {
    VirtualScheduler scheduler;
    void runUntil(const std::function<bool()>& done) {
        for (scheduler.runUntilIdle(); !done(); scheduler.advance(milliseconds(1))) {
        }
    }
};

template <typename Kind>
class OnEveryScheduler : public ::testing::Test {
  protected:
    using Threads = std::vector<std::unique_ptr<Thread>>;

    // Three threads of that body; they are joined where the result ends.
    Threads spawnThree(const std::function<void()>& body) {
        Threads threads;
        for (int i = 0; i < 3; ++i) threads.push_back(kind.scheduler.spawn("one of three", body));
        return threads;
    }

    Kind kind;
};

using Kinds = ::testing::Types<RealTime, VirtualTime>;
TYPED_TEST_SUITE(OnEveryScheduler, Kinds);

TYPED_TEST(OnEveryScheduler, MainThreadTasksComeInOrder) {
    Scheduler& scheduler = this->kind.scheduler;
    std::vector<int> order;
    bool ended = false;
    const auto note = [&](int number) { return [&order, number] { order.push_back(number); }; };
    scheduler.after(milliseconds(3), [&] { ended = true; });
    scheduler.after(milliseconds(2), note(4));
    scheduler.after(milliseconds(1), note(3));
    scheduler.cancel(scheduler.after(milliseconds(1), note(99)));
    scheduler.cancel(scheduler.after(milliseconds(0), note(99)));
    scheduler.cancel(123456);
    scheduler.after(milliseconds::max(), note(99));
    scheduler.post(note(1));
    scheduler.after(milliseconds(-1), note(2));
    this->kind.runUntil([&] { return ended; });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TYPED_TEST(OnEveryScheduler, ExceptionsEndTheirTaskOnly) {
    Scheduler& scheduler = this->kind.scheduler;
    std::atomic<int> logged = 0;
    std::string line;
    const auto before = setLogSink([&](std::string_view text) {
        line = text;
        ++logged;
    });
    const auto fail = [] { throw std::runtime_error("token=secret"); };
    scheduler.spawn("failing", fail)->join();
    SerialQueue queue(scheduler);
    queue.addOperation(fail);
    queue.addOperation([] { throw 1; });
    scheduler.runInBackground(fail);
    scheduler.post(fail);
    scheduler.post(nullptr);
    const std::function<void()> lookAgain = [&] { scheduler.after(milliseconds(1), lookAgain); };
    lookAgain();
    this->kind.runUntil([&] { return logged == 5; });
    setLogSink(before);
    EXPECT_EQ(logged, 5);
    EXPECT_EQ(line.find("secret"), std::string::npos);
}

TYPED_TEST(OnEveryScheduler, SemaphoreCountsAndLosesNothing) {
    Scheduler& scheduler = this->kind.scheduler;
    Semaphore semaphore(scheduler, 1);
    EXPECT_TRUE(semaphore.waitFor(milliseconds(0)));
    EXPECT_FALSE(semaphore.waitFor(milliseconds(0)));
    EXPECT_FALSE(semaphore.waitFor(milliseconds::min()));
    EXPECT_FALSE(semaphore.waitFor(milliseconds(2)));
    constexpr int each = 500;
    const auto threads = this->spawnThree([&] {
        for (int n = 0; n < each; ++n) semaphore.signal();
    });
    for (int n = 0; n < 3 * each; ++n) {
        ASSERT_TRUE(n % 2 ? (semaphore.wait(), true) : semaphore.waitFor(milliseconds::max()));
    }
    EXPECT_FALSE(semaphore.waitFor(milliseconds(0)));
}

TYPED_TEST(OnEveryScheduler, RecursiveLockKeepsOthersOutAndRefusesTheirUnlock) {
    Scheduler& scheduler = this->kind.scheduler;
    RecursiveLock lock(scheduler);
    Semaphore pause(scheduler);
    int inside = 0;
    int entries = 0;
    const auto body = [&] {
        for (int n = 0; n < 50; ++n) {
            const std::lock_guard outer(lock);
            EXPECT_EQ(++inside, 1);
            {
                const std::lock_guard inner(lock);
                ++entries;
            }
            if (n % 10 == 0) pause.waitFor(milliseconds(1));  // held across a wait
            --inside;
        }
    };
    const auto threads = this->spawnThree(body);
    body();
    for (auto& thread : threads) thread->join();
    EXPECT_EQ(entries, 200);

    int refused = 0;
    const auto before = setLogSink([&](std::string_view) { ++refused; });
    lock.lock();
    scheduler.spawn("stranger", [&] { lock.unlock(); })->join();
    lock.unlock();
    lock.unlock();
    setLogSink(before);
    EXPECT_EQ(refused, 2);
}

TYPED_TEST(OnEveryScheduler, SerialQueueRunsOneAtATimeInOrder) {
    Scheduler& scheduler = this->kind.scheduler;
    SerialQueue queue(scheduler);
    Semaphore ended(scheduler);
    Semaphore pause(scheduler);
    std::vector<int> order;  // written without a lock: the queue is the lock
    constexpr int count = 100;
    for (int n = 0; n < count; ++n) {
        queue.addOperation([&, n] {
            if (n % 20 == 0) pause.waitFor(milliseconds(1));
            order.push_back(n);
            if (n == count - 1) queue.addOperation([&] { ended.signal(); });
        });
    }
    ended.wait();
    ASSERT_EQ(order.size(), std::size_t(count));
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TYPED_TEST(OnEveryScheduler, SerialQueueCancelsWhatHasNotBegun) {
    Scheduler& scheduler = this->kind.scheduler;
    Semaphore begun(scheduler);
    Semaphore go(scheduler);
    Semaphore ended(scheduler);
    const auto held = std::make_shared<int>(0);
    int ran = 0;
    {
        SerialQueue queue(scheduler);
        queue.addOperation([&] {
            begun.signal();
            go.wait();
            ++ran;
            ended.signal();
        });
        begun.wait();
        queue.addOperation([&ran, held] { ++ran; });
        queue.addOperation([&ran, held] { ++ran; });
        EXPECT_EQ(queue.operationCount(), 3u);
        queue.cancelAllOperations();
        EXPECT_EQ(queue.operationCount(), 1u);
        EXPECT_EQ(held.use_count(), 1);
        queue.addOperation([&ran, held] { ++ran; });
    }
    EXPECT_EQ(held.use_count(), 1);
    go.signal();
    ended.wait();
    EXPECT_EQ(ran, 1);
}

TYPED_TEST(OnEveryScheduler, BackgroundWorkPostsBackToWhatStillLives) {
    Scheduler& scheduler = this->kind.scheduler;
    int arrived = 0;
    bool onMain = true;
    std::atomic<int> offMain = 0;
    int guarded = 0;
    const LifeToken living;
    {
        const LifeToken dying;
        scheduler.post(dying.guard([&] { ++guarded; }));
    }
    scheduler.post(living.guard([&] { guarded += 10; }));
    for (int n = 0; n < 100; ++n) {
        scheduler.runInBackground([&] {
            if (!scheduler.isMainThread()) ++offMain;
            scheduler.post([&] {
                onMain = onMain && scheduler.isMainThread();
                ++arrived;
            });
        });
    }
    this->kind.runUntil([&] { return arrived == 100; });
    EXPECT_TRUE(onMain);
    EXPECT_EQ(offMain, 100);
    EXPECT_EQ(guarded, 10);
}

TEST(WorkerPool, StopDropsWhatHasNotBegunAndWaitsForWhatRuns) {
    WorkerPool pool(0);
    LoopScheduler scheduler;
    Semaphore begun(scheduler);
    Semaphore go(scheduler);
    std::atomic<int> ran = 0;
    pool.run([&] {
        begun.signal();
        go.wait();
        ++ran;
    });
    begun.wait();
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    pool.run([&ran, held = std::move(held)] { ++ran; });
    const auto stopper = scheduler.spawn("stopper", [&] {
        pool.stop();
        EXPECT_EQ(ran, 1);
    });
    while (!watch.expired()) std::this_thread::yield();
    go.signal();
    stopper->join();
    pool.run([&] { ++ran; });
    pool.stop();
    EXPECT_EQ(ran, 1);
}

}  // namespace
}  // namespace korvane
