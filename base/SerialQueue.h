#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Background work in order, one operation at a time. All functions may be called from any thread.
class SerialQueue {
  public:
    using Operation = std::function<void()>;

    explicit SerialQueue(Scheduler& scheduler);

    /// Cancels what has not started. An operation that runs goes on to its end without the queue.
    ~SerialQueue();

    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void addOperation(Operation operation);

    /// Operations that wait plus the one that runs.
    std::size_t operationCount() const;

    /// Drops what has not started; the running operation goes on.
    void cancelAllOperations();

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace korvane
