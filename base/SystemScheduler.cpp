#include "korvane/base/SystemScheduler.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/base/UtcTime.h"

namespace korvane {
namespace {

using std::chrono::steady_clock;

class SystemMonitor final : public Monitor {
  public:
    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }

    void wait() override {
        std::unique_lock lock(mutex_, std::adopt_lock);
        notified_.wait(lock);
        lock.release();
    }

    bool waitFor(std::chrono::milliseconds timeout) override {
        if (timeout.count() <= 0) return false;
        const auto deadline = steady_clock::now() + std::min(timeout, longestWait);
        std::unique_lock lock(mutex_, std::adopt_lock);
        const bool notified = notified_.wait_until(lock, deadline) == std::cv_status::no_timeout;
        lock.release();
        return notified;
    }

    void notifyAll() override { notified_.notify_all(); }

  private:
    std::mutex mutex_;
    std::condition_variable notified_;
};

class SystemThread final : public Thread {
  public:
    /// Throws std::system_error when the system gives no further thread.
    SystemThread(std::string name, Scheduler::Task body)
        : thread_([name = std::move(name), body = std::move(body)]() mutable {
              detail::nameThisThread(name);
              detail::runGuarded(std::move(body), name);
          }) {}
    ~SystemThread() override { joinOnce(); }

    void join() override { joinOnce(); }

  private:
    void joinOnce() {
        const std::lock_guard lock(mutex_);
        if (thread_.joinable()) thread_.join();
    }

    std::mutex mutex_;
    std::thread thread_;
};

}  // namespace

SystemScheduler::SystemScheduler() : pool_(std::max<std::size_t>(4, std::thread::hardware_concurrency())) {}

TimeMs SystemScheduler::utcNow() const {
    return systemUtcNow();
}

std::chrono::microseconds SystemScheduler::monotonicNow() const {
    return std::chrono::floor<std::chrono::microseconds>(steady_clock::now().time_since_epoch());
}

void SystemScheduler::runInBackground(Task task) {
    pool_.run(std::move(task));
}

std::unique_ptr<Thread> SystemScheduler::spawn(std::string name, Task body) {
    try {
        return std::make_unique<SystemThread>(std::move(name), std::move(body));
    } catch (const std::system_error&) {
        logError("SystemScheduler", "the system gives no further thread");
        return nullptr;
    }
}

std::unique_ptr<Monitor> SystemScheduler::makeMonitor() {
    return std::make_unique<SystemMonitor>();
}

void SystemScheduler::stopBackgroundWork() {
    pool_.stop();
}

}  // namespace korvane
