#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineBlock.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineItem.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineStatus.h"

namespace korvane {

/// A calendar day of UTC on which the camera has activity. The time is set before the day is shared; all else may be
/// called from any thread.
class ScrubberTimelineDayItem {
  public:
    using Timelines = std::vector<std::shared_ptr<ScrubberTimelineItem>>;

    ScrubberTimelineDayItem() = default;
    ScrubberTimelineDayItem(const ScrubberTimelineDayItem&) = delete;
    ScrubberTimelineDayItem& operator=(const ScrubberTimelineDayItem&) = delete;

    /// A ScrubberTimelineStatus, of the day's events: under way while one of its timelines is being filled, done after
    /// each of them, not asked where some wait for another call, and never failed.
    std::int64_t isUpdated() const { return isUpdated_.get(); }
    void setIsUpdated(std::int64_t isUpdated) { isUpdated_.set(isUpdated); }

    /// Midnight of UTC in seconds since the epoch, not in ms as all else in the tree.
    double dateTime() const { return dateTime_; }
    void setDateTime(double dateTime) { dateTime_ = dateTime; }

    /// The recorded periods in the order in which the service gave them.
    Timelines timelines() const;
    /// The period at `index`; null past the end.
    std::shared_ptr<ScrubberTimelineItem> timeline(std::size_t index) const;
    /// Where the timelines lie; null when there are none.
    std::shared_ptr<ScrubberTimelineBlock> block() const;
    void setTimelines(std::shared_ptr<ScrubberTimelineBlock> block);

    /// Clears and removes the timelines; time and status stay.
    void clear();
    /// Removes all events and records, which may be fetched again then; the timelines stay.
    void letGo();

  private:
    ScrubberTimelineStatusField isUpdated_;
    double dateTime_ = 0.0;
    mutable std::mutex mutex_;
    std::shared_ptr<ScrubberTimelineBlock> block_;
};

}  // namespace korvane
