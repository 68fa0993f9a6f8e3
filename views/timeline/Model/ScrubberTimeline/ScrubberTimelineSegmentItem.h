#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "korvane/views/timeline/Model/ScrubberTimeline/LazyBox.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineSegmentRecordItem.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineStatus.h"

namespace korvane {

/// One slice of a recorded period: one cell of the strip. A tree holds more than a million of them, so one that has no
/// records is four words. The times are set before the segment is shared; all else may be called from any thread.
class ScrubberTimelineSegmentItem {
  public:
    using Records = std::vector<ScrubberTimelineSegmentRecordItem>;

    ScrubberTimelineSegmentItem() = default;
    ScrubberTimelineSegmentItem(const ScrubberTimelineSegmentItem&) = delete;
    ScrubberTimelineSegmentItem& operator=(const ScrubberTimelineSegmentItem&) = delete;

    /// A ScrubberTimelineStatus, of the segment's records.
    std::int64_t isUpdated() const { return isUpdated_.get(); }
    void setIsUpdated(std::int64_t isUpdated) { isUpdated_.set(isUpdated); }
    /// From not asked to under way; false when it was not at not asked.
    bool beginUpdate() { return isUpdated_.begin(); }
    /// From failed to not asked.
    void allowUpdate() { isUpdated_.change(ScrubberTimelineStatusFailed, ScrubberTimelineStatusNotAsked); }

    /// Begin of the slice, ms.
    double startDateTime() const { return startDateTime_; }
    void setStartDateTime(double startDateTime) { startDateTime_ = startDateTime; }

    /// End of the slice, ms; it belongs to the slice that follows.
    double endDateTime() const { return endDateTime_; }
    void setEndDateTime(double endDateTime) { endDateTime_ = endDateTime; }

    /// The recordings that cover the slice, as of this moment. Never null.
    std::shared_ptr<const Records> records() const;
    void setRecords(Records records);

    /// Removes the records; times and status stay.
    void clear();
    /// Removes the records; a segment that had some has not been asked then.
    void letGo();

  private:
    struct Shelf {
        std::mutex mutex;
        // Null when there are none.
        std::shared_ptr<const Records> records;
    };

    static void replace(Shelf& shelf, std::shared_ptr<const Records> records);

    ScrubberTimelineStatusField isUpdated_;
    double startDateTime_ = 0.0;
    double endDateTime_ = 0.0;
    LazyBox<Shelf> shelf_;
};

}  // namespace korvane
