#include "toolkit/QtScheduler.h"

#include <QObject>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "base/TaskGuard.h"

namespace korvane {

/// What tasks wait in. Its receiver lives on the main thread.
class QtScheduler::Loop {
  public:
    bool isMainThread() const { return QThread::currentThread() == receiver_.thread(); }

    void post(Task task) {
        QMetaObject::invokeMethod(
            &receiver_, [task = std::move(task)]() mutable { run(std::move(task)); }, Qt::QueuedConnection);
    }

    TimerId after(std::chrono::milliseconds delay, Task task) {
        const std::lock_guard lock(mutex_);
        const TimerId id = ++lastId_;
        waiting_.emplace(id, std::move(task));
        if (delay.count() <= 0) {
            post([this, id] { fire(id); });
        } else if (isMainThread()) {
            startTimer(id, delay);
        } else {
            post([this, id, delay] { startTimer(id, delay); });
        }
        return id;
    }

    void cancel(TimerId id) {
        const std::lock_guard lock(mutex_);
        waiting_.erase(id);
    }

    // Posted calls die with the receiver, tasks that wait with the table.
    void stop() {
        std::unordered_map<TimerId, Task> dropped;
        const std::lock_guard lock(mutex_);
        dropped.swap(waiting_);
    }

  private:
    static void run(Task task) { detail::runGuarded(std::move(task), "QtScheduler"); }

    void startTimer(TimerId id, std::chrono::milliseconds delay) {
        constexpr std::chrono::milliseconds longest(std::numeric_limits<int>::max());
        QTimer::singleShot(std::min(delay, longest), Qt::PreciseTimer, &receiver_, [this, id] { fire(id); });
    }

    void fire(TimerId id) {
        Task task;
        {
            const std::lock_guard lock(mutex_);
            const auto found = waiting_.find(id);
            if (found == waiting_.end()) return;
            task = std::move(found->second);
            waiting_.erase(found);
        }
        run(std::move(task));
    }

    QObject receiver_;
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
    return loop_->isMainThread();
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
