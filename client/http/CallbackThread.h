#pragma once

#include <functional>
#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// The thread on which a client's completions run, one after the other. It is not the thread of the network: a
/// completion may block, even for a synchronous request. It starts with the first task; where the system gives no
/// thread, the scheduler's workers run the tasks. All functions may be called from any thread.
class CallbackThread {
  public:
    explicit CallbackThread(Scheduler& scheduler);

    /// As end().
    ~CallbackThread();

    CallbackThread(const CallbackThread&) = delete;
    CallbackThread& operator=(const CallbackThread&) = delete;

    /// After end(), `task` is dropped. An exception that leaves it is logged.
    void run(std::function<void()> task);

    /// Returns when everything given so far has run. Called by a task, it runs the rest itself.
    void end();

  private:
    struct State;
    const std::shared_ptr<State> state_;
};

}  // namespace korvane
