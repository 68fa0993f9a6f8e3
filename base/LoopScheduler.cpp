#include "korvane/base/LoopScheduler.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "korvane/base/TaskGuard.h"

namespace korvane {

using std::chrono::steady_clock;

struct LoopScheduler::Loop {
    // A posted task is a timer that is due at once; tasks of the same moment keep the order of arrival.
    using Key = std::pair<steady_clock::time_point, TimerId>;

    TimerId add(std::chrono::milliseconds delay, Task task) {
        const std::lock_guard lock(mutex);
        const auto due = steady_clock::now() + std::clamp(delay, std::chrono::milliseconds(0), longestWait);
        const TimerId id = ++lastId;
        tasks.emplace(Key(due, id), std::move(task));
        dueOf.emplace(id, due);
        changed.notify_one();
        return id;
    }

    Task takeDue() {
        std::unique_lock lock(mutex);
        for (;;) {
            if (tasks.empty()) {
                changed.wait(lock);
                continue;
            }
            const auto due = tasks.begin()->first.first;
            if (due <= steady_clock::now()) break;
            changed.wait_until(lock, due);
        }
        auto first = tasks.extract(tasks.begin());
        dueOf.erase(first.key().second);
        return std::move(first.mapped());
    }

    Task take(TimerId id) {
        const std::lock_guard lock(mutex);
        const auto due = dueOf.find(id);
        if (due == dueOf.end()) return nullptr;
        auto taken = tasks.extract(Key(due->second, id));
        dueOf.erase(due);
        return std::move(taken.mapped());
    }

    const std::thread::id mainThread = std::this_thread::get_id();
    std::mutex mutex;
    std::condition_variable changed;
    std::map<Key, Task> tasks;
    std::map<TimerId, steady_clock::time_point> dueOf;
    TimerId lastId = 0;
};

LoopScheduler::LoopScheduler() : loop_(std::make_unique<Loop>()) {}

LoopScheduler::~LoopScheduler() {
    stopBackgroundWork();
    // Destroyed while the loop still stands: what a task holds may call back.
    std::map<Loop::Key, Task> dropped;
    const std::lock_guard lock(loop_->mutex);
    dropped.swap(loop_->tasks);
    loop_->dueOf.clear();
}

void LoopScheduler::runUntil(const std::function<bool()>& done) {
    while (!done()) detail::runGuarded(loop_->takeDue(), "LoopScheduler");
}

bool LoopScheduler::isMainThread() const {
    return std::this_thread::get_id() == loop_->mainThread;
}

void LoopScheduler::post(Task task) {
    loop_->add(std::chrono::milliseconds(0), std::move(task));
}

Scheduler::TimerId LoopScheduler::after(std::chrono::milliseconds delay, Task task) {
    return loop_->add(delay, std::move(task));
}

void LoopScheduler::cancel(TimerId timer) {
    loop_->take(timer);
}

}  // namespace korvane
