#include "korvane/views/timeline/Model/Ruler/RulerUpdates.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/Semaphore.h"
#include "korvane/base/TaskGuard.h"

namespace korvane {
namespace {

constexpr const char* classPath = "RulerUpdates";
constexpr std::chrono::seconds longestRest{1};
// Nothing tells when a fetch has come as far as the network, so it is broken off until it has ended.
constexpr std::chrono::milliseconds breakOffInterval{20};

// Whose thread this is.
thread_local const RulerUpdates* ownUpdates = nullptr;

TimeSec positionInSeconds(TimeMs position) {
    return position >= 1 ? position / 1'000 : position;
}

template <typename Call>
void guarded(const Call& call) {
    detail::runGuarded(std::cref(call), classPath);
}

}  // namespace

/// One start. Shared with its threads and with later runs, which begin when this one has ended.
class RulerUpdates::Run {
  public:
    Run(RulerUpdates& updates, const Runs& formers)
        : updates_(updates),
          requestFormers_(formers),
          positionFormers_(formers),
          rq_send_condition(updates.scheduler_->makeMonitor()),
          is_update_started_semaphore(*updates.scheduler_),
          ends_(updates.scheduler_->makeMonitor()) {}

    void end(bool isLeft) {
        if (isLeft) isLeft_ = true;
        isRunning_ = false;
        wake();
        is_update_started_semaphore.signal();
    }

    void wake() {
        const std::lock_guard lock(*rq_send_condition);
        rq_predicate = true;
        rq_send_condition->notifyAll();
    }

    void requestThread() {
        ownUpdates = &updates_;
        for (const auto& former : std::exchange(requestFormers_, {})) former->awaitRequestEnd();
        while (isRunning_) {
            fetchAll();
            rest();
        }
        tellRequestEnd();
    }

    void positionThread() {
        ownUpdates = &updates_;
        for (const auto& former : std::exchange(positionFormers_, {})) former->awaitPositionEnd();
        while (isRunning_) {
            tick();
            is_update_started_semaphore.waitFor(longestRest);
        }
        tellPositionEnd();
    }

    void tellRequestEnd() { tell(hasRequestEnded_); }
    void tellPositionEnd() { tell(hasPositionEnded_); }

    void breakOffFetch() {
        if (isFetching_) guarded([this] { updates_.host_.breakOffFetch(); });
    }

    /// After end().
    void awaitRequestEnd() {
        std::unique_lock lock(*ends_);
        while (!hasRequestEnded_) {
            lock.unlock();
            breakOffFetch();
            lock.lock();
            if (!hasRequestEnded_) ends_->waitFor(breakOffInterval);
        }
    }

    void awaitPositionEnd() {
        const std::lock_guard lock(*ends_);
        while (!hasPositionEnded_) ends_->wait();
    }

    bool hasEnded() const {
        const std::lock_guard lock(*ends_);
        return hasRequestEnded_ && hasPositionEnded_;
    }

  private:
    void tell(bool& hasEnded) {
        const std::lock_guard lock(*ends_);
        hasEnded = true;
        ends_->notifyAll();
    }

    void rest() {
        const std::lock_guard lock(*rq_send_condition);
        if (!rq_predicate) rq_send_condition->waitFor(longestRest);
        rq_predicate = false;
    }

    void fetchAll() {
        while (const auto request = updates_.sectors_.next()) {
            // In this order: whoever ends the run after the look at it sees the fetch.
            isFetching_ = true;
            const bool isWanted = isRunning_;
            std::shared_ptr<const Timeline> timeline;
            if (isWanted) guarded([&] { timeline = updates_.host_.fetch(request->startMs(), request->endMs()); });
            isFetching_ = false;
            if (!isWanted) return;
            guarded([&] { store(*request, timeline); });
        }
    }

    void store(const RulerSectors::Request& request, const std::shared_ptr<const Timeline>& timeline) {
        if (!timeline && !isRunning_) return updates_.sectors_.giveUp(request);
        const RulerSectorState before = updates_.sectors_.state(request.start);
        const bool isStored = updates_.sectors_.answer(request, timeline);
        if (isLeft_) return;
        // After a first failure one more draw asks again, also where nothing else has the ruler painted.
        if (isStored || (!timeline && before != RulerSectorState::Failed)) {
            updates_.host_.timelineReload();
        } else if (updates_.sectors_.state(request.start) != before) {
            updates_.host_.sectorStateChanged();
        }
    }

    void tick() {
        const std::uint64_t changes = updates_.positionChanges_;
        const auto goesOn = [&] {
            return isRunning_ && !updates_.is_position_changing_started && updates_.positionChanges_ == changes;
        };
        if (!goesOn()) return;
        std::optional<TimeMs> position;
        guarded([&] { position = updates_.host_.playerPosition(); });
        if (!position || !goesOn()) return;
        guarded([&] { updates_.host_.positionChanged(*position); });
        if (!goesOn()) return;
        guarded([&] { updates_.host_.showPosition(positionInSeconds(*position)); });
    }

    RulerUpdates& updates_;
    // Each is its thread's own.
    Runs requestFormers_;
    Runs positionFormers_;

    std::atomic<bool> isRunning_ = true;
    // Ended by one who did not wait.
    std::atomic<bool> isLeft_ = false;
    std::atomic<bool> isFetching_ = false;
    const std::unique_ptr<Monitor> rq_send_condition;
    bool rq_predicate = false;  // guarded by rq_send_condition: a wake-up is pending
    Semaphore is_update_started_semaphore;
    const std::unique_ptr<Monitor> ends_;
    bool hasRequestEnded_ = false;   // guarded by ends_
    bool hasPositionEnded_ = false;  // likewise
};

RulerUpdates::RulerUpdates(std::shared_ptr<Scheduler> scheduler, RulerSectors& sectors, RulerUpdatesHost& host)
    : scheduler_(std::move(scheduler)), sectors_(sectors), host_(host), lifecycle_(*scheduler_) {}

RulerUpdates::~RulerUpdates() {
    stopUpdates();
}

void RulerUpdates::startUpdates() {
    std::vector<Threads> joined;
    if (isOwnThread()) return start(joined);
    const std::lock_guard lifecycle(lifecycle_);
    start(joined);
}

void RulerUpdates::start(std::vector<Threads>& joined) {
    const std::lock_guard lock(mutex_);
    if (isStopping_) return;
    is_position_changing_started = false;
    if (current_.run) return current_.run->wake();
    current_ = spawn();
    // A host that starts and stops from its own callbacks for days must not pile up threads.
    const auto begin =
        std::stable_partition(ended_.begin(), ended_.end(), [](const Threads& t) { return !t.run->hasEnded(); });
    std::move(begin, ended_.end(), std::back_inserter(joined));
    ended_.erase(begin, ended_.end());
}

/// No threads when the system does not give both; one that it gave ends.
RulerUpdates::Threads RulerUpdates::spawn() {
    Threads threads;
    const auto run = std::make_shared<Run>(*this, endedRuns());
    threads.run = run;
    threads.rq_send_thread = scheduler_->spawn("rq_send_thread", [run] { run->requestThread(); });
    if (threads.rq_send_thread) {
        threads.update_position_thread = scheduler_->spawn("update_position", [run] { run->positionThread(); });
    }
    if (threads.rq_send_thread && threads.update_position_thread) return threads;
    logError(classPath, "startUpdates: there is no thread for it; the ruler stays stopped");
    run->end(true);
    run->tellPositionEnd();
    if (threads.rq_send_thread) ended_.push_back(std::move(threads));
    return {};
}

void RulerUpdates::stopUpdates() {
    if (isOwnThread()) {
        for (const auto& run : endRuns(true)) run->breakOffFetch();
        return;
    }
    const std::lock_guard lifecycle(lifecycle_);
    for (const auto& run : endRuns(false)) {
        run->awaitRequestEnd();
        run->awaitPositionEnd();
    }
    std::vector<Threads> joined;
    const std::lock_guard lock(mutex_);
    joined.swap(ended_);
    isStopping_ = false;
}

/// Gives all runs that may not have come to their end.
RulerUpdates::Runs RulerUpdates::endRuns(bool isLeft) {
    const std::lock_guard lock(mutex_);
    if (!isLeft) isStopping_ = true;
    if (current_.run) ended_.push_back(std::exchange(current_, {}));
    Runs runs = endedRuns();
    for (const auto& run : runs) run->end(isLeft);
    return runs;
}

RulerUpdates::Runs RulerUpdates::endedRuns() const {
    Runs runs;
    for (const Threads& threads : ended_) runs.push_back(threads.run);
    return runs;
}

bool RulerUpdates::isRunning() const {
    const std::lock_guard lock(mutex_);
    return current_.run != nullptr;
}

void RulerUpdates::updateTimeline(TimeSec start, TimeSec end) {
    if (sectors_.updateTimeline(start, end) > 0) wakeRequestThread();
}

void RulerUpdates::wakeRequestThread() {
    const std::lock_guard lock(mutex_);
    if (current_.run) current_.run->wake();
}

void RulerUpdates::startPositionChanging() {
    ++positionChanges_;
    is_position_changing_started = true;
}

void RulerUpdates::endPositionChanging() {
    is_position_changing_started = false;
}

bool RulerUpdates::isPositionChanging() const {
    return is_position_changing_started;
}

bool RulerUpdates::isOwnThread() const {
    return ownUpdates == this;
}

}  // namespace korvane
