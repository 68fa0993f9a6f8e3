#pragma once

#include <QSize>
#include <QUrl>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "base/TaskGuard.h"

namespace korvane {

/// Who waits for which load. Bounded in number at a time; the newest request goes first, because it is the one that is
/// on screen; equal requests share a load. One thread only; the loads themselves run where `start` puts them.
template <typename... Result>
class LoadQueue {
  public:
    using Id = std::uint64_t;
    using Completed = std::function<void(const Result&...)>;

    struct Request {
        QUrl url;
        QSize bound;
        bool operator==(const Request&) const = default;
    };

    /// `start` begins a load, whose end must come back by finish(); `abort` asks it to end soon.
    LoadQueue(int loadsAtATime, std::function<void(Id, const Request&)> start, std::function<void(Id)> abort)
        : loadsAtATime_(std::max(1, loadsAtATime)), start_(std::move(start)), abort_(std::move(abort)) {}

    /// Gives a handle for cancel().
    Id add(const Request& request, Completed completed) {
        const Id handle = ++lastId_;
        const auto known = std::find_if(jobs_.begin(), jobs_.end(), [&](const Job& job) {
            return job.request == request && job.state != State::Done && !job.waiters.empty();
        });
        if (known == jobs_.end()) {
            jobs_.push_back({++lastId_, request, State::Waiting, {{handle, std::move(completed)}}});
        } else {
            known->waiters.push_back({handle, std::move(completed)});
            jobs_.splice(jobs_.end(), jobs_, known);
        }
        startNext();
        return handle;
    }

    void cancel(Id handle) {
        for (auto job = jobs_.begin(); job != jobs_.end(); ++job) {
            if (std::erase_if(job->waiters, [&](const Waiter& w) { return w.handle == handle; }) == 0) continue;
            if (!job->waiters.empty() || job->state == State::Done) return;
            if (job->state == State::Running) {
                abort_(job->id);
            } else {
                jobs_.erase(job);
            }
            return;
        }
    }

    /// The load `id` is over. Callbacks may add, cancel, and destroy the queue.
    void finish(Id id, const Result&... result) {
        const std::weak_ptr<char> life = life_;
        if (const auto job = find(id); job != jobs_.end()) job->state = State::Done;
        --running_;
        startNext();
        while (!life.expired()) {
            const auto job = find(id);
            if (job == jobs_.end()) return;
            if (job->waiters.empty()) {
                jobs_.erase(job);
                return;
            }
            const Completed completed = std::move(job->waiters.front().completed);
            job->waiters.erase(job->waiters.begin());
            if (completed) detail::runGuarded([&] { completed(result...); }, "LoadQueue");
        }
    }

  private:
    enum class State { Waiting, Running, Done };
    struct Waiter {
        Id handle;
        Completed completed;
    };
    struct Job {
        Id id;
        Request request;
        State state;
        std::vector<Waiter> waiters;
    };

    auto find(Id id) {
        return std::find_if(jobs_.begin(), jobs_.end(), [id](const Job& job) { return job.id == id; });
    }

    void startNext() {
        while (running_ < loadsAtATime_) {
            const auto next =
                std::find_if(jobs_.rbegin(), jobs_.rend(), [](const Job& job) { return job.state == State::Waiting; });
            if (next == jobs_.rend()) return;
            next->state = State::Running;
            ++running_;
            start_(next->id, next->request);
        }
    }

    int loadsAtATime_;
    int running_ = 0;
    Id lastId_ = 0;
    std::list<Job> jobs_;
    std::function<void(Id, const Request&)> start_;
    std::function<void(Id)> abort_;
    std::shared_ptr<char> life_ = std::make_shared<char>('\0');
};

}  // namespace korvane
