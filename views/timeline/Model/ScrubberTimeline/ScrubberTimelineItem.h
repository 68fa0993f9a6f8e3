#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <unordered_map>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/LazyBox.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineEventItem.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineSegmentItem.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineStatus.h"

namespace korvane {

/// One recorded period of a camera: its segments, and the events that fall into it. Times and segments are set before
/// the timeline is shared; all else may be called from any thread.
class ScrubberTimelineItem {
  public:
    using Segments = std::span<ScrubberTimelineSegmentItem>;
    using Events = std::vector<ScrubberTimelineEventItem>;

    ScrubberTimelineItem() = default;
    ScrubberTimelineItem(const ScrubberTimelineItem&) = delete;
    ScrubberTimelineItem& operator=(const ScrubberTimelineItem&) = delete;

    /// A ScrubberTimelineStatus, of the period's events.
    std::int64_t isUpdated() const { return isUpdated_.get(); }
    void setIsUpdated(std::int64_t isUpdated) { isUpdated_.set(isUpdated); }
    /// From not asked to under way; false when it was not at not asked.
    bool beginUpdate() { return isUpdated_.begin(); }

    /// Begin of the period, ms.
    double startDateTime() const { return startDateTime_; }
    void setStartDateTime(double startDateTime) { startDateTime_ = startDateTime; }

    /// End of the period, ms.
    double endDateTime() const { return endDateTime_; }
    void setEndDateTime(double endDateTime) { endDateTime_ = endDateTime; }

    /// The slices; none once they have been cleared. What has been given lives as long as the timeline all the same.
    Segments segments() const { return isCleared_ ? Segments() : segments_; }
    /// In order of time and without overlaps. They live as long as the timeline.
    void setSegments(Segments segments);
    /// How many of a timeline's segments begin at `time`, ms, or before it.
    static std::size_t startedBy(Segments segments, TimeMs time);

    /// A copy of the events, in order of arrival.
    Events events() const;
    void setEvents(Events events);
    /// Appends.
    void addEvents(Events events);
    /// Copies of the events from the start of the slice at `index` to before its end, in order of arrival. Costs what
    /// it gives.
    Events eventsOfSegment(std::size_t index) const;

    /// Clears and removes the segments, and removes the events; times and status stay.
    void clear();

  private:
    struct EventShelf {
        // Nothing is called out with it held.
        std::mutex mutex;
        Events events;
        // Places in events by place in segments_.
        std::unordered_map<std::size_t, std::vector<std::size_t>> ofSegments;
    };

    void append(EventShelf& shelf, Events events);

    ScrubberTimelineStatusField isUpdated_;
    double startDateTime_ = 0.0;
    double endDateTime_ = 0.0;
    Segments segments_;
    std::atomic<bool> isCleared_ = false;
    LazyBox<EventShelf> shelf_;
};

}  // namespace korvane
