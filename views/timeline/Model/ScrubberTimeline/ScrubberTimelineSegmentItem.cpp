#include "views/timeline/Model/ScrubberTimeline/ScrubberTimelineSegmentItem.h"

#include <mutex>
#include <utility>

namespace korvane {

struct ScrubberTimelineSegmentItem::Box {
    std::mutex mutex;
    // Null when there are none.
    std::shared_ptr<const Records> records;
};

ScrubberTimelineSegmentItem::~ScrubberTimelineSegmentItem() {
    delete box_.load();
}

std::shared_ptr<const ScrubberTimelineSegmentItem::Records> ScrubberTimelineSegmentItem::records() const {
    if (Box* const box = box_.load()) {
        const std::lock_guard guard(box->mutex);
        if (box->records) return box->records;
    }
    return std::make_shared<const Records>();
}

void ScrubberTimelineSegmentItem::setRecords(Records records) {
    replace(std::make_shared<const Records>(std::move(records)));
}

void ScrubberTimelineSegmentItem::clear() {
    if (box_.load()) replace(nullptr);
}

ScrubberTimelineSegmentItem::Box& ScrubberTimelineSegmentItem::box() {
    Box* existing = box_.load();
    if (existing) return *existing;
    auto fresh = std::make_unique<Box>();
    return box_.compare_exchange_strong(existing, fresh.get()) ? *fresh.release() : *existing;
}

void ScrubberTimelineSegmentItem::replace(std::shared_ptr<const Records> records) {
    Box& held = box();
    // What is replaced goes away outside of the lock.
    const std::lock_guard guard(held.mutex);
    held.records.swap(records);
}

}  // namespace korvane
