#pragma once

#include <cstdint>
#include <memory>
#include <thread>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// A lock that its holder may take again, and that may be held across a wait: under a virtual clock the contender hands
/// over instead of stopping the process. BasicLockable. For short sections without calls out, std::mutex is enough.
class RecursiveLock {
  public:
    explicit RecursiveLock(Scheduler& scheduler);

    void lock();

    /// Precondition: the calling thread holds the lock.
    void unlock();

  private:
    std::unique_ptr<Monitor> monitor_;
    std::thread::id holder_;
    std::int64_t depth_ = 0;
};

}  // namespace korvane
