#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/LazyBox.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineEventItem.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineSegmentItem.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineStatus.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

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
    /// From failed to not asked.
    void allowUpdate() { isUpdated_.change(ScrubberTimelineStatusFailed, ScrubberTimelineStatusNotAsked); }

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
    std::size_t eventCount() const;
    /// An entry for each event from the start of the slice at `index` to before its end, in order of arrival, with
    /// `timezone`. Costs what it gives.
    ScrubberEvent::Childs childsOfSegment(std::size_t index, const std::string& timezone) const;
    /// Keeps the first total above 0 that the service has told for these events, and gives it; 0 before one.
    std::int64_t noteTotal(std::int64_t told);
    /// Removes events and records and gives back what they took; what had been filled has not been asked then.
    void letGo();

    /// Clears and removes the segments, and removes the events; times and status stay.
    void clear();

  private:
    struct EventShelf {
        // Nothing is called out with it held.
        std::mutex mutex;
        Events events;
        std::int64_t total = 0;
        // Places in events by place in segments_.
        std::unordered_map<std::size_t, std::vector<std::size_t>> ofSegments;
    };

    void append(EventShelf& shelf, Events events);
    void dropEvents();

    ScrubberTimelineStatusField isUpdated_;
    double startDateTime_ = 0.0;
    double endDateTime_ = 0.0;
    Segments segments_;
    std::atomic<bool> isCleared_ = false;
    LazyBox<EventShelf> shelf_;
};

}  // namespace korvane
