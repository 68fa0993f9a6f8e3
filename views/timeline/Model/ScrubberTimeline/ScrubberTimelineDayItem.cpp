#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDayItem.h"

#include <utility>

namespace korvane {

std::shared_ptr<ScrubberTimelineBlock> ScrubberTimelineDayItem::block() const {
    const std::lock_guard guard(mutex_);
    return block_;
}

void ScrubberTimelineDayItem::setTimelines(std::shared_ptr<ScrubberTimelineBlock> block) {
    // What is replaced goes away outside of the lock.
    const std::lock_guard guard(mutex_);
    block_.swap(block);
}

ScrubberTimelineDayItem::Timelines ScrubberTimelineDayItem::timelines() const {
    Timelines found;
    if (const auto held = block()) {
        found.reserve(held->timelines().size());
        for (auto& timeline : held->timelines()) found.emplace_back(held, &timeline);
    }
    return found;
}

std::shared_ptr<ScrubberTimelineItem> ScrubberTimelineDayItem::timeline(std::size_t index) const {
    const auto held = block();
    if (!held || index >= held->timelines().size()) return nullptr;
    return {held, &held->timelines()[index]};
}

void ScrubberTimelineDayItem::clear() {
    const auto held = block();
    setTimelines(nullptr);
    if (!held) return;
    for (auto& timeline : held->timelines()) timeline.clear();
}

void ScrubberTimelineDayItem::letGo() {
    setIsUpdated(ScrubberTimelineStatusNotAsked);
    const auto held = block();
    if (!held) return;
    for (auto& timeline : held->timelines()) timeline.letGo();
}

}  // namespace korvane
