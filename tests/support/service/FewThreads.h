#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "korvane/base/SystemScheduler.h"

namespace korvane::test {

/// Real threads, of which the system has only so many left; no main loop.
class FewThreads final : public SystemScheduler {
  public:
    explicit FewThreads(int threads = 0) : left(threads) {}
    ~FewThreads() override { stopBackgroundWork(); }

    std::unique_ptr<Thread> spawn(std::string name, Task body) override {
        return left-- > 0 ? SystemScheduler::spawn(std::move(name), std::move(body)) : nullptr;
    }
    bool isMainThread() const override { return true; }
    void post(Task) override {}
    TimerId after(std::chrono::milliseconds, Task) override { return 1; }
    void cancel(TimerId) override {}

    std::atomic<int> left;
};

}  // namespace korvane::test
