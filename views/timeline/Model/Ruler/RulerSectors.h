#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "korvane/base/Time.h"
#include "korvane/client/Timeline.h"

namespace korvane {

/// What a time ruler knows of a sector. What is known stays so while it is asked for again.
enum class RulerSectorState {
    /// Never answered, or answered under another start.
    Unknown,
    /// In the queue or being fetched for the first time.
    Loading,
    /// The last answer had no periods.
    Empty,
    /// The last answer was none.
    Failed,
    /// In the cache.
    Recorded,
};

/// The sectors of a time ruler: which are to be fetched, in order of demand, and what has been fetched. A sector is
/// three hours and begins at a multiple of that since the epoch. Sources speak ms, all else is seconds. All functions
/// may be called from any thread and none waits for a fetch.
///
/// The cache grows with what has been looked at, until clear(). Recorded time is kept as the source gives it; only what
/// the search in it cannot stand is put right, with a line in the log.
class RulerSectors {
  public:
    /// Seconds.
    static constexpr TimeSec sectorLength = 10'800;
    /// Of one call of updateTimeline(); what lies beyond is left out with a line in the log.
    static constexpr TimeSec mostSectorsAtOnce = 1'000;
    /// A queue up to this length, several screens of it, is left as it is.
    static constexpr std::size_t shortQueue = 64;

    /// Fetched sectors by their start; their times are seconds. Each has at least one period, and indexElement() holds
    /// for it.
    using Records = std::unordered_map<TimeSec, std::shared_ptr<const Timeline>>;

    /// A sector to be fetched.
    struct Request {
        TimeSec start = 0;
        /// Of the contents for which it was asked.
        std::uint64_t generation = 0;

        /// The window for the source, ms, held at the ends of the range.
        TimeMs startMs() const;
        TimeMs endMs() const;
    };

    RulerSectors();

    /// Asks for the sectors from the one that holds `start` to the one before that which holds `end`; for the one at
    /// `start` when that is its beginning and `end` lies in it too. Sectors in the queue or being fetched are not asked
    /// for twice, those in the cache are asked for again. Returns how many joined the queue.
    std::size_t updateTimeline(TimeSec start, TimeSec end);

    /// Of a long queue, forgets the demand outside of `left` to `right`, which is what is seen now; the oldest stays,
    /// as it may be on its way.
    void dropOutside(TimeSec left, TimeSec right);

    /// Forgets what is known of the sectors outside of `left` to `right`. The demand stays.
    void forgetOutside(TimeSec left, TimeSec right);

    /// The oldest demand. It stays the oldest until answer() or giveUp().
    std::optional<Request> next() const;

    /// What came of `request`, ms; null for a failure. A copy is kept, under the start that `timeline` says. A sector
    /// that the source gave under another start is not asked for again until clear(). An answer from before clear() is
    /// dropped. Returns whether the records have changed.
    bool answer(const Request& request, const std::shared_ptr<const Timeline>& timeline);

    /// `request` was broken off: the sector may be asked for again, and nothing else has changed.
    void giveUp(const Request& request);

    /// The records of now, for as long as the caller holds them. Never null.
    std::shared_ptr<const Records> snapshot() const;

    /// `start` is the beginning of a sector.
    RulerSectorState state(TimeSec start) const;

    /// Forgets records, demand and states.
    void clear();

  private:
    struct Page;

    bool take(const Request& request);
    void note(const Request& request, TimeSec answered, std::optional<RulerSectorState> outcome);
    bool forget(const Request& request, TimeSec start);
    bool store(const Request& request, TimeSec start, std::shared_ptr<const Timeline> timeline);
    // Lock of rq_lock held.
    bool isQueued(TimeSec start) const { return queued_.contains(start); }
    // Lock of cache_lock held.
    Page& writablePage();

    // The two locks are never held together.
    mutable std::mutex rq_lock;
    std::unordered_set<TimeSec> requested;
    std::deque<TimeSec> requested_arr;
    std::unordered_set<TimeSec> queued_;  // what stands in requested_arr
    std::unordered_map<TimeSec, RulerSectorState> outcomes_;
    // Written under rq_lock, before the cache is emptied.
    std::atomic<std::uint64_t> generation_ = 0;

    mutable std::mutex cache_lock;
    std::shared_ptr<Page> cached_data;
};

}  // namespace korvane
