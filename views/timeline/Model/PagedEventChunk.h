#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventBounds.h"

namespace korvane {

/// A run of slots of a PagedEventList, and which of them are shown when groups are: each but those that join the group
/// of the slot after them. The vectors are empty until they have something to hold.
class PagedEventChunk {
  public:
    using Entry = std::shared_ptr<ScrubberEvent>;

    explicit PagedEventChunk(std::uint32_t length) : length_(length) {}

    std::uint32_t length() const { return length_; }
    std::uint32_t shownCount() const { return isFolded_ ? static_cast<std::uint32_t>(shown_.size()) : length_; }

    /// The slot of the `number`th slot that is shown, from 0, and how many of those there are before a slot.
    std::uint32_t slotOfShown(std::uint32_t number) const { return isFolded_ ? shown_[number] : number; }
    std::uint32_t shownBefore(std::uint32_t slot) const;

    bool joinsNext(std::uint32_t slot) const;
    /// Whether that changed anything.
    bool setJoinsNext(std::uint32_t slot, bool joins);
    bool isFolded() const { return isFolded_; }

    /// Null for a slot that nobody has asked for.
    const Entry& entry(std::uint32_t slot) const { return entries_.empty() ? none() : entries_[slot]; }
    /// The group whose newest member is at `slot`; null when there is none.
    const Entry& group(std::uint32_t slot) const { return groups_.empty() ? none() : groups_[slot]; }
    bool hasEntries() const { return !entries_.empty(); }
    /// Of all entries and groups that are or were here; null before there were any.
    const std::shared_ptr<ScrubberEventBounds>& bounds() const { return bounds_; }

    /// Puts `entry` into the slot and leaves in `entry` what was there.
    void exchangeEntry(std::uint32_t slot, Entry& entry) { exchange(entries_, slot, entry); }
    void exchangeGroup(std::uint32_t slot, Entry& group) {
        if (group || !groups_.empty()) exchange(groups_, slot, group);
    }
    std::vector<Entry> takeGroups() { return std::exchange(groups_, {}); }

    /// Takes out a slot that joins no other and has no group; gives its entry.
    Entry erase(std::uint32_t slot);

  private:
    static const Entry& none() {
        static const Entry nothing;
        return nothing;
    }

    void exchange(std::vector<Entry>& of, std::uint32_t slot, Entry& entry);

    std::uint32_t length_ = 0;
    // Whether a slot has ever joined another; without that all are shown and `shown_` is not kept.
    bool isFolded_ = false;
    std::vector<std::uint16_t> shown_;
    std::vector<Entry> entries_;
    std::vector<Entry> groups_;
    std::shared_ptr<ScrubberEventBounds> bounds_;
};

}  // namespace korvane
