#include "korvane/base/VirtualCore.h"

#include <algorithm>
#include <cstdlib>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"

namespace korvane::detail {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using State = ParticipantState;

constexpr int maxWorkers = 8;

// Waits of threads whose end the scheduler's destruction awaits, before it takes them for an endless loop.
constexpr int maxWaitsWhileClosing = 100'000;

// Which participant this thread is, and of which scheduler.
thread_local const void* ownCore = nullptr;
thread_local Participant* ownParticipant = nullptr;

}  // namespace

VirtualCore::VirtualCore(std::uint64_t seed, TimeMs start) : utcBase(start), random_(seed) {}

// A thread from outside that has called once may call again: from then on, idle participants are no deadlock.
void VirtualCore::noteCaller() {
    if (std::this_thread::get_id() != mainThread && ownCore != this) foreignSeen_ = true;
}

Participant& VirtualCore::self() {
    noteCaller();
    if (std::this_thread::get_id() == mainThread) return main_;
    if (ownCore == this) return *ownParticipant;
    static thread_local Participant outsider("outsider", true);
    return outsider;
}

// Stops the participant in `state` until somebody resumes it and, unless it is foreign, its turn has come.
void VirtualCore::suspend(Participant& participant, ParticipantState state, Lock& lock) {
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

void VirtualCore::resume(Participant& participant) {
    participant.state = State::Runnable;
    if (participant.foreign) participant.resumed.notify_all();
}

void VirtualCore::passBatonIfFree() {
    if (!current_) passBaton();
}

void VirtualCore::passBaton() {
    for (;;) {
        std::vector<Participant*> ready;
        const bool mainReady = main_.state == State::Runnable || (main_.state == State::Draining && !queue_.empty());
        if (mainReady) ready.push_back(&main_);
        for (const auto& other : others_) {
            if (other->state == State::Runnable) ready.push_back(other.get());
        }
        if (ready.empty() && main_.state == State::Draining) {
            // A hook wants the main thread at each step of time; without one that turn is saved.
            if (!timeHook && passTime()) continue;
            ready.push_back(&main_);
        }
        if (!ready.empty()) {
            // No distribution of the standard library: its results differ between implementations.
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

std::optional<microseconds> VirtualCore::nextDeadline() const {
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

bool VirtualCore::jumpToNextDeadline() {
    const auto next = nextDeadline();
    if (next) moveTime(*next);
    return next.has_value();
}

// Time at `to`: due timers join the queue of the main thread, waits whose deadline has come end.
void VirtualCore::moveTime(microseconds to) {
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

void VirtualCore::callTimeHook(Lock& lock) {
    if (!std::exchange(hookPending_, false) || !timeHook) return;
    auto hook = timeHook;
    lock.unlock();
    runGuarded(std::move(hook), "VirtualScheduler");
    lock.lock();
}

// Lets the others run until the main thread is drawn, and runs one of its tasks. False when nothing can run now.
bool VirtualCore::runMainTurn(Lock& lock) {
    callTimeHook(lock);
    suspend(main_, State::Draining, lock);
    if (queue_.empty()) return hookPending_ && timeHook;
    auto task = std::move(queue_.front().task);
    queue_.pop_front();
    lock.unlock();
    runGuarded(std::move(task), "VirtualScheduler");
    lock.lock();
    return true;
}

void VirtualCore::drain() {
    if (std::this_thread::get_id() != mainThread) return logError("VirtualScheduler", "runUntilIdle: not main thread");
    Lock lock(mutex);
    runMainTurnsUpTo(now, lock);
}

void VirtualCore::advance(milliseconds duration) {
    if (std::this_thread::get_id() != mainThread) return logError("VirtualScheduler", "advance: not main thread");
    Lock lock(mutex);
    const microseconds target = now + std::clamp(duration, milliseconds(0), longestWait);
    runMainTurnsUpTo(target, lock);
    if (now >= target) return;
    moveTime(target);
    runMainTurnsUpTo(target, lock);
}

// Runs what falls due until `limit`, where time may pass by itself.
void VirtualCore::runMainTurnsUpTo(microseconds limit, Lock& lock) {
    const auto limitAround = std::exchange(limit_, limit);  // of the task that called, if one did
    do {
        while (runMainTurn(lock)) {
        }
    } while (passTime());
    limit_ = limitAround;
}

// Moves time to the next deadline or timer, if that is not beyond the limit.
bool VirtualCore::passTime() {
    auto next = nextDeadline();
    if (!timers_.empty() && (!next || timers_.begin()->first.first < *next)) next = timers_.begin()->first.first;
    if (!next || *next > limit_) return false;
    moveTime(*next);
    return true;
}

VirtualCore::TimerId VirtualCore::enqueue(milliseconds delay, Task task) {
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

void VirtualCore::cancel(TimerId timer) {
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

std::shared_ptr<Participant> VirtualCore::enter(std::string name) {
    auto participant = std::make_shared<Participant>(std::move(name));
    others_.push_back(participant);
    return participant;
}

void VirtualCore::leave(Participant& participant) {
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
void VirtualCore::runAs(Participant& participant, const Task& body) {
    nameThisThread(participant.name);
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

void VirtualCore::work(Participant& participant) {
    Lock lock(mutex);
    while (!closing_) {
        if (backgroundTasks_.empty()) {
            suspend(participant, State::AwaitsWork, lock);
            continue;
        }
        auto task = std::move(backgroundTasks_.front());
        backgroundTasks_.pop_front();
        lock.unlock();
        runGuarded(std::move(task), "VirtualScheduler");
        lock.lock();
        suspend(participant, State::Runnable, lock);
    }
}

void VirtualCore::runInBackground(Task task) {
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

class VirtualCore::SpawnedThread final : public Thread {
  public:
    SpawnedThread(std::shared_ptr<VirtualCore> core, std::shared_ptr<Participant> participant, Task body)
        : core_(std::move(core)), participant_(std::move(participant)) {
        thread_ = std::thread([kept = core_, self = participant_, work = std::move(body)]() mutable {
            kept->runAs(*self, [&] {
                runGuarded(std::move(work), self->name);
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

    const std::shared_ptr<VirtualCore> core_;
    const std::shared_ptr<Participant> participant_;
    std::thread thread_;
    bool joined_ = false;
};

std::unique_ptr<Thread> VirtualCore::spawn(std::string name, Task body) {
    const Lock lock(mutex);
    ++spawned;
    auto thread = std::make_unique<SpawnedThread>(shared_from_this(), enter(std::move(name)), std::move(body));
    passBatonIfFree();
    return thread;
}

void VirtualCore::close() {
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

void VirtualCore::reportDeadlock() {
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

}  // namespace korvane::detail
