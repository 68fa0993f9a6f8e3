#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineSegmentItem.h"

#include <utility>

namespace korvane {

std::shared_ptr<const ScrubberTimelineSegmentItem::Records> ScrubberTimelineSegmentItem::records() const {
    if (Shelf* const shelf = shelf_.get()) {
        const std::lock_guard guard(shelf->mutex);
        if (shelf->records) return shelf->records;
    }
    return std::make_shared<const Records>();
}

void ScrubberTimelineSegmentItem::setRecords(Records records) {
    replace(shelf_.make(), std::make_shared<const Records>(std::move(records)));
}

void ScrubberTimelineSegmentItem::clear() {
    if (Shelf* const shelf = shelf_.get()) replace(*shelf, nullptr);
}

void ScrubberTimelineSegmentItem::letGo() {
    if (isUpdated_.change(ScrubberTimelineStatusDone, ScrubberTimelineStatusNotAsked)) clear();
}

void ScrubberTimelineSegmentItem::replace(Shelf& shelf, std::shared_ptr<const Records> records) {
    // What is replaced goes away outside of the lock.
    const std::lock_guard guard(shelf.mutex);
    shelf.records.swap(records);
}

}  // namespace korvane
