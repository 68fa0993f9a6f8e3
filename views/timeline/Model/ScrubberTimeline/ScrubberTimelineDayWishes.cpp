#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDayWishes.h"

#include <algorithm>

namespace korvane {

void ScrubberTimelineDayWishes::add(const Day& day, std::optional<std::size_t> wanted) {
    setMark(day);
    const auto block = day->block();
    const bool isNew = day->isUpdated() == ScrubberTimelineStatusNotAsked;
    if (isNew && block && !holds(*day)) {
        wishes_.push_back({day, {}, 0});
        if (wishes_.size() > maxDays) drop(1);
    }
    raise(day, wanted);
    if (isNew && block) wishes_.back().left = block->timelines().size();
}

void ScrubberTimelineDayWishes::raise(const Day& day, std::optional<std::size_t> wanted) {
    const auto found = std::ranges::find(wishes_, day, &Wish::day);
    if (found == wishes_.end()) return;
    std::rotate(found, found + 1, wishes_.end());
    wishes_.back().wanted = wanted;
}

void ScrubberTimelineDayWishes::keepOnly(const std::vector<Day>& seen) {
    const auto kept = std::stable_partition(wishes_.begin(), wishes_.end(), [&](const Wish& wish) {
        return wish.day != mark_ && std::ranges::find(seen, wish.day) == seen.end();
    });
    drop(static_cast<std::size_t>(kept - wishes_.begin()));
}

void ScrubberTimelineDayWishes::clear() {
    mark_.reset();
    drop(wishes_.size());
}

void ScrubberTimelineDayWishes::drop(std::size_t oldest) {
    const auto end = wishes_.begin() + static_cast<std::ptrdiff_t>(oldest);
    for (auto wish = wishes_.begin(); wish != end; ++wish) wish->day->setIsUpdated(ScrubberTimelineStatusNotAsked);
    wishes_.erase(wishes_.begin(), end);
}

bool ScrubberTimelineDayWishes::holds(const ScrubberTimelineDayItem& day) const {
    return std::ranges::any_of(wishes_, [&](const Wish& wish) { return wish.day.get() == &day; });
}

std::optional<ScrubberTimelineDayWishes::Job> ScrubberTimelineDayWishes::next() {
    while (!wishes_.empty()) {
        Wish& wish = wishes_.back();
        if (const auto timeline = timelineDue(wish)) return Job{wish.day, timeline};
        wish.day->setIsUpdated(ScrubberTimelineStatusDone);
        wishes_.pop_back();
    }
    return std::nullopt;
}

std::shared_ptr<ScrubberTimelineItem> ScrubberTimelineDayWishes::timelineDue(Wish& wish) {
    const auto ifDue = [&](std::size_t index) {
        auto timeline = wish.day->timeline(index);
        const bool isDue = timeline && timeline->isUpdated() == ScrubberTimelineStatusNotAsked;
        return isDue ? timeline : nullptr;
    };
    if (wish.wanted) {
        if (auto timeline = ifDue(*wish.wanted)) return timeline;
        wish.wanted.reset();
    }
    const auto block = wish.day->block();
    if (!block) return nullptr;
    // One that failed earlier may have become due meanwhile, so a round that has come to its end is looked over again.
    for (int round = 0; round < 2; ++round, wish.left = block->timelines().size()) {
        for (; wish.left > 0; --wish.left) {
            if (auto timeline = ifDue(wish.left - 1)) return timeline;
        }
    }
    return nullptr;
}

}  // namespace korvane
