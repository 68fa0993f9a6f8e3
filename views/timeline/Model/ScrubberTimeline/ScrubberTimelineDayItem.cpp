#include "views/timeline/Model/ScrubberTimeline/ScrubberTimelineDayItem.h"

#include <utility>

namespace korvane {

ScrubberTimelineDayItem::Timelines ScrubberTimelineDayItem::timelines() const {
    const std::lock_guard guard(mutex_);
    return timelines_;
}

void ScrubberTimelineDayItem::setTimelines(Timelines timelines) {
    const std::lock_guard guard(mutex_);
    timelines_.swap(timelines);
}

std::shared_ptr<ScrubberTimelineItem> ScrubberTimelineDayItem::timeline(std::size_t index) const {
    const std::lock_guard guard(mutex_);
    return index < timelines_.size() ? timelines_[index] : nullptr;
}

void ScrubberTimelineDayItem::clear() {
    Timelines removed;
    {
        const std::lock_guard guard(mutex_);
        removed.swap(timelines_);
    }
    for (const auto& timeline : removed) timeline->clear();
}

}  // namespace korvane
