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

#include "korvane/views/timeline/Model/CountTree.h"
#include "korvane/views/timeline/Model/PagedEventChunk.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventQuery.h"

namespace korvane {

/// A list that is made at full length at once and filled bit by bit: head entry, one slot an entry of the service from
/// old to new, live entry. A slot that nobody has asked for takes no memory; it becomes an entry of type pending when
/// asked for, and stays that same object, filled in place, until it is taken out.
///
/// What is shown of it is a view: all slots, or, with groups, one entry for each run of slots of which each joins the
/// next. A group stays the same object while its run grows, shrinks or moves. A place in what is shown is an index, a
/// place among all slots a slot; both count from the head entry, 0.
///
/// All functions may be called from any thread; each is atomic by itself under a lock of the list's own, under which
/// nothing is called but `matches` of findMade() and the group maker. A search lets others in now and then, and may or
/// may not see what they change. What must hold over several calls is the caller's to guard. An index or slot at or
/// past the end never does anything.
class PagedEventList {
  public:
    using Entry = std::shared_ptr<ScrubberEvent>;

    /// Tells a search to give up; asked now and then, with the list not locked.
    using IsStopped = std::function<bool()>;

    /// What a group of these members, two or more from old to new, shows itself as, its members included.
    using GroupMaker = std::function<ScrubberEvent::Fields(const std::vector<Entry>& members)>;

    struct Joint {
        std::uint64_t slot = 0;
        bool joinsNext = false;
    };

    /// The largest number of entries of the service that a list takes.
    static constexpr std::uint64_t maxSlots = 50'000'000;

    explicit PagedEventList(GroupMaker makeGroup) : makeGroup_(std::move(makeGroup)) {}

    /// Replaces the list by a head entry, `entries` pending slots and a live entry; pending entries will have `camid`.
    /// `entries` above maxSlots counts as maxSlots.
    void create(std::uint64_t entries, std::int64_t camid);

    void clear();

    /// Shows groups or all slots from now on. Whether that changes what is shown.
    bool setGrouped(bool isGrouped);

    /// Length of what is shown, and number of slots; head and live entry included. Take no lock.
    std::int64_t size() const { return size_.load(std::memory_order_acquire); }
    std::uint64_t slotCount() const { return slotCount_.load(std::memory_order_acquire); }

    std::optional<std::uint64_t> slotOf(std::uint64_t index) const;
    /// Of a group's member, the group's index.
    std::optional<std::uint64_t> indexOf(std::uint64_t slot) const;

    /// The entry that is shown at `index`, made if it has to be; null past the end.
    Entry at(std::uint64_t index);
    /// The same if it has been made; null for a slot that nobody has asked for, and past the end.
    Entry made(std::uint64_t index) const;
    /// The entry in `slot`, a group's member too, made if it has to be; null past the end.
    Entry atSlot(std::uint64_t slot);

    /// Whether the entry in `slot` is of type pending; makes no entry. False past the end.
    bool isPending(std::uint64_t slot) const;

    /// Decides which slots join the one after them, and brings the groups that the slots `first` to `last` belong to up
    /// to date with their members. Where that throws, the slots are shown each by itself.
    void regroup(std::uint64_t first, std::uint64_t last, const std::vector<Joint>& joints);

    /// Takes the entry in `slot` out; those after it move down. Its group shrinks, or is none any more. Head and live
    /// entry stay. Always succeeds: without memory, its group's members are shown each by itself.
    void erase(std::uint64_t slot);

    /// Index of the first shown entry that fits, or nothing. A slot that nobody has asked for counts as the entry that
    /// it would become, and is not made. Only the runs of entries are looked into, about a thousand each, between whose
    /// moments and ids the query lies.
    std::optional<std::uint64_t> find(const ScrubberEventQuery& query, const IsStopped& isStopped) const;

    /// The first slot whose entry fits, a group's member too, or nothing; in all else as find().
    std::optional<std::uint64_t> findSlot(const ScrubberEventQuery& query, const IsStopped& isStopped) const;

    /// Index of the first shown entry from `from` on for which `matches` gives true, or nothing. Slots that nobody has
    /// asked for are passed over. `matches` runs with the list locked and must not call it.
    std::optional<std::uint64_t> findMade(std::uint64_t from, const std::function<bool(const ScrubberEvent&)>& matches,
                                          const IsStopped& isStopped) const;

    /// All that is shown; makes an entry of every slot.
    std::vector<Entry> all();

  private:
    struct Place {
        std::size_t chunk = 0;
        std::uint32_t slot = 0;
    };

    // mutex_ held, in all of these.
    std::optional<Place> placeOfIndex(std::uint64_t index) const;
    Place placeOfSlot(std::uint64_t slot) const;
    std::uint64_t indexOf(Place place) const;
    bool isShown(Place place) const { return !isGrouped_ || !chunks_[place.chunk].joinsNext(place.slot); }
    const Entry& shownAt(Place place) const;
    const Entry& madeAt(Place place);
    bool joinsNext(std::uint64_t slot) const;
    void setJoinsNext(std::uint64_t slot, bool joins);
    // What goes away is left in `dropped`, to die outside of the lock.
    void renewGroups(std::uint64_t first, std::uint64_t last, std::vector<Entry>& dropped);
    void renewGroup(std::uint64_t first, std::uint64_t last, std::vector<Entry>& dropped);
    void exchangeGroup(std::uint64_t slot, Entry& group);
    // What is left where there is no memory for groups: the slots, and those grouped with them, each by itself. Takes
    // no memory.
    void showSingly(std::uint64_t first, std::uint64_t last);
    template <typename Body>
    void tryGrouping(std::uint64_t slot, const Body& body);
    void updateSize();
    template <typename MayHold, typename Fits>
    std::optional<Place> search(std::unique_lock<std::mutex>& lock, std::optional<Place> from, const MayHold& mayHold,
                                const Fits& fits, const IsStopped& isStopped) const;
    template <typename EntryAt>
    std::optional<Place> search(std::unique_lock<std::mutex>& lock, std::optional<Place> from,
                                const ScrubberEventQuery& query, const EntryAt& entryAt,
                                const IsStopped& isStopped) const;

    const GroupMaker makeGroup_;

    mutable std::mutex mutex_;
    std::vector<PagedEventChunk> chunks_;
    // Of each chunk, how many slots it has, and how many of them are shown with groups.
    CountTree lengths_;
    CountTree shown_;
    std::uint64_t shownCount_ = 0;
    bool isGrouped_ = false;
    std::int64_t camid_ = 0;
    std::string timezone_;
    std::atomic<std::uint64_t> slotCount_ = 0;
    std::atomic<std::int64_t> size_ = 0;
};

}  // namespace korvane
