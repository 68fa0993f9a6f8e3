#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// A counting semaphore on a scheduler's time. All functions may be called from any thread.
class Semaphore {
  public:
    explicit Semaphore(Scheduler& scheduler, std::int64_t count = 0);

    /// Adds one and wakes a waiter.
    void signal();

    /// Takes one, waiting without limit.
    void wait();

    /// Takes one within `timeout`; false when the time ran out and nothing was taken.
    bool waitFor(std::chrono::milliseconds timeout);

  private:
    Scheduler& scheduler_;
    std::unique_ptr<Monitor> monitor_;
    std::int64_t count_;
};

}  // namespace korvane
