#include "korvane/tests/support/service/ScriptedState.h"

#include <algorithm>

namespace korvane::test {

ScriptedService::State::State(Scheduler& s)
    : scheduler(s), helpers(s), monitors(std::make_shared<ExpiryMonitors>(s)), queue_(s) {}

ScriptedService::State::Life ScriptedService::State::lifeOf(int connection) const {
    const std::lock_guard lock(mutex);
    const auto found = lives_.find(connection);
    return found == lives_.end() ? Life::Closed : found->second;
}

void ScriptedService::State::setLife(int connection, Life life) {
    const std::lock_guard lock(mutex);
    lives_[connection] = life;
}

int ScriptedService::State::openConnections() const {
    const std::lock_guard lock(mutex);
    return static_cast<int>(std::ranges::count(lives_, Life::Open, [](const auto& entry) { return entry.second; }));
}

void ScriptedService::State::endRequestsOf(int connection, std::string_view spared) {
    const std::lock_guard lock(mutex);
    endRequests([&](const Pending& p) { return p.request.connection == connection && p.request.name != spared; });
}

void ScriptedService::State::endSyncRequestsOf(const void* camera) {
    const std::lock_guard lock(mutex);
    endRequests([camera](const Pending& p) { return p.camera == camera; });
}

void ScriptedService::State::endRequests(const std::function<bool(const Pending&)>& isEnded) {
    const auto all = pending_;
    for (const PendingPtr& pending : all) {
        if (pending->script.isUnstoppable || !isEnded(*pending)) continue;
        pending->answer = {"The connection was closed.", StatusClosed};
        giveLocked(pending);
    }
}

std::int32_t ScriptedService::State::note(const ScriptedRequest& request) {
    const std::lock_guard lock(mutex);
    requests.push_back(request);
    return takeScript(request.name).status;
}

void ScriptedService::State::ask(ScriptedRequest request, const Compute& compute, ReplyCompletion onComplete) {
    const PendingPtr pending = begin(std::move(request), compute, std::move(onComplete), nullptr);
    if (pending->script.isHeld) return;
    if (pending->script.delay.count() <= 0) return give(pending);
    scheduler.after(pending->script.delay, [weak = weak_from_this(), pending] {
        if (const auto state = weak.lock()) state->give(pending);
    });
}

std::optional<Reply> ScriptedService::State::askSync(ScriptedRequest request, const Compute& compute,
                                                     const void* camera) {
    const auto arrival = std::make_shared<Semaphore>(scheduler);
    const PendingPtr pending = begin(std::move(request), compute, nullptr, arrival, camera);
    if (pending->script.isHeld) {
        arrival->wait();
    } else {
        arrival->waitFor(pending->script.delay);
        give(pending);
    }
    const std::lock_guard lock(mutex);
    return pending->answer.status == StatusSuccess ? std::optional(pending->answer.reply) : std::nullopt;
}

std::vector<ScriptedRequest> ScriptedService::State::held() const {
    const std::lock_guard lock(mutex);
    std::vector<ScriptedRequest> result;
    for (const PendingPtr& pending : pending_) {
        if (pending->script.isHeld) result.push_back(pending->request);
    }
    return result;
}

void ScriptedService::State::releaseAll(bool isReversed) {
    const std::lock_guard lock(mutex);
    auto all = pending_;
    if (isReversed) std::reverse(all.begin(), all.end());
    for (const PendingPtr& pending : all) {
        if (pending->script.isHeld) giveLocked(pending);
    }
}

void ScriptedService::State::stop() {
    std::deque<PendingPtr> dropped;
    {
        const std::lock_guard lock(mutex);
        dropped.swap(pending_);
        for (const PendingPtr& pending : dropped) {
            pending->isGiven = true;
            pending->answer = {"The service has ended.", StatusClosed};
            if (pending->arrival) pending->arrival->signal();
        }
    }
    queue_.cancelAllOperations();
    monitors->end();
}

ScriptedService::State::PendingPtr ScriptedService::State::begin(ScriptedRequest request, const Compute& compute,
                                                                 ReplyCompletion onComplete,
                                                                 std::shared_ptr<Semaphore> arrival,
                                                                 const void* camera) {
    const Life life = lifeOf(request.connection);
    auto pending = std::make_shared<Pending>();
    pending->onComplete = std::move(onComplete);
    pending->arrival = std::move(arrival);
    pending->camera = camera;
    const std::lock_guard lock(mutex);
    requests.push_back(request);
    pending->script = takeScript(request.name);
    pending->request = std::move(request);
    if (life != Life::Open && !pending->script.isUnstoppable) {
        pending->script = {};
        pending->answer = {"The connection is not open.", life == Life::Ended ? StatusClosed : StatusBadCall};
    } else if (pending->script.status != StatusSuccess) {
        pending->answer = {pending->script.reply.value_or("Scripted failure."), pending->script.status};
    } else if (pending->script.reply) {
        pending->answer = {*pending->script.reply, StatusSuccess};
    } else {
        pending->answer = compute(footage, pending->request);
        if (pending->script.alter) pending->script.alter(pending->answer.reply);
    }
    pending_.push_back(pending);
    return pending;
}

Script ScriptedService::State::takeScript(const std::string& name) {
    auto& queue = nextScripts[name];
    if (queue.empty()) return standingScripts[name];
    Script script = std::move(queue.front());
    queue.pop_front();
    return script;
}

void ScriptedService::State::give(const PendingPtr& pending) {
    const std::lock_guard lock(mutex);
    giveLocked(pending);
}

void ScriptedService::State::giveLocked(const PendingPtr& pending) {
    if (std::exchange(pending->isGiven, true)) return;
    std::erase(pending_, pending);
    if (pending->arrival) {
        pending->arrival->signal();
    } else {
        queue_.addOperation([pending] {
            if (const auto onComplete = std::exchange(pending->onComplete, nullptr)) {
                onComplete(std::move(pending->answer.reply), pending->answer.status);
            }
        });
    }
}

}  // namespace korvane::test
