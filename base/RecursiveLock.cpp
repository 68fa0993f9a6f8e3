#include "korvane/base/RecursiveLock.h"

#include <mutex>

#include "korvane/base/Log.h"

namespace korvane {

RecursiveLock::RecursiveLock(Scheduler& scheduler) : monitor_(scheduler.makeMonitor()) {}

void RecursiveLock::lock() {
    const std::lock_guard guard(*monitor_);
    const auto self = std::this_thread::get_id();
    if (holder_ != self) {
        while (depth_ > 0) monitor_->wait();
        holder_ = self;
    }
    ++depth_;
}

void RecursiveLock::unlock() {
    const std::lock_guard guard(*monitor_);
    if (holder_ != std::this_thread::get_id()) {
        logError("RecursiveLock", "unlock: the calling thread does not hold the lock");
        return;
    }
    if (--depth_ == 0) {
        holder_ = {};
        monitor_->notifyAll();
    }
}

}  // namespace korvane
