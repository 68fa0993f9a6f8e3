#pragma once

#include <functional>
#include <memory>

#include "korvane/base/SystemScheduler.h"

namespace korvane {

/// A scheduler for programs without a toolkit's event loop: the thread that makes it is the main thread and runs the
/// loop itself.
class LoopScheduler final : public SystemScheduler {
  public:
    LoopScheduler();
    ~LoopScheduler() override;

    /// Runs main-thread tasks as they fall due until `done` gives true; it is asked after each task. Main thread only.
    void runUntil(const std::function<bool()>& done);

    bool isMainThread() const override;
    void post(Task task) override;
    TimerId after(std::chrono::milliseconds delay, Task task) override;
    void cancel(TimerId timer) override;

  private:
    struct Loop;
    std::unique_ptr<Loop> loop_;
};

}  // namespace korvane
