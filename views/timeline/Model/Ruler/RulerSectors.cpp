#include "korvane/views/timeline/Model/Ruler/RulerSectors.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"

namespace korvane {
namespace {

constexpr const char* classPath = "RulerSectors";
constexpr TimeMs second = 1'000;

TimeSec sectorOf(TimeSec time) {
    return time / RulerSectors::sectorLength * RulerSectors::sectorLength;
}

bool isSectorOutside(TimeSec start, TimeSec left, TimeSec right) {
    return start > right || saturatingAdd(start, RulerSectors::sectorLength) <= left;
}

bool isBefore(const TimelinePair& a, const TimelinePair& b) {
    return a.start() != b.start() ? a.start() < b.start() : a.end() < b.end();
}

/// The same recorded time, ascending and without overlaps. Periods that touch stay apart, as recordings do.
std::vector<TimelinePair> repaired(std::vector<TimelinePair> periods) {
    for (TimelinePair& p : periods) {
        if (p.start() > p.end()) p = TimelinePair(p.end(), p.start());
    }
    std::sort(periods.begin(), periods.end(), isBefore);
    std::vector<TimelinePair> result;
    for (const TimelinePair& p : periods) {
        if (result.empty() || result.back().end() <= p.start()) {
            result.push_back(p);
        } else {
            result.back().setEnd(std::max(result.back().end(), p.end()));
        }
    }
    return result;
}

/// In seconds, from ms. Fractions go towards zero.
std::shared_ptr<const Timeline> inSeconds(const Timeline& timeline) {
    std::vector<TimelinePair> periods = repaired(*timeline.periods());
    if (periods != *timeline.periods()) {
        logError(classPath, "the periods from " + std::to_string(timeline.start()) + " on were out of order");
    }
    for (TimelinePair& p : periods) p = TimelinePair(p.start() / second, p.end() / second);
    auto result = std::make_shared<Timeline>(timeline.start() / second, timeline.end() / second);
    result->setPeriods(std::move(periods));
    return result;
}

}  // namespace

/// Records and who reads them: while somebody does, writing goes to a copy.
struct RulerSectors::Page {
    Records records;
    std::atomic<std::int64_t> readers = 0;
};

TimeMs RulerSectors::Request::startMs() const {
    return saturatingMultiply(start, second);
}

TimeMs RulerSectors::Request::endMs() const {
    return saturatingAdd(startMs(), sectorLength * second);
}

RulerSectors::RulerSectors() : cached_data(std::make_shared<Page>()) {}

std::size_t RulerSectors::updateTimeline(TimeSec start, TimeSec end) {
    const TimeSec a = sectorOf(start);
    const TimeSec b = sectorOf(end);
    const TimeSec span = b == start ? sectorLength : saturatingSubtract(b, a);
    TimeSec count = span / sectorLength + (span % sectorLength > 0 ? 1 : 0);
    if (count > mostSectorsAtOnce) {
        logError(classPath, "updateTimeline: sectors after the first " + std::to_string(mostSectorsAtOnce) +
                                " of a span were left out");
        count = mostSectorsAtOnce;
    }
    std::size_t queued = 0;
    const std::lock_guard lock(rq_lock);
    for (TimeSec i = 0; i < count; ++i) {
        const TimeSec k = a + i * sectorLength;
        if (!requested.insert(k).second) continue;
        requested_arr.push_back(k);
        queued_.insert(k);
        ++queued;
    }
    return queued;
}

void RulerSectors::dropOutside(TimeSec left, TimeSec right) {
    const std::lock_guard lock(rq_lock);
    if (requested_arr.size() <= shortQueue) return;
    const auto isOutside = [&](TimeSec k) { return isSectorOutside(k, left, right); };
    const auto first = std::next(requested_arr.begin());
    const auto dropped = std::stable_partition(first, requested_arr.end(), std::not_fn(isOutside));
    for (auto k = dropped; k != requested_arr.end(); ++k) {
        queued_.erase(*k);
        requested.erase(*k);
    }
    requested_arr.erase(dropped, requested_arr.end());
}

void RulerSectors::forgetOutside(TimeSec left, TimeSec right) {
    const auto isOutside = [&](const auto& entry) { return isSectorOutside(entry.first, left, right); };
    {
        const std::lock_guard lock(rq_lock);
        std::erase_if(outcomes_, isOutside);
        // A sector that is not in the queue may be asked for again.
        std::erase_if(requested, [&](TimeSec k) { return !isQueued(k) && isSectorOutside(k, left, right); });
    }
    const std::lock_guard lock(cache_lock);
    std::erase_if(writablePage().records, isOutside);
}

std::optional<RulerSectors::Request> RulerSectors::next() const {
    const std::lock_guard lock(rq_lock);
    if (requested_arr.empty()) return std::nullopt;
    return Request{requested_arr.front(), generation_};
}

bool RulerSectors::answer(const Request& request, const std::shared_ptr<const Timeline>& timeline) {
    if (!take(request)) return false;
    if (!timeline) {
        note(request, request.start, RulerSectorState::Failed);
        return false;
    }
    const TimeSec start = timeline->start() / second;
    if (!timeline->periods() || timeline->periods()->empty()) {
        note(request, start, RulerSectorState::Empty);
        return forget(request, start);
    }
    const bool isStored = store(request, start, inSeconds(*timeline));
    note(request, start, std::nullopt);
    return isStored;
}

void RulerSectors::giveUp(const Request& request) {
    if (!take(request)) return;
    const std::lock_guard lock(rq_lock);
    if (request.generation == generation_) requested.erase(request.start);
}

std::shared_ptr<const RulerSectors::Records> RulerSectors::snapshot() const {
    const std::lock_guard lock(cache_lock);
    cached_data->readers.fetch_add(1, std::memory_order_relaxed);
    // The count of a shared pointer would not do: reading it does not order what its holders did before.
    return {&cached_data->records,
            [page = cached_data](const Records*) { page->readers.fetch_sub(1, std::memory_order_release); }};
}

RulerSectorState RulerSectors::state(TimeSec start) const {
    {
        const std::lock_guard lock(cache_lock);
        if (cached_data->records.contains(start)) return RulerSectorState::Recorded;
    }
    const std::lock_guard lock(rq_lock);
    const auto found = outcomes_.find(start);
    if (found != outcomes_.end()) return found->second;
    return isQueued(start) ? RulerSectorState::Loading : RulerSectorState::Unknown;
}

void RulerSectors::clear() {
    {
        const std::lock_guard lock(rq_lock);
        ++generation_;
        requested.clear();
        requested_arr.clear();
        queued_.clear();
        outcomes_.clear();
    }
    // What was cached goes away outside of the lock.
    auto empty = std::make_shared<Page>();
    const std::lock_guard lock(cache_lock);
    cached_data.swap(empty);
}

/// Removes the request from the queue; false when that has been cleared since.
bool RulerSectors::take(const Request& request) {
    const std::lock_guard lock(rq_lock);
    if (request.generation != generation_) return false;
    if (queued_.erase(request.start) > 0) requested_arr.erase(std::ranges::find(requested_arr, request.start));
    return true;
}

/// `answered` is the sector that the source has answered; one that waits in the queue itself stays requested.
void RulerSectors::note(const Request& request, TimeSec answered, std::optional<RulerSectorState> outcome) {
    const std::lock_guard lock(rq_lock);
    if (request.generation != generation_) return;
    if (!isQueued(answered)) requested.erase(answered);
    if (outcome) {
        outcomes_[answered] = *outcome;
    } else {
        outcomes_.erase(answered);
    }
}

bool RulerSectors::store(const Request& request, TimeSec start, std::shared_ptr<const Timeline> timeline) {
    const std::lock_guard lock(cache_lock);
    if (request.generation != generation_) return false;
    // What was cached goes away with this argument, after the lock.
    writablePage().records[start].swap(timeline);
    return true;
}

/// What was recorded there has been taken away since.
bool RulerSectors::forget(const Request& request, TimeSec start) {
    const std::lock_guard lock(cache_lock);
    if (request.generation != generation_ || !cached_data->records.contains(start)) return false;
    return writablePage().records.erase(start) > 0;
}

RulerSectors::Page& RulerSectors::writablePage() {
    if (cached_data->readers.load(std::memory_order_acquire) > 0) {
        auto copy = std::make_shared<Page>();
        copy->records = cached_data->records;
        cached_data.swap(copy);
    }
    return *cached_data;
}

}  // namespace korvane
