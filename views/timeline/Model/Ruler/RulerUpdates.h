#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "korvane/base/RecursiveLock.h"
#include "korvane/base/Scheduler.h"
#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"
#include "korvane/views/timeline/Model/Ruler/RulerUpdatesHost.h"

namespace korvane {

/// The two threads of a time ruler. The request thread fetches the sectors in demand, one at a time; the position
/// thread hands the player's position on, once a second. All functions may be called from any thread, those of the
/// host included.
class RulerUpdates {
  public:
    /// `sectors` and `host` outlive this.
    RulerUpdates(std::shared_ptr<Scheduler> scheduler, RulerSectors& sectors, RulerUpdatesHost& host);

    /// As stopUpdates(). Never on one of the two threads.
    ~RulerUpdates();

    RulerUpdates(const RulerUpdates&) = delete;
    RulerUpdates& operator=(const RulerUpdates&) = delete;

    /// Starts both threads and lets the knob go. When they run, it lets the knob go and wakes the request thread. Stays
    /// stopped, with a line in the log, when the system gives no thread. Within a function of the host while another
    /// thread stops the updates it does nothing: the stop wins.
    void startUpdates();

    /// Ends both threads and waits for them, and so for the host's function that one is in; a fetch that waits for the
    /// network is broken off. Within a function of the host it ends them without the wait: those that have begun go on
    /// to their end and no further one begins. The next stop from elsewhere makes up for that wait.
    void stopUpdates();

    /// From a start that found its threads to the stop.
    bool isRunning() const;

    /// As RulerSectors::updateTimeline(), and wakes the request thread when the queue has grown. May be called while
    /// stopped: the queue waits for the start.
    void updateTimeline(TimeSec start, TimeSec end);

    /// Has the request thread look at the queue now, which it otherwise does once a second.
    void wakeRequestThread();

    /// The user takes hold of the knob: the position thread leaves it and the player alone.
    void startPositionChanging();
    /// And lets go of it. startUpdates() does so too.
    void endPositionChanging();
    bool isPositionChanging() const;

  private:
    class Run;
    using Runs = std::vector<std::shared_ptr<Run>>;

    /// A run and its threads, which are joined where this is destroyed: never on one of them.
    struct Threads {
        std::shared_ptr<Run> run;
        std::unique_ptr<Thread> rq_send_thread;
        std::unique_ptr<Thread> update_position_thread;
    };

    // With mutex_ held, but for start() and endRuns(), which take it.
    void start(std::vector<Threads>& joined);
    Threads spawn();
    Runs endRuns(bool isLeft);
    Runs endedRuns() const;
    bool isOwnThread() const;

    const std::shared_ptr<Scheduler> scheduler_;
    RulerSectors& sectors_;
    RulerUpdatesHost& host_;
    std::atomic<bool> is_position_changing_started = false;
    // Tells a tick that the knob has been held since it began.
    std::atomic<std::uint64_t> positionChanges_ = 0;

    // Held across the waits of start and stop, by all but the two threads themselves.
    RecursiveLock lifecycle_;
    // Guards what follows; held for moments.
    mutable std::mutex mutex_;
    Threads current_;
    // Runs that have ended or are about to, the oldest first.
    std::vector<Threads> ended_;
    bool isStopping_ = false;
};

}  // namespace korvane
