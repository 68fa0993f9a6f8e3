#include "korvane/client/http/CallbackThread.h"

#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "korvane/base/TaskGuard.h"

namespace korvane {

struct CallbackThread::State {
    explicit State(Scheduler& s) : scheduler(s), monitor(s.makeMonitor()) {}

    void loop();
    void drainOnWorker();
    // Lock held; released while a task runs.
    void drain(std::unique_lock<Monitor>& lock);

    Scheduler& scheduler;
    const std::unique_ptr<Monitor> monitor;
    std::deque<std::function<void()>> tasks;
    std::shared_ptr<Thread> thread;
    // Of the thread that runs the tasks.
    std::thread::id threadId;
    bool isOnWorker = false;
    bool isEnding = false;
};

void CallbackThread::State::loop() {
    std::unique_lock lock(*monitor);
    threadId = std::this_thread::get_id();
    while (true) {
        drain(lock);
        if (isEnding) return;
        monitor->wait();
    }
}

void CallbackThread::State::drainOnWorker() {
    std::unique_lock lock(*monitor);
    threadId = std::this_thread::get_id();
    drain(lock);
    threadId = {};
    isOnWorker = false;
    monitor->notifyAll();
}

void CallbackThread::State::drain(std::unique_lock<Monitor>& lock) {
    while (!tasks.empty()) {
        auto task = std::move(tasks.front());
        tasks.pop_front();
        lock.unlock();
        detail::runGuarded(std::move(task), "CallbackThread");
        lock.lock();
    }
}

CallbackThread::CallbackThread(Scheduler& scheduler) : state_(std::make_shared<State>(scheduler)) {}

CallbackThread::~CallbackThread() {
    end();
}

void CallbackThread::run(std::function<void()> task) {
    {
        const std::lock_guard lock(*state_->monitor);
        if (state_->isEnding) return;
        state_->tasks.push_back(std::move(task));
        if (!state_->thread && !state_->isOnWorker) {
            state_->thread = state_->scheduler.spawn("korvane-calls", [state = state_] { state->loop(); });
            state_->isOnWorker = !state_->thread;
            if (state_->isOnWorker) state_->scheduler.runInBackground([state = state_] { state->drainOnWorker(); });
        }
    }
    state_->monitor->notifyAll();
}

void CallbackThread::end() {
    std::shared_ptr<Thread> thread;
    {
        std::unique_lock lock(*state_->monitor);
        state_->isEnding = true;
        thread = std::exchange(state_->thread, nullptr);
        if (state_->threadId == std::this_thread::get_id()) {
            state_->drain(lock);
            // A thread cannot join itself.
            if (thread) state_->scheduler.runInBackground([thread] { thread->join(); });
            return;
        }
        if (!thread) {
            const std::thread::id none;
            while (state_->isOnWorker && state_->threadId != none) state_->monitor->wait();
            // A worker that has not begun finds nothing left.
            state_->drain(lock);
        }
    }
    state_->monitor->notifyAll();
    if (thread) thread->join();
}

}  // namespace korvane
