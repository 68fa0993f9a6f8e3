#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "korvane/base/SerialQueue.h"
#include "korvane/base/Time.h"
#include "korvane/client/Reply.h"
#include "korvane/views/timeline/Model/ScrubberSourceBinding.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineTree.h"

namespace korvane {

/// What the day tree is filled with when somebody needs it: the events of a day's timelines and the records of a
/// segment. Each of the two has a queue with one operation at a time. The tree itself is the subclass's.
///
/// Each item is asked for once: what failed stays so until the tree is built anew, and nobody is told. While closing
/// and without a camera nothing happens. All functions may be called from any thread.
class ScrubberTimelineUploads : public ScrubberSourceBinding {
  public:
    /// Queues all days, the last one first. Always 0.
    std::int32_t uploadEventsForTimelineDays();

    /// Queues the timelines of a day that has not been asked for, or once only and waits, the last one first. The
    /// delegate is told to redraw when a timeline that has been filled is on screen. Always 0.
    std::int32_t uploadEventsForTimelineDay(const std::shared_ptr<ScrubberTimelineDayItem>& day);

    /// Fetches all pages of a timeline's events, each of them added as it comes. Ends with the first empty page, or
    /// once the service has given a whole page more than it said there was. Blocks for the network's time. Always 0.
    std::int32_t uploadEventsForTimelineItemSync(const std::shared_ptr<ScrubberTimelineItem>& timeline);

    /// Asks for one page of a timeline's events and returns. Always 0.
    std::int32_t uploadEventsForTimelineItem(const std::shared_ptr<ScrubberTimelineItem>& timeline);

    /// Asks for the records of a segment and returns. `completion` runs, on a thread of the client library, once there
    /// are some, and never otherwise. Always 0.
    std::int32_t uploadRecordsForTimelineSegmentItem(const std::shared_ptr<ScrubberTimelineSegmentItem>& segment,
                                                     std::function<void()> completion);

    /// The recording that covers `withDateTime`, ms, in the segment of the list entry `index`, or the next one there:
    /// a new entry with the recording's span and URL and that moment. `completion` runs on the caller's thread or on
    /// one of the client library, and never when there is no such recording or its segment's request has failed, nor
    /// when that segment is being asked for already or six others wait: then the next call may have more luck.
    void getUrl(std::uint64_t index, TimeMs withDateTime, UrlCompletion completion) override;

    /// The segment of that number with its parents; nothing past the end, for a negative number, and while closing.
    virtual std::optional<ScrubberTimelineSegmentPath> getTimelineSegmentItemByIndex(std::int64_t index) const = 0;

  protected:
    ScrubberTimelineUploads(std::string_view classPath, Scheduler& scheduler, KorvaneService& service);

    void cancelQueues() override;

    /// The tree as it has been published last; empty before that and once it has been cleared. Never null.
    virtual std::shared_ptr<const ScrubberTimelineTree> tree() const = 0;

  private:
    std::shared_ptr<ScrubberTimelineUploads> self();

    void uploadTimelineOfDay(ScrubberTimelineDayItem& day, std::size_t index);
    void tellRedraw(const std::shared_ptr<ScrubberTimelineItem>& timeline) const;
    std::int64_t fetchAllEvents(const std::shared_ptr<KorvaneCamera>& camera, ScrubberTimelineItem& timeline) const;
    std::int64_t takeEvents(ScrubberTimelineItem& timeline, const Reply& reply, std::int32_t status);
    std::int64_t takeRecords(ScrubberTimelineSegmentItem& segment, const Reply& reply, std::int32_t status) const;
    void giveUrl(const ScrubberTimelineSegmentItem& segment, TimeMs time, const UrlCompletion& completion);

    // What `fill` gives becomes the item's status, and is given back; an exception is a failure.
    template <typename Item, typename Fill>
    std::int64_t settle(Item& item, Fill fill);

    SerialQueue queueUploadEvents_;
    SerialQueue queueUploadRecords_;
};

}  // namespace korvane
