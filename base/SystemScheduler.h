#pragma once

#include <chrono>
#include <memory>

#include "korvane/base/Scheduler.h"
#include "korvane/base/WorkerPool.h"

namespace korvane {

/// Real clocks, real threads, a pool for background work. What the main thread is, is left to a subclass: its own loop
/// (LoopScheduler) or a toolkit's.
class SystemScheduler : public Scheduler {
  public:
    TimeMs utcNow() const override;
    std::chrono::microseconds monotonicNow() const override;
    void runInBackground(Task task) override;
    std::unique_ptr<Thread> spawn(std::string name, Task body) override;
    std::unique_ptr<Monitor> makeMonitor() override;

  protected:
    SystemScheduler();

    /// Waits for background work to end. A subclass whose members that work reaches calls it in its destructor.
    void stopBackgroundWork();

  private:
    WorkerPool pool_;
};

}  // namespace korvane
