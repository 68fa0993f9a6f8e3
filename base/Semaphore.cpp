#include "korvane/base/Semaphore.h"

#include <algorithm>
#include <mutex>

namespace korvane {

Semaphore::Semaphore(Scheduler& scheduler, std::int64_t count)
    : scheduler_(scheduler), monitor_(scheduler.makeMonitor()), count_(count) {}

void Semaphore::signal() {
    const std::lock_guard guard(*monitor_);
    ++count_;
    monitor_->notifyAll();
}

void Semaphore::wait() {
    const std::lock_guard guard(*monitor_);
    while (count_ <= 0) monitor_->wait();
    --count_;
}

bool Semaphore::waitFor(std::chrono::milliseconds timeout) {
    const auto deadline = scheduler_.monotonicNow() + std::clamp(timeout, std::chrono::milliseconds(0), longestWait);
    const std::lock_guard guard(*monitor_);
    while (count_ <= 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - scheduler_.monotonicNow());
        if (left.count() <= 0) return false;
        monitor_->waitFor(left);
    }
    --count_;
    return true;
}

}  // namespace korvane
