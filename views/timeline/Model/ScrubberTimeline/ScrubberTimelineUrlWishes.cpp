#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineUrlWishes.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvane {

template <typename IsDropped>
ScrubberTimelineUrlWishes::Wishes ScrubberTimelineUrlWishes::extract(const IsDropped& isDropped) {
    const auto dropped =
        std::stable_partition(wishes_.begin(), wishes_.end(), [&](const Wish& wish) { return !isDropped(wish); });
    Wishes taken(std::make_move_iterator(dropped), std::make_move_iterator(wishes_.end()));
    wishes_.erase(dropped, wishes_.end());
    return taken;
}

ScrubberTimelineUrlWishes::Wishes ScrubberTimelineUrlWishes::add(Wish wish) {
    Wishes replaced = extract([&](const Wish& other) { return other.segment == wish.segment; });
    wish.isAsked = !replaced.empty() && replaced.front().isAsked;
    if (!wish.isAsked && waiting() >= maxSegments) {
        const auto oldest = std::ranges::find(wishes_, false, &Wish::isAsked);
        replaced.push_back(std::move(*oldest));
        wishes_.erase(oldest);
    }
    wishes_.push_back(std::move(wish));
    return replaced;
}

ScrubberTimelineUrlWishes::Wishes ScrubberTimelineUrlWishes::keepOnly(const ViewRange& seen) {
    if (wishes_.empty()) return {};
    const auto newest = wishes_.back().segment;
    return extract(
        [&](const Wish& wish) { return !wish.isAsked && wish.segment != newest && !seen.holds(wish.index); });
}

std::shared_ptr<ScrubberTimelineSegmentItem> ScrubberTimelineUrlWishes::next() {
    if (!mayAsk()) return nullptr;
    const auto newest = std::ranges::find(wishes_.rbegin(), wishes_.rend(), false, &Wish::isAsked);
    newest->isAsked = true;
    return newest->segment;
}

std::optional<ScrubberTimelineUrlWishes::Wish> ScrubberTimelineUrlWishes::take(
    const ScrubberTimelineSegmentItem& segment) {
    auto taken = extract([&](const Wish& wish) { return wish.segment.get() == &segment; });
    return taken.empty() ? std::nullopt : std::optional(std::move(taken.front()));
}

std::size_t ScrubberTimelineUrlWishes::waiting() const {
    return static_cast<std::size_t>(std::ranges::count(wishes_, false, &Wish::isAsked));
}

}  // namespace korvane
