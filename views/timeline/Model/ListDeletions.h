#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace korvane {

/// What has been deleted at the service, or may have been, and still has its slot in the list. The service counts
/// without those, so pages are placed by its count: rank 1 is the oldest entry that it still has. No lock of its own.
class ListDeletions {
  public:
    void begin() { ++inAir_; }
    /// `slot`, if the entry has one, goes on to be shown until it is taken out.
    void confirm(std::optional<std::uint64_t> slot) {
        --inAir_;
        ++confirmed_;
        if (slot && !isGone(*slot)) gone_.insert(std::ranges::upper_bound(gone_, *slot), *slot);
    }
    void fail() { --inAir_; }

    void slotErased(std::uint64_t slot) {
        // Without a deletion of ours the host knows of one.
        if (std::erase(gone_, slot) == 0) ++confirmed_;
        for (std::uint64_t& gone : gone_) {
            if (gone > slot) --gone;
        }
    }
    /// Of a list that is no more.
    void clear() { gone_.clear(); }

    /// Whether the service may have deleted something that it has not told of yet.
    bool isUnderWay() const { return inAir_ > 0; }
    /// How many have been confirmed so far.
    std::uint64_t confirmed() const { return confirmed_; }

    bool isGone(std::uint64_t slot) const { return std::ranges::binary_search(gone_, slot); }
    std::uint64_t goneCount() const { return gone_.size(); }
    /// The rank of `slot`; of one that is gone, that of the next older one.
    std::uint64_t rankOf(std::uint64_t slot) const {
        return slot - static_cast<std::uint64_t>(std::ranges::upper_bound(gone_, slot) - gone_.begin());
    }
    std::uint64_t slotOf(std::uint64_t rank) const {
        for (const std::uint64_t gone : gone_) {
            if (gone <= rank) ++rank;
        }
        return rank;
    }

  private:
    std::uint64_t inAir_ = 0;
    std::uint64_t confirmed_ = 0;
    std::vector<std::uint64_t> gone_;
};

}  // namespace korvane
