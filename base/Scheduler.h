#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "korvane/base/Time.h"

namespace korvane {

/// Waits and delays above this, a hundred years, count as this: far from where sums of times overflow.
inline constexpr std::chrono::milliseconds longestWait = std::chrono::hours(24 * 36525);

/// A lock with one wait queue, made by a Scheduler. Semaphore, RecursiveLock and every tick that can be cut short are
/// built on it, so that under a virtual clock a waiting thread hands over instead of sleeping.
/// It is BasicLockable: std::lock_guard<Monitor> works. Not recursive.
class Monitor {
  public:
    virtual ~Monitor() = default;

    virtual void lock() = 0;
    virtual void unlock() = 0;

    /// Releases the lock, waits for notifyAll(), takes the lock again. Wakes without a notification are possible.
    /// The caller holds the lock.
    virtual void wait() = 0;

    /// As wait(), for at most `timeout`; a timeout of zero or less gives up at once.
    /// Returns false when the time ran out without a notification.
    virtual bool waitFor(std::chrono::milliseconds timeout) = 0;

    /// Wakes all waiting threads. May be called with or without the lock.
    virtual void notifyAll() = 0;
};

/// A thread made by Scheduler::spawn(). Destruction joins.
class Thread {
  public:
    virtual ~Thread() = default;

    /// Blocks until the body has returned. A second call returns at once. Never called by the thread itself.
    virtual void join() = 0;
};

/// The only source of time and threads outside of base/ and toolkit/: whoever needs the clock, a delay, the main
/// thread, background work or a thread of its own is given one. All functions may be called from any thread.
///
/// Tasks must not throw; an exception that leaves a task is caught, logged, and ends that task only.
class Scheduler {
  public:
    using Task = std::function<void()>;
    /// Names a task queued by after(). 0 is never given out.
    using TimerId = std::uint64_t;

    virtual ~Scheduler() = default;

    /// The wall clock.
    virtual TimeMs utcNow() const = 0;

    /// A clock that never goes backwards; its zero has no meaning.
    virtual std::chrono::microseconds monotonicNow() const = 0;

    virtual bool isMainThread() const = 0;

    /// Runs `task` on a later turn of the main thread, in order of posting. Tasks still queued when the scheduler goes
    /// away are dropped.
    virtual void post(Task task) = 0;

    /// Runs `task` on the main thread once `delay` has passed; a delay of zero or less is post().
    virtual TimerId after(std::chrono::milliseconds delay, Task task) = 0;

    /// Takes back a task of after() that has not begun. Anything else is ignored.
    virtual void cancel(TimerId timer) = 0;

    /// Runs `task` on some worker thread. Tasks may block; their number at a time is bounded. A task for which the
    /// system gives no thread waits for one that exists, or for a later call that gets one.
    virtual void runInBackground(Task task) = 0;

    /// Starts a thread of its own for work that ticks or waits. `name` shows in debuggers. Null, with a line in the
    /// log, when the system gives no further thread: `body` then never runs, and the caller says what that means for
    /// its own callers. It may ask again later.
    virtual std::unique_ptr<Thread> spawn(std::string name, Task body) = 0;

    virtual std::unique_ptr<Monitor> makeMonitor() = 0;
};

}  // namespace korvane
