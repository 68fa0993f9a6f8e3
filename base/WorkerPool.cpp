#include "korvane/base/WorkerPool.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"

namespace korvane {

struct WorkerPool::State {
    explicit State(std::size_t limit) : maxThreads(std::max<std::size_t>(limit, 1)) {}

    void work() {
        detail::nameThisThread("worker");
        std::unique_lock lock(mutex);
        for (;;) {
            ++idle;
            changed.wait(lock, [this] { return stopped || !tasks.empty(); });
            --idle;
            if (stopped) return;
            auto task = std::move(tasks.front());
            tasks.pop_front();
            lock.unlock();
            detail::runGuarded(std::move(task), "WorkerPool");
            lock.lock();
        }
    }

    const std::size_t maxThreads;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    std::vector<std::thread> threads;
    std::size_t idle = 0;
    bool stopped = false;
};

WorkerPool::WorkerPool(std::size_t maxThreads) : state_(std::make_shared<State>(maxThreads)) {}

WorkerPool::~WorkerPool() {
    stop();
}

void WorkerPool::run(std::function<void()> task) {
    auto& state = *state_;
    const std::lock_guard lock(state.mutex);
    if (state.stopped) return;
    state.tasks.push_back(std::move(task));
    if (state.tasks.size() > state.idle && state.threads.size() < state.maxThreads) {
        try {
            state.threads.emplace_back([kept = state_] { kept->work(); });
        } catch (const std::exception&) {
            // The task waits for a thread that exists, or for a later call that can start one.
            logError("WorkerPool", "the system gives no further thread");
        }
    }
    state.changed.notify_one();
}

void WorkerPool::stop() {
    // Destroyed without the lock: what a task holds may call back.
    std::deque<std::function<void()>> dropped;
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(state_->mutex);
        state_->stopped = true;
        dropped.swap(state_->tasks);
        threads.swap(state_->threads);
    }
    state_->changed.notify_all();
    dropped.clear();
    for (auto& thread : threads) thread.join();
}

}  // namespace korvane
