#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {
namespace detail {
class VirtualCore;
}

/// A scheduler whose time moves only when told to. The thread that makes it is its main thread. Background work and
/// spawned threads are real threads, but only one of all runs at a time: it goes on until it waits on a Monitor of this
/// scheduler or ends, then the next is drawn by the seed from those that can go on. When none can, time jumps to the
/// earliest deadline. So one seed gives one interleaving, and an hour costs what the work in it costs.
///
/// A state in which nothing can ever go on again (every thread waits without limit, the main thread included) writes
/// what each thread waits for to the log and aborts the process: it is a deadlock of the code under test.
/// While the main thread waits on a Monitor its own tasks and timers stand still; time jumps to deadlines of waits
/// only.
///
/// Threads from outside may call everything but runUntilIdle() and advance(), Monitors included. They run as the system
/// lets them: order no longer follows from the seed alone, and from the first such call on a state without progress
/// waits for the next one instead of aborting.
class VirtualScheduler final : public Scheduler {
  public:
    /// `start` is the first utcNow(); the seed draws the order of threads.
    explicit VirtualScheduler(std::uint64_t seed = 1, TimeMs start = 1'700'000'000'000);

    /// Runs no further task. Threads must have ended or be able to end; they are waited for, while time jumps to
    /// the deadlines of their waits. One that waits without limit, or again and again, counts as a deadlock.
    ~VirtualScheduler() override;

    /// Runs everything that is due now, on all threads, until nothing is: time does not move. Main thread only.
    void runUntilIdle();

    /// Lets `duration` pass, running everything that falls due on the way in order of time. Ends at the present moment
    /// plus `duration`, or later when a task on the way waited for longer. Main thread only.
    void advance(std::chrono::milliseconds duration);

    /// Lets wall-clock time jump without letting monotonic time pass, as when the user sets the clock.
    void shiftUtc(std::chrono::milliseconds by);

    /// Calls `hook` on the main thread after the clock has moved and before any task that has fallen due; an empty one
    /// takes it away. When the clock moved while the main thread waited on a Monitor, runUntilIdle() or advance() call
    /// it later, once.
    void setTimeHook(std::function<void()> hook);

    /// Threads of spawn() that have not ended.
    int liveThreads() const;

    TimeMs utcNow() const override;
    std::chrono::microseconds monotonicNow() const override;
    bool isMainThread() const override;
    void post(Task task) override;
    TimerId after(std::chrono::milliseconds delay, Task task) override;
    void cancel(TimerId timer) override;
    void runInBackground(Task task) override;
    std::unique_ptr<Thread> spawn(std::string name, Task body) override;
    std::unique_ptr<Monitor> makeMonitor() override;

  private:
    std::shared_ptr<detail::VirtualCore> core_;
};

}  // namespace korvane
