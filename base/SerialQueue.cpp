#include "korvane/base/SerialQueue.h"

#include <deque>
#include <mutex>
#include <utility>

#include "korvane/base/TaskGuard.h"

namespace korvane {

struct SerialQueue::State : std::enable_shared_from_this<State> {
    explicit State(Scheduler& itsScheduler) : scheduler(itsScheduler) {}

    // One background task an operation, so that a long queue does not keep a worker from others.
    void runNextInBackground() {
        scheduler.runInBackground([self = shared_from_this()] { self->runOne(); });
    }

    void runOne() {
        Operation operation;
        {
            const std::lock_guard lock(mutex);
            if (!waiting.empty()) {
                operation = std::move(waiting.front());
                waiting.pop_front();
                operationRuns = true;
            }
        }
        detail::runGuarded(std::move(operation), "SerialQueue");
        {
            const std::lock_guard lock(mutex);
            operationRuns = false;
            workerUnderWay = !waiting.empty();
            if (!workerUnderWay) return;
        }
        runNextInBackground();
    }

    Scheduler& scheduler;
    std::mutex mutex;
    std::deque<Operation> waiting;
    bool operationRuns = false;
    bool workerUnderWay = false;
};

SerialQueue::SerialQueue(Scheduler& scheduler) : state_(std::make_shared<State>(scheduler)) {}

SerialQueue::~SerialQueue() {
    cancelAllOperations();
}

void SerialQueue::addOperation(Operation operation) {
    {
        const std::lock_guard lock(state_->mutex);
        state_->waiting.push_back(std::move(operation));
        if (std::exchange(state_->workerUnderWay, true)) return;
    }
    state_->runNextInBackground();
}

std::size_t SerialQueue::operationCount() const {
    const std::lock_guard lock(state_->mutex);
    return state_->waiting.size() + (state_->operationRuns ? 1 : 0);
}

void SerialQueue::cancelAllOperations() {
    // Destroyed after the lock is gone: what an operation holds may call back.
    std::deque<Operation> dropped;
    const std::lock_guard lock(state_->mutex);
    dropped.swap(state_->waiting);
}

}  // namespace korvane
