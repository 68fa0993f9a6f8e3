#include "korvane/toolkit/Mailbox.h"

#include <QCoreApplication>
#include <QEvent>
#include <utility>

#include "korvane/base/TaskGuard.h"

namespace korvane {

void Mailbox::post(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool Mailbox::event(QEvent* event) {
    if (event->type() != QEvent::User) return QObject::event(event);
    std::function<void()> task;
    {
        const std::lock_guard lock(mutex_);
        if (tasks_.empty()) return true;
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    detail::runGuarded(std::move(task), "Mailbox");
    return true;
}

void Mailbox::drop() {
    std::deque<std::function<void()>> dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(tasks_);
}

}  // namespace korvane
