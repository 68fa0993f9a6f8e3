#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "korvane/base/Scheduler.h"

namespace korvane::detail {

enum class ParticipantState {
    Runnable,      // has the baton, or may be drawn
    Draining,      // the main thread in runUntilIdle(): runs when there is a task, and when nobody else can
    AwaitsLock,    // of a monitor
    AwaitsNotice,  // of a monitor, until `deadline` if there is one
    AwaitsEnd,     // of another participant
    AwaitsWork,    // a background worker without a task
    Ended,
};

// A thread that takes part in the passing of the baton; or, `foreign`, one from outside that uses a Monitor: it is
// never drawn, and stops and goes on by itself.
struct Participant {
    explicit Participant(std::string itsName, bool isForeign = false) : name(std::move(itsName)), foreign(isForeign) {}

    const std::string name;
    const bool foreign;
    ParticipantState state = ParticipantState::Runnable;
    std::optional<std::chrono::microseconds> deadline;
    bool notified = false;
    std::condition_variable resumed;
};

// What a VirtualScheduler, its monitors and its threads share. Part of the implementation of VirtualScheduler.
class VirtualCore : public std::enable_shared_from_this<VirtualCore> {
  public:
    using Task = Scheduler::Task;
    using TimerId = Scheduler::TimerId;
    using Lock = std::unique_lock<std::mutex>;

    VirtualCore(std::uint64_t seed, TimeMs start);

    // The operations of the scheduler; each takes `mutex` itself.
    void drain();
    void advance(std::chrono::milliseconds duration);
    TimerId enqueue(std::chrono::milliseconds delay, Task task);
    void cancel(TimerId timer);
    void runInBackground(Task task);
    std::unique_ptr<Thread> spawn(std::string name, Task body);
    void close();

    // What monitors and thread handles are made of; the caller holds `mutex`.
    Participant& self();
    void suspend(Participant& participant, ParticipantState state, Lock& lock);
    void resume(Participant& participant);
    void passBatonIfFree();

    std::mutex mutex;
    const std::thread::id mainThread = std::this_thread::get_id();
    std::chrono::microseconds now{0};
    TimeMs utcBase;
    std::function<void()> timeHook;
    int spawned = 0;

  private:
    class SpawnedThread;
    struct MainTask {
        TimerId id;
        Task task;
    };
    using TimerKey = std::pair<std::chrono::microseconds, TimerId>;

    // `mutex` held; those that take the lock release it while they wait or run a task.
    void noteCaller();
    void passBaton();
    bool jumpToNextDeadline();
    std::optional<std::chrono::microseconds> nextDeadline() const;
    void moveTime(std::chrono::microseconds to);
    bool passTime();
    bool runMainTurn(Lock& lock);
    void runMainTurnsUpTo(std::chrono::microseconds limit, Lock& lock);
    void callTimeHook(Lock& lock);
    std::shared_ptr<Participant> enter(std::string name);
    void leave(Participant& participant);
    [[noreturn]] void reportDeadlock();

    // Bodies of threads: `mutex` not held.
    void runAs(Participant& participant, const Task& body);
    void work(Participant& participant);

    Participant main_{"main"};
    Participant* current_ = &main_;
    std::vector<std::shared_ptr<Participant>> others_;  // in order of creation: draws repeat
    std::vector<Participant*> foreignWaiters_;
    bool foreignSeen_ = false;
    std::mt19937_64 random_;

    std::deque<MainTask> queue_;
    std::map<TimerKey, Task> timers_;
    std::map<TimerId, std::chrono::microseconds> dueOf_;
    TimerId lastTimer_ = 0;
    bool hookPending_ = false;
    std::chrono::microseconds limit_{0};

    std::deque<Task> backgroundTasks_;
    std::vector<std::thread> workers_;
    bool closing_ = false;
    int waitsWhileClosing_ = 0;
};

}  // namespace korvane::detail
