#include "base/VirtualScheduler.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/TaskGuard.h"

namespace korvane {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using Lock = std::unique_lock<std::mutex>;

constexpr int maxWorkers = 8;

// Waits of threads whose end the scheduler's destruction awaits, before it takes them for an endless loop.
constexpr int maxWaitsWhileClosing = 100'000;

enum class State {
    Runnable,      // has the baton, or may be drawn
    Draining,      // the main thread in runUntilIdle(): runs when there is a task, and when nobody else can
    AwaitsLock,    // of `monitor`
    AwaitsNotice,  // of `monitor`, until `deadline` if there is one
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
    State state = State::Runnable;
    std::optional<microseconds> deadline;
    bool notified = false;
    std::condition_variable resumed;
};

}  // namespace

class VirtualScheduler::Core : public std::enable_shared_from_this<Core> {
  public:
    Core(std::uint64_t seed, TimeMs start);

    // Each operation of the scheduler, under the mutex.
    void drain();
    void advance(milliseconds duration);
    TimerId enqueue(milliseconds delay, Task task);
    void cancel(TimerId timer);
    void runInBackground(Task task);
    std::unique_ptr<Thread> spawn(std::string name, Task body);
    void close();

    // What monitors and thread handles are made of; the caller holds `mutex`.
    Participant& self();
    void suspend(Participant& participant, State state, Lock& lock);
    void resume(Participant& participant);
    void passBatonIfFree();

    std::mutex mutex;
    const std::thread::id mainThread = std::this_thread::get_id();
    microseconds now{0};
    TimeMs utcBase;
    std::function<void()> timeHook;
    int spawned = 0;

  private:
    class SpawnedThread;
    struct MainTask {
        TimerId id;
        Task task;
    };
    using TimerKey = std::pair<microseconds, TimerId>;

    void noteCaller();
    void passBaton();
    bool jumpToNextDeadline();
    std::optional<microseconds> nextDeadline() const;
    void moveTime(microseconds to);
    bool runMainTurn(Lock& lock);
    void callTimeHook(Lock& lock);
    std::shared_ptr<Participant> enter(std::string name);
    void leave(Participant& participant);
    void runAs(Participant& participant, const Task& body);
    void work(Participant& participant);
    [[noreturn]] void reportDeadlock();

    Participant main_{"main"};
    Participant* current_ = &main_;
    std::vector<std::shared_ptr<Participant>> others_;  // in order of creation: draws repeat
    std::vector<Participant*> foreignWaiters_;
    bool foreignSeen_ = false;
    std::mt19937_64 random_;

    std::deque<MainTask> queue_;
    std::map<TimerKey, Task> timers_;
    std::map<TimerId, microseconds> dueOf_;
    TimerId lastTimer_ = 0;
    bool hookPending_ = false;

    std::deque<Task> backgroundTasks_;
    std::vector<std::thread> workers_;
    bool closing_ = false;
    int waitsWhileClosing_ = 0;
};

namespace {

// Which participant this thread is, and of which scheduler.
thread_local const void* ownCore = nullptr;
thread_local Participant* ownParticipant = nullptr;

}  // namespace

VirtualScheduler::Core::Core(std::uint64_t seed, TimeMs start) : utcBase(start), random_(seed) {}

// A thread from outside that has called once may call again: from then on, standing still is no deadlock.
void VirtualScheduler::Core::noteCaller() {
    if (std::this_thread::get_id() != mainThread && ownCore != this) foreignSeen_ = true;
}

Participant& VirtualScheduler::Core::self() {
    noteCaller();
    if (std::this_thread::get_id() == mainThread) return main_;
    if (ownCore == this) return *ownParticipant;
    static thread_local Participant outsider("outsider", true);
    return outsider;
}

// Stops the participant in `state` until somebody resumes it and, unless it is foreign, its turn has come.
void VirtualScheduler::Core::suspend(Participant& participant, State state, Lock& lock) {
    participant.state = state;
    if (participant.foreign) {
        foreignWaiters_.push_back(&participant);
        passBatonIfFree();
        participant.resumed.wait(lock, [&] { return participant.state == State::Runnable; });
        std::erase(foreignWaiters_, &participant);
        return;
    }
    if (closing_ && ++waitsWhileClosing_ > maxWaitsWhileClosing) reportDeadlock();
    passBaton();
    participant.resumed.wait(lock, [&] { return current_ == &participant; });
    participant.state = State::Runnable;
}

void VirtualScheduler::Core::resume(Participant& participant) {
    participant.state = State::Runnable;
    if (participant.foreign) participant.resumed.notify_all();
}

void VirtualScheduler::Core::passBatonIfFree() {
    if (!current_) passBaton();
}

void VirtualScheduler::Core::passBaton() {
    for (;;) {
        std::vector<Participant*> ready;
        const bool mainReady = main_.state == State::Runnable || (main_.state == State::Draining && !queue_.empty());
        if (mainReady) ready.push_back(&main_);
        for (const auto& other : others_) {
            if (other->state == State::Runnable) ready.push_back(other.get());
        }
        if (ready.empty() && main_.state == State::Draining) ready.push_back(&main_);
        if (!ready.empty()) {
            // Not a distribution of the library: their results differ between implementations.
            current_ = ready[random_() % ready.size()];
            current_->resumed.notify_all();
            return;
        }
        if (jumpToNextDeadline()) continue;
        if (!foreignSeen_) reportDeadlock();
        current_ = nullptr;  // a thread from outside may yet resume somebody
        return;
    }
}

std::optional<microseconds> VirtualScheduler::Core::nextDeadline() const {
    std::optional<microseconds> next;
    const auto look = [&](const Participant& participant) {
        if (participant.state != State::AwaitsNotice || !participant.deadline) return;
        if (!next || *participant.deadline < *next) next = participant.deadline;
    };
    look(main_);
    for (const auto& other : others_) look(*other);
    for (const auto* waiter : foreignWaiters_) look(*waiter);
    return next;
}

bool VirtualScheduler::Core::jumpToNextDeadline() {
    const auto next = nextDeadline();
    if (next) moveTime(*next);
    return next.has_value();
}

// Time at `to`: due timers join the queue of the main thread, waits whose deadline has come end.
void VirtualScheduler::Core::moveTime(microseconds to) {
    if (to > now) {
        now = to;
        hookPending_ = true;
    }
    while (!timers_.empty() && timers_.begin()->first.first <= now) {
        auto due = timers_.extract(timers_.begin());
        dueOf_.erase(due.key().second);
        queue_.push_back({due.key().second, std::move(due.mapped())});
    }
    const auto expire = [&](Participant& participant) {
        const bool waits = participant.state == State::AwaitsNotice && participant.deadline;
        if (waits && *participant.deadline <= now) resume(participant);
    };
    expire(main_);
    for (const auto& other : others_) expire(*other);
    for (auto* waiter : foreignWaiters_) expire(*waiter);
}

void VirtualScheduler::Core::callTimeHook(Lock& lock) {
    if (!std::exchange(hookPending_, false) || !timeHook) return;
    auto hook = timeHook;
    lock.unlock();
    detail::runGuarded(std::move(hook), "VirtualScheduler");
    lock.lock();
}

// Lets the others run until the main thread is drawn, and runs one of its tasks. False when nothing can run now.
bool VirtualScheduler::Core::runMainTurn(Lock& lock) {
    callTimeHook(lock);
    suspend(main_, State::Draining, lock);
    if (queue_.empty()) return hookPending_;
    auto task = std::move(queue_.front().task);
    queue_.pop_front();
    lock.unlock();
    detail::runGuarded(std::move(task), "VirtualScheduler");
    lock.lock();
    return true;
}

void VirtualScheduler::Core::drain() {
    if (std::this_thread::get_id() != mainThread) return logError("VirtualScheduler", "runUntilIdle: not main thread");
    Lock lock(mutex);
    while (runMainTurn(lock)) {
    }
}

void VirtualScheduler::Core::advance(milliseconds duration) {
    if (std::this_thread::get_id() != mainThread) return logError("VirtualScheduler", "advance: not main thread");
    Lock lock(mutex);
    const microseconds target = now + std::clamp(duration, milliseconds(0), longestWait);
    for (;;) {
        while (runMainTurn(lock)) {
        }
        auto next = nextDeadline();
        if (!timers_.empty()) {
            const auto due = timers_.begin()->first.first;
            next = next ? std::min(*next, due) : due;
        }
        if (now >= target && (!next || *next > now)) return;
        moveTime(next ? std::min(*next, target) : target);
    }
}

Scheduler::TimerId VirtualScheduler::Core::enqueue(milliseconds delay, Task task) {
    const Lock lock(mutex);
    noteCaller();
    const TimerId id = ++lastTimer_;
    if (delay.count() <= 0) {
        queue_.push_back({id, std::move(task)});
        passBatonIfFree();
        return id;
    }
    const microseconds due = now + std::min(delay, longestWait);
    timers_.emplace(TimerKey(due, id), std::move(task));
    dueOf_.emplace(id, due);
    return id;
}

void VirtualScheduler::Core::cancel(TimerId timer) {
    Task dropped;  // destroyed after the lock is gone: what a task holds may call back
    const Lock lock(mutex);
    if (const auto due = dueOf_.find(timer); due != dueOf_.end()) {
        dropped = std::move(timers_.extract(TimerKey(due->second, timer)).mapped());
        dueOf_.erase(due);
        return;
    }
    const auto queued = std::find_if(queue_.begin(), queue_.end(), [&](const auto& item) { return item.id == timer; });
    if (queued == queue_.end()) return;
    dropped = std::move(queued->task);
    queue_.erase(queued);
}

std::shared_ptr<Participant> VirtualScheduler::Core::enter(std::string name) {
    auto participant = std::make_shared<Participant>(std::move(name));
    others_.push_back(participant);
    return participant;
}

void VirtualScheduler::Core::leave(Participant& participant) {
    participant.state = State::Ended;
    std::erase_if(others_, [&](const auto& other) { return other.get() == &participant; });
    const auto resumeIfWaiting = [&](Participant& other) {
        if (other.state == State::AwaitsEnd) resume(other);
    };
    resumeIfWaiting(main_);
    for (const auto& other : others_) resumeIfWaiting(*other);
    for (auto* waiter : foreignWaiters_) resumeIfWaiting(*waiter);
    passBaton();
}

// The whole life of a thread of this scheduler.
void VirtualScheduler::Core::runAs(Participant& participant, const Task& body) {
    detail::nameThisThread(participant.name);
    ownCore = this;
    ownParticipant = &participant;
    {
        Lock lock(mutex);
        participant.resumed.wait(lock, [&] { return current_ == &participant; });
    }
    body();
    const Lock lock(mutex);
    leave(participant);
}

void VirtualScheduler::Core::work(Participant& participant) {
    Lock lock(mutex);
    while (!closing_) {
        if (backgroundTasks_.empty()) {
            suspend(participant, State::AwaitsWork, lock);
            continue;
        }
        auto task = std::move(backgroundTasks_.front());
        backgroundTasks_.pop_front();
        lock.unlock();
        detail::runGuarded(std::move(task), "VirtualScheduler");
        lock.lock();
        suspend(participant, State::Runnable, lock);
    }
}

void VirtualScheduler::Core::runInBackground(Task task) {
    const Lock lock(mutex);
    if (closing_) return;
    noteCaller();
    backgroundTasks_.push_back(std::move(task));
    const auto idle =
        std::find_if(others_.begin(), others_.end(), [](const auto& p) { return p->state == State::AwaitsWork; });
    if (idle != others_.end()) {
        resume(**idle);
    } else if (workers_.size() < maxWorkers) {
        auto participant = enter("worker " + std::to_string(workers_.size()));
        workers_.emplace_back(
            [this, participant] { runAs(*participant, [this, participant] { work(*participant); }); });
    }
    passBatonIfFree();
}

class VirtualScheduler::Core::SpawnedThread final : public Thread {
  public:
    SpawnedThread(std::shared_ptr<Core> core, std::shared_ptr<Participant> participant, Task body)
        : core_(std::move(core)), participant_(std::move(participant)) {
        thread_ = std::thread([kept = core_, self = participant_, work = std::move(body)]() mutable {
            kept->runAs(*self, [&] {
                detail::runGuarded(std::move(work), self->name);
                const Lock lock(kept->mutex);
                --kept->spawned;
            });
        });
    }
    ~SpawnedThread() override { joinOnce(); }

    void join() override { joinOnce(); }

  private:
    void joinOnce() {
        Lock lock(core_->mutex);
        auto& caller = core_->self();
        while (participant_->state != State::Ended) core_->suspend(caller, State::AwaitsEnd, lock);
        if (!std::exchange(joined_, true)) thread_.join();
    }

    const std::shared_ptr<Core> core_;
    const std::shared_ptr<Participant> participant_;
    std::thread thread_;
    bool joined_ = false;
};

std::unique_ptr<Thread> VirtualScheduler::Core::spawn(std::string name, Task body) {
    const Lock lock(mutex);
    ++spawned;
    auto thread = std::make_unique<SpawnedThread>(shared_from_this(), enter(std::move(name)), std::move(body));
    passBatonIfFree();
    return thread;
}

void VirtualScheduler::Core::close() {
    std::deque<MainTask> droppedQueue;
    std::map<TimerKey, Task> droppedTimers;
    std::deque<Task> droppedWork;
    std::vector<std::thread> workers;
    {
        Lock lock(mutex);
        closing_ = true;
        droppedQueue.swap(queue_);
        droppedTimers.swap(timers_);
        dueOf_.clear();
        droppedWork.swap(backgroundTasks_);
        workers.swap(workers_);
        for (const auto& other : others_) {
            if (other->state == State::AwaitsWork) resume(*other);
        }
        while (!others_.empty()) suspend(main_, State::AwaitsEnd, lock);
    }
    for (auto& worker : workers) worker.join();
}

void VirtualScheduler::Core::reportDeadlock() {
    std::vector<std::string> lines;
    const auto describe = [&](const Participant& participant) {
        static constexpr const char* waits[] = {"goes on without end", "its tasks",       "a lock", "a notification",
                                                "the end of a thread", "background work", "nothing"};
        lines.push_back("deadlock: " + participant.name + " waits for " + waits[static_cast<int>(participant.state)]);
    };
    describe(main_);
    for (const auto& other : others_) describe(*other);
    mutex.unlock();  // the sink may ask for the time
    for (const auto& line : lines) logError("VirtualScheduler", line);
    std::abort();
}

namespace {

template <typename Core>
class VirtualMonitor final : public Monitor {
  public:
    explicit VirtualMonitor(std::shared_ptr<Core> core) : core_(std::move(core)) {}

    void lock() override {
        Lock lock(core_->mutex);
        acquire(core_->self(), lock);
    }

    void unlock() override {
        const Lock lock(core_->mutex);
        release();
        core_->passBatonIfFree();
    }

    void wait() override { waitUntil(std::nullopt); }

    bool waitFor(milliseconds timeout) override {
        if (timeout.count() <= 0) return false;
        return waitUntil(std::min(timeout, longestWait));
    }

    void notifyAll() override {
        const Lock lock(core_->mutex);
        for (auto* waiter : waiting_) {
            waiter->notified = true;
            core_->resume(*waiter);
        }
        waiting_.clear();
        core_->passBatonIfFree();
    }

  private:
    void acquire(Participant& self, Lock& lock) {
        while (owner_) {
            contenders_.push_back(&self);
            core_->suspend(self, State::AwaitsLock, lock);
        }
        owner_ = &self;
    }

    void release() {
        owner_ = nullptr;
        for (auto* contender : contenders_) core_->resume(*contender);
        contenders_.clear();
    }

    bool waitUntil(std::optional<milliseconds> timeout) {
        Lock lock(core_->mutex);
        auto& self = core_->self();
        release();
        self.notified = false;
        self.deadline.reset();
        if (timeout) self.deadline = core_->now + *timeout;
        waiting_.push_back(&self);
        core_->suspend(self, State::AwaitsNotice, lock);
        std::erase(waiting_, &self);
        const bool notified = self.notified;
        acquire(self, lock);
        return notified;
    }

    const std::shared_ptr<Core> core_;
    Participant* owner_ = nullptr;
    std::vector<Participant*> contenders_;
    std::vector<Participant*> waiting_;
};

}  // namespace

VirtualScheduler::VirtualScheduler(std::uint64_t seed, TimeMs start) : core_(std::make_shared<Core>(seed, start)) {}

VirtualScheduler::~VirtualScheduler() {
    core_->close();
}

void VirtualScheduler::runUntilIdle() {
    core_->drain();
}

void VirtualScheduler::advance(milliseconds duration) {
    core_->advance(duration);
}

void VirtualScheduler::shiftUtc(milliseconds by) {
    const Lock lock(core_->mutex);
    core_->utcBase += by.count();
}

void VirtualScheduler::setTimeHook(std::function<void()> hook) {
    const Lock lock(core_->mutex);
    core_->timeHook.swap(hook);
}

int VirtualScheduler::liveThreads() const {
    const Lock lock(core_->mutex);
    return core_->spawned;
}

TimeMs VirtualScheduler::utcNow() const {
    const Lock lock(core_->mutex);
    return core_->utcBase + std::chrono::floor<milliseconds>(core_->now).count();
}

microseconds VirtualScheduler::monotonicNow() const {
    const Lock lock(core_->mutex);
    return core_->now;
}

bool VirtualScheduler::isMainThread() const {
    return std::this_thread::get_id() == core_->mainThread;
}

void VirtualScheduler::post(Task task) {
    core_->enqueue(milliseconds(0), std::move(task));
}

Scheduler::TimerId VirtualScheduler::after(milliseconds delay, Task task) {
    return core_->enqueue(delay, std::move(task));
}

void VirtualScheduler::cancel(TimerId timer) {
    core_->cancel(timer);
}

void VirtualScheduler::runInBackground(Task task) {
    core_->runInBackground(std::move(task));
}

std::unique_ptr<Thread> VirtualScheduler::spawn(std::string name, Task body) {
    return core_->spawn(std::move(name), std::move(body));
}

std::unique_ptr<Monitor> VirtualScheduler::makeMonitor() {
    return std::make_unique<VirtualMonitor<Core>>(core_);
}

}  // namespace korvane
