#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace korvane {

/// A bounded set of threads that run tasks in order of arrival. Threads start when first needed. All functions may be
/// called from any thread.
class WorkerPool {
  public:
    /// At most `maxThreads` tasks run at a time; 0 counts as 1.
    explicit WorkerPool(std::size_t maxThreads);

    /// As stop().
    ~WorkerPool();

    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Queues `task`; after stop() it is dropped.
    void run(std::function<void()> task);

    /// Drops what has not started and waits for what runs. Not to be called from a task.
    void stop();

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace korvane
