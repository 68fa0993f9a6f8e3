#pragma once

#include <chrono>
#include <memory>

#include "korvane/base/SystemScheduler.h"

namespace korvane {

/// A scheduler whose main thread is the one that runs Qt's event loop. Made and destroyed on that thread, after the
/// application object; tasks that have not begun by then are dropped.
class QtScheduler final : public SystemScheduler {
  public:
    QtScheduler();
    ~QtScheduler() override;

    bool isMainThread() const override;
    void post(Task task) override;
    TimerId after(std::chrono::milliseconds delay, Task task) override;
    void cancel(TimerId timer) override;

  private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

}  // namespace korvane
