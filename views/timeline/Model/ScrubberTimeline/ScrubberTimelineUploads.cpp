#include "views/timeline/Model/ScrubberTimeline/ScrubberTimelineUploads.h"

namespace korvane {

ScrubberTimelineUploads::ScrubberTimelineUploads(std::string_view classPath, Scheduler& scheduler,
                                                 KorvaneService& service)
    : ScrubberSourceBinding(classPath, scheduler, service),
      queueUploadEvents_(scheduler),
      queueUploadRecords_(scheduler) {}

void ScrubberTimelineUploads::cancelQueues() {
    queueUploadEvents_.cancelAllOperations();
    queueUploadRecords_.cancelAllOperations();
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineDays() {
    return 0;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineDay(
    const std::shared_ptr<ScrubberTimelineDayItem>& /*day*/) {
    return 0;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineItemSync(
    const std::shared_ptr<ScrubberTimelineItem>& /*timeline*/) {
    return 0;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineItem(
    const std::shared_ptr<ScrubberTimelineItem>& /*timeline*/) {
    return 0;
}

std::int32_t ScrubberTimelineUploads::uploadRecordsForTimelineSegmentItem(
    const std::shared_ptr<ScrubberTimelineSegmentItem>& /*segment*/, std::function<void()> /*completion*/) {
    return 0;
}

void ScrubberTimelineUploads::getUrl(std::uint64_t /*index*/, TimeMs /*withDateTime*/, UrlCompletion /*completion*/) {}

}  // namespace korvane
