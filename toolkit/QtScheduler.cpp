#include "korvane/toolkit/QtScheduler.h"

#include <QThread>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "korvane/base/TaskGuard.h"
#include "korvane/toolkit/Mailbox.h"

namespace korvane {

/// The main thread's queue of tasks.
class QtScheduler::Loop final : public Mailbox {
  public:
    TimerId after(std::chrono::milliseconds delay, Task task) {
        TimerId id = 0;
        {
            const std::lock_guard lock(mutex_);
            id = ++lastId_;
            waiting_.emplace(id, std::move(task));
        }
        if (delay.count() <= 0) {
            post([this, id] { fire(id); });
        } else if (QThread::currentThread() == thread()) {
            start(id, delay);
        } else {
            post([this, id, delay] { start(id, delay); });
        }
        return id;
    }

    void cancel(TimerId id) { take(id); }

    void stop() {
        drop();
        std::unordered_map<TimerId, Task> dropped;
        const std::lock_guard lock(mutex_);
        dropped.swap(waiting_);
    }

  private:
    void start(TimerId id, std::chrono::milliseconds delay) {
        constexpr std::chrono::milliseconds longest(std::numeric_limits<int>::max());
        QTimer::singleShot(std::min(delay, longest), Qt::PreciseTimer, this, [this, id] { fire(id); });
    }

    void fire(TimerId id) { detail::runGuarded(take(id), "QtScheduler"); }

    Task take(TimerId id) {
        const std::lock_guard lock(mutex_);
        auto found = waiting_.extract(id);
        return found.empty() ? Task() : std::move(found.mapped());
    }

    std::mutex mutex_;
    std::unordered_map<TimerId, Task> waiting_;
    TimerId lastId_ = 0;
};

QtScheduler::QtScheduler() : loop_(std::make_unique<Loop>()) {}

QtScheduler::~QtScheduler() {
    stopBackgroundWork();
    loop_->stop();
}

bool QtScheduler::isMainThread() const {
    return QThread::currentThread() == loop_->thread();
}

void QtScheduler::post(Task task) {
    loop_->post(std::move(task));
}

Scheduler::TimerId QtScheduler::after(std::chrono::milliseconds delay, Task task) {
    return loop_->after(delay, std::move(task));
}

void QtScheduler::cancel(TimerId timer) {
    loop_->cancel(timer);
}

}  // namespace korvane
