#pragma once

#include <QObject>
#include <deque>
#include <functional>
#include <mutex>

namespace korvane {

/// Tasks for the thread that this object lives on, one an event, in order of posting. Qt's events only wake that
/// thread: what is handed over goes through a lock of our own, which thread checkers can see.
class Mailbox : public QObject {
  public:
    /// Any thread. Tasks that have not begun when the mailbox dies are dropped; exceptions that leave one are logged.
    void post(std::function<void()> task);

  protected:
    bool event(QEvent* event) override;

    /// Drops the tasks that have not begun.
    void drop();

  private:
    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
};

}  // namespace korvane
