#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "views/timeline/ScrubberCommon/ScrubberEvent.h"
#include "views/timeline/ScrubberCommon/ScrubberEventBounds.h"
#include "views/timeline/ScrubberCommon/ScrubberEventQuery.h"

namespace korvane {

/// A list that is made at full length at once and filled bit by bit: head entry, slots, live entry. A slot that nobody
/// has asked for takes no memory; it becomes an entry of type pending when asked for, and stays that entry until it is
/// replaced. Slots can be taken out anywhere at small cost, and entries be found by moment or id without a look at most
/// of the others. An entry is in one place of one list.
///
/// All functions may be called from any thread; each is atomic by itself under a lock of the list's own, under which
/// nothing is called but `matches` of findMade(). A search lets others in now and then, and may or may not see what
/// they change. What must hold over several calls is the caller's to guard. An index at or past the end never does
/// anything.
class PagedEventList {
  public:
    using Entry = std::shared_ptr<ScrubberEvent>;

    /// Tells a search to give up; asked now and then, with the list not locked.
    using IsStopped = std::function<bool()>;

    /// The largest number of slots that a list takes.
    static constexpr std::uint64_t maxSlots = 50'000'000;

    /// Replaces the list by a head entry, `slots` pending slots and a live entry; pending entries will have `camid`.
    /// `slots` above maxSlots counts as maxSlots.
    void create(std::uint64_t slots, std::int64_t camid);

    void clear();

    /// Head and live entry included. Takes no lock.
    std::int64_t size() const { return size_.load(std::memory_order_acquire); }

    /// The entry at `index`, made if it has to be; null past the end.
    Entry at(std::uint64_t index);

    /// The entry at `index` if it has been made; null for a slot that nobody has asked for, and past the end.
    Entry made(std::uint64_t index) const;

    /// Whether the entry at `index` is of type pending; makes no entry. False past the end.
    bool isPending(std::uint64_t index) const;

    /// Puts `entry` in place of the one at `index`. `folded` is what setFolded() takes. False past the end.
    bool replace(std::uint64_t index, Entry entry, std::uint32_t folded = 0);

    /// How many entries of the service, beyond one, the entry at `index` stands for: members less one for a group, 0
    /// for all others. False past the end.
    bool setFolded(std::uint64_t index, std::uint32_t folded);

    /// Takes the entry at `index` out; those after it move down. False past the end.
    bool erase(std::uint64_t index);

    /// Sum of what setFolded() told for the entries 0 to `last`, both included.
    std::int64_t foldedThrough(std::uint64_t last) const;

    /// Index of the first entry that fits, or nothing. A slot that nobody has asked for counts as the entry that it
    /// would become, and is not made. Only the runs of entries are looked into, about a thousand each, between whose
    /// moments and ids the query lies.
    std::optional<std::uint64_t> find(const ScrubberEventQuery& query, const IsStopped& isStopped) const;

    /// Takes out what find() finds; its former index, or nothing.
    std::optional<std::uint64_t> eraseFirst(const ScrubberEventQuery& query, const IsStopped& isStopped);

    /// Index of the first entry from `from` on for which `matches` gives true, or nothing. Slots that nobody has asked
    /// for are passed over. `matches` runs with the list locked and must not call it.
    std::optional<std::uint64_t> findMade(std::uint64_t from, const std::function<bool(const ScrubberEvent&)>& matches,
                                          const IsStopped& isStopped) const;

    /// The whole list; makes an entry of every slot.
    std::vector<Entry> all();

  private:
    // A run of slots. Both vectors are empty until they have something to hold.
    struct Chunk {
        std::uint32_t length = 0;
        std::int64_t folded = 0;
        std::vector<Entry> entries;
        // Of all entries that are or were here; made with `entries`.
        std::shared_ptr<ScrubberEventBounds> bounds;
        std::vector<std::uint32_t> foldedOf;
    };

    struct Place {
        std::size_t chunk = 0;
        std::size_t slot = 0;
    };

    std::optional<Place> locate(std::uint64_t index) const;
    std::uint64_t indexOf(Place place) const;
    template <typename MayHold, typename Fits>
    std::optional<Place> search(std::unique_lock<std::mutex>& lock, std::uint64_t from, const MayHold& mayHold,
                                const Fits& fits, const IsStopped& isStopped) const;
    std::optional<Place> search(std::unique_lock<std::mutex>& lock, const ScrubberEventQuery& query,
                                const IsStopped& isStopped) const;
    void exchange(Place place, Entry& entry);
    const Entry& madeAt(Place place);
    Entry takeOut(Place place);
    void setFoldedAt(Place place, std::uint32_t folded);

    mutable std::mutex mutex_;
    std::vector<Chunk> chunks_;
    // Fenwick tree over the chunks' lengths: finds the chunk of an index in steps of halves.
    std::vector<std::uint32_t> lengths_;
    std::int64_t camid_ = 0;
    std::string timezone_;
    std::atomic<std::int64_t> size_ = 0;
};

}  // namespace korvane
