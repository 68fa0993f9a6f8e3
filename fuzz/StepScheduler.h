#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>

#include "korvane/base/Scheduler.h"

namespace korvane::fuzz {

/// Everything on one thread, a step after the other, at a moment that stays: thousands of times as fast as threads.
/// What would wait for a thread has had its answer before.
class StepScheduler final : public Scheduler {
  public:
    /// Until nothing is left, or too much has come after another.
    void run() {
        constexpr int mostSteps = 10'000;
        for (int step = 0; step < mostSteps && !tasks_.empty(); ++step) {
            const Task task = std::move(tasks_.front());
            tasks_.pop_front();
            task();
        }
        tasks_.clear();
    }

    TimeMs utcNow() const override { return 1'700'000'000'000; }
    std::chrono::microseconds monotonicNow() const override { return {}; }
    bool isMainThread() const override { return true; }
    void post(Task task) override { tasks_.push_back(std::move(task)); }
    TimerId after(std::chrono::milliseconds, Task) override { return 1; }
    void cancel(TimerId) override {}
    void runInBackground(Task task) override { tasks_.push_back(std::move(task)); }
    std::unique_ptr<Thread> spawn(std::string, Task) override { return nullptr; }
    std::unique_ptr<Monitor> makeMonitor() override { return std::make_unique<OpenMonitor>(); }

  private:
    class OpenMonitor final : public Monitor {
      public:
        void lock() override {}
        void unlock() override {}
        void wait() override { std::abort(); }
        bool waitFor(std::chrono::milliseconds) override { return false; }
        void notifyAll() override {}
    };

    std::deque<Task> tasks_;
};

}  // namespace korvane::fuzz
