#pragma once

#include <QSize>
#include <QUrl>
#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <utility>

#include "korvane/base/TaskGuard.h"

namespace korvane {

/// Requests and the loads that they wait for. Loads are bounded in number for each host; the newest request goes first,
/// because it is the one that is on screen; requests of one URL share a load. One thread only; the loads themselves run
/// where `start` puts them.
template <typename... Result>
class LoadQueue {
  public:
    using Id = std::uint64_t;
    using Completed = std::function<void(const Result&...)>;

    struct Request {
        QUrl url;
        QSize bound;  ///< empty for none
    };

    /// `start` begins a load, whose end must come back by finish().
    LoadQueue(int loadsAtATime, std::function<void(Id, const Request&)> start)
        : loadsAtATime_(std::max(1, loadsAtATime)), start_(std::move(start)) {}

    /// Gives a handle for cancel(). `arrived` is called before `completed`; either may be empty.
    Id add(const Request& request, Completed completed, Completed arrived) {
        const Id handle = ++lastId_;
        const auto known = std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& job) {
            return job.request.url == request.url && (job.state == State::Waiting || isServed(job, request));
        });
        if (known == jobs_.end()) {
            jobs_.push_back({++lastId_, request, State::Waiting, {}});
        } else {
            if (!isServed(*known, request)) known->request.bound = united(known->request.bound, request.bound);
            jobs_.splice(jobs_.end(), jobs_, known);
        }
        jobs_.back().waiters.push_back({handle, std::move(completed), std::move(arrived)});
        startNext();
        return handle;
    }

    /// A load that nobody waits for any more is dropped if it has not begun. If it has, its end is told to `arrived`
    /// alone.
    void cancel(Id handle) {
        for (auto job = jobs_.begin(); job != jobs_.end(); ++job) {
            const auto waiter = std::find_if(job->waiters.begin(), job->waiters.end(),
                                             [handle](const Waiter& each) { return each.handle == handle; });
            if (waiter == job->waiters.end()) continue;
            waiter->completed = nullptr;
            if (job->state != State::Waiting) return;
            job->waiters.erase(waiter);
            if (job->waiters.empty()) jobs_.erase(job);
            return;
        }
    }

    /// The load `id` is over. Callbacks may add, cancel, and destroy the queue.
    void finish(Id id, const Result&... result) {
        const std::weak_ptr<char> life = life_;
        if (const auto job = find(id); job != jobs_.end()) job->state = State::Done;
        startNext();
        while (!life.expired()) {
            const auto job = find(id);
            if (job == jobs_.end()) return;
            if (job->waiters.empty()) {
                jobs_.erase(job);
                return;
            }
            Waiter& waiter = job->waiters.front();
            auto call = std::exchange(waiter.arrived, nullptr);
            if (!call) {
                call = std::move(waiter.completed);
                job->waiters.pop_front();
            }
            if (call) detail::runGuarded([&] { call(result...); }, "LoadQueue");
        }
    }

  private:
    enum class State { Waiting, Running, Done };
    struct Waiter {
        Id handle;
        Completed completed;
        Completed arrived;
    };
    struct Job {
        Id id;
        Request request;
        State state;
        std::deque<Waiter> waiters;
    };

    static QSize united(QSize one, QSize other) {
        return one.isEmpty() || other.isEmpty() ? QSize() : one.expandedTo(other);
    }

    static bool isServed(const Job& job, const Request& request) {
        return job.state != State::Done && united(job.request.bound, request.bound) == job.request.bound;
    }

    auto find(Id id) {
        return std::find_if(jobs_.begin(), jobs_.end(), [id](const Job& job) { return job.id == id; });
    }

    bool mayStart(const Job& wanted) const {
        const auto running = std::count_if(jobs_.begin(), jobs_.end(), [&](const Job& job) {
            return job.state == State::Running && job.request.url.authority() == wanted.request.url.authority();
        });
        return wanted.state == State::Waiting && running < loadsAtATime_;
    }

    void startNext() {
        while (true) {
            const auto next =
                std::find_if(jobs_.rbegin(), jobs_.rend(), [this](const Job& job) { return mayStart(job); });
            if (next == jobs_.rend()) return;
            next->state = State::Running;
            start_(next->id, next->request);
        }
    }

    const int loadsAtATime_;
    Id lastId_ = 0;
    std::list<Job> jobs_;
    const std::function<void(Id, const Request&)> start_;
    std::shared_ptr<char> life_ = std::make_shared<char>('\0');
};

}  // namespace korvane
