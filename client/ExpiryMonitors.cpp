#include "korvane/client/ExpiryMonitors.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "korvane/base/TaskGuard.h"

namespace korvane {

using std::chrono::milliseconds;

namespace {

milliseconds elapsed(const Scheduler& scheduler) {
    return std::chrono::duration_cast<milliseconds>(scheduler.monotonicNow());
}

std::int64_t timeLeft(TimeMs expiry, TimeMs now) {
    std::int64_t left = 0;
    return __builtin_sub_overflow(expiry, now, &left) ? (expiry > now ? INT64_MAX : INT64_MIN) : left;
}

}  // namespace

struct ExpiryMonitors::State {
    explicit State(Scheduler& s) : scheduler(s), monitor(s.makeMonitor()) {}

    struct Entry {
        std::shared_ptr<const KorvaneApi::ExpireMonitorCallback> callback;
        milliseconds period;
        milliseconds guard;
        std::optional<TimeMs> expiry;
        milliseconds due;
        // Empty while a connection holds the monitor.
        std::string leftUnder;
    };

    struct Opened {
        std::uint64_t opening;
        std::weak_ptr<Connection> connection;
    };

    void run();
    // Lock held; released while the callback runs.
    void look(std::unique_lock<Monitor>& lock, Id id);

    Scheduler& scheduler;
    std::unique_ptr<Monitor> monitor;
    std::map<Id, Entry> entries;
    // By key; the openings of one key ascend.
    std::multimap<std::string, Opened> connections;
    Id lastId = 0;
    std::uint64_t lastOpening = 0;
    bool isEnding = false;
    std::thread::id threadId;
};

void ExpiryMonitors::State::run() {
    std::unique_lock lock(*monitor);
    threadId = std::this_thread::get_id();
    while (!isEnding) {
        if (entries.empty()) {
            monitor->wait();
            continue;
        }
        const auto next = std::min_element(entries.begin(), entries.end(),
                                           [](const auto& a, const auto& b) { return a.second.due < b.second.due; });
        const milliseconds wait = next->second.due - elapsed(scheduler);
        if (wait.count() > 0) {
            monitor->waitFor(wait);
        } else {
            look(lock, next->first);
        }
    }
}

void ExpiryMonitors::State::look(std::unique_lock<Monitor>& lock, Id id) {
    Entry& entry = entries.at(id);
    entry.due = elapsed(scheduler) + entry.period;
    if (!entry.expiry) return;
    const std::int64_t left = timeLeft(*entry.expiry, scheduler.utcNow());
    if (left > entry.guard.count()) return;

    auto callback = entry.callback;
    lock.unlock();
    detail::runGuarded([callback = std::move(callback), left] { (*callback)(left); }, "ExpiryMonitors");
    lock.lock();
}

ExpiryMonitors::ExpiryMonitors(Scheduler& scheduler) : state_(std::make_shared<State>(scheduler)) {}

ExpiryMonitors::~ExpiryMonitors() {
    end();
}

void ExpiryMonitors::end() {
    std::map<Id, State::Entry> dropped;
    std::shared_ptr<Thread> thread;
    bool isOwnThread = false;
    {
        const std::lock_guard lock(*state_->monitor);
        state_->isEnding = true;
        dropped.swap(state_->entries);
        thread = std::move(thread_);
        isOwnThread = state_->threadId == std::this_thread::get_id();
    }
    state_->monitor->notifyAll();
    if (!thread) return;
    if (isOwnThread) {
        // A thread cannot join itself.
        state_->scheduler.runInBackground([thread] { thread->join(); });
    } else {
        thread->join();
    }
}

ExpiryMonitors::Id ExpiryMonitors::start(Plan plan) {
    const milliseconds period = std::clamp(plan.period, milliseconds(1), longestWait);
    Id id = 0;
    {
        const std::lock_guard lock(*state_->monitor);
        if (state_->isEnding) return 0;
        if (!thread_) thread_ = state_->scheduler.spawn("korvane-expiry", [state = state_] { state->run(); });
        if (!thread_) return 0;
        id = ++state_->lastId;
        auto callback = std::make_shared<const KorvaneApi::ExpireMonitorCallback>(std::move(plan.callback));
        state_->entries.emplace(
            id, State::Entry{
                    std::move(callback), period, plan.guard, plan.expiry, elapsed(state_->scheduler) + period, {}});
    }
    state_->monitor->notifyAll();
    return id;
}

void ExpiryMonitors::setExpiry(Id id, std::optional<TimeMs> expiry) {
    const std::lock_guard lock(*state_->monitor);
    const auto found = state_->entries.find(id);
    if (found != state_->entries.end()) found->second.expiry = expiry;
}

void ExpiryMonitors::stop(Id id) {
    // The callback may own the connection: it dies outside of the lock.
    decltype(state_->entries)::node_type dropped;
    const std::lock_guard lock(*state_->monitor);
    dropped = state_->entries.extract(id);
}

void ExpiryMonitors::leave(Id id, const std::string& key, std::uint64_t opening) {
    for (std::uint64_t asked = opening;;) {
        std::shared_ptr<Connection> next;
        LeftMonitor left;
        {
            const std::lock_guard lock(*state_->monitor);
            const auto found = state_->entries.find(id);
            if (found == state_->entries.end()) return;
            left = {id, found->second.expiry};
            // In the order of their opening.
            auto [entry, end] = state_->connections.equal_range(key);
            for (; entry != end && !next; ++entry) {
                if (entry->second.opening <= asked) continue;
                asked = entry->second.opening;
                next = entry->second.connection.lock();
            }
            // Under the same lock, so that a connection opened from now on finds the monitor.
            if (!next) found->second.leftUnder = key;
        }
        if (!next || next->takeOver(key, left)) return;
    }
}

ExpiryMonitors::Opening ExpiryMonitors::opened(const std::string& key, const std::shared_ptr<Connection>& connection) {
    std::vector<State::Entry> dropped;
    const std::lock_guard lock(*state_->monitor);
    Opening result{++state_->lastOpening, std::nullopt};
    for (auto entry = state_->entries.rbegin(); entry != state_->entries.rend();) {
        if (entry->second.leftUnder != key) {
            ++entry;
        } else if (!result.left) {
            entry->second.leftUnder.clear();
            result.left = LeftMonitor{entry->first, entry->second.expiry};
            ++entry;
        } else {
            dropped.push_back(std::move(entry->second));
            entry = std::make_reverse_iterator(state_->entries.erase(std::next(entry).base()));
        }
    }
    std::erase_if(state_->connections, [](const auto& other) { return other.second.connection.expired(); });
    if (!result.left) state_->connections.emplace(key, State::Opened{result.number, connection});
    return result;
}

}  // namespace korvane
