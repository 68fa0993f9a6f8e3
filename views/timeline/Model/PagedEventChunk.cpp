#include "korvane/views/timeline/Model/PagedEventChunk.h"

#include <algorithm>
#include <numeric>

namespace korvane {

std::uint32_t PagedEventChunk::shownBefore(std::uint32_t slot) const {
    if (!isFolded_) return slot;
    return static_cast<std::uint32_t>(std::ranges::lower_bound(shown_, slot) - shown_.begin());
}

bool PagedEventChunk::joinsNext(std::uint32_t slot) const {
    return isFolded_ && !std::ranges::binary_search(shown_, slot);
}

bool PagedEventChunk::setJoinsNext(std::uint32_t slot, bool joins) {
    if (joinsNext(slot) == joins) return false;
    if (!isFolded_) {
        shown_.resize(length_);
        std::iota(shown_.begin(), shown_.end(), std::uint16_t{0});
        isFolded_ = true;
    }
    const auto place = std::ranges::lower_bound(shown_, slot);
    if (joins) {
        shown_.erase(place);
    } else {
        shown_.insert(place, static_cast<std::uint16_t>(slot));
    }
    return true;
}

PagedEventChunk::Entry PagedEventChunk::erase(std::uint32_t slot) {
    const auto at = static_cast<std::ptrdiff_t>(slot);
    if (isFolded_) {
        const auto after = shown_.erase(std::ranges::lower_bound(shown_, slot));
        std::for_each(after, shown_.end(), [](std::uint16_t& later) { --later; });
    }
    --length_;
    if (!groups_.empty()) groups_.erase(groups_.begin() + at);
    if (entries_.empty()) return nullptr;
    Entry taken = std::move(entries_[slot]);
    entries_.erase(entries_.begin() + at);
    return taken;
}

void PagedEventChunk::exchange(std::vector<Entry>& of, std::uint32_t slot, Entry& entry) {
    if (!bounds_) bounds_ = std::make_shared<ScrubberEventBounds>();
    if (of.empty()) of.resize(length_);
    if (entry) entry->setBounds(bounds_);
    of[slot].swap(entry);
}

}  // namespace korvane
