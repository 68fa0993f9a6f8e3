#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "korvane/base/SerialQueue.h"
#include "korvane/base/Time.h"
#include "korvane/client/Reply.h"
#include "korvane/views/timeline/Model/FailedPages.h"
#include "korvane/views/timeline/Model/ScrubberSourceBinding.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDayWishes.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineTree.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineUrlWishes.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ViewRange.h"

namespace korvane {

/// What the day tree is filled with when somebody needs it: the events of a day's timelines and the records of a
/// segment. The tree itself is the subclass's.
///
/// What was wished for last is fetched first, also before the rest of what is being fetched: events one page at a time,
/// records of a few segments at a time. What waits is dropped once it lies further from the cells on screen, as
/// OnScrubberDataProviderGetVisibleIndexes() tells them, than the length of one screen; what was wished for last stays,
/// and with no cell on screen everything does. Of the cells on screen the middle one, where the mark lies, comes first.
///
/// A page or segment whose request has failed may be asked for again after 5 s, then after twice as long each time up
/// to a minute; until then its status is failed. Then the delegate is told to redraw where it is on screen, and the day
/// that was wished for last is fetched on without being asked for. A segment of which the service has no records stays
/// failed until the tree is built anew. While closing and without a camera nothing happens. All functions may be called
/// from any thread.
class ScrubberTimelineUploads : public ScrubberSourceBinding {
  public:
    /// Days of which events and records are kept. With more, those go that lie furthest from the day that was wished
    /// for last: they can be fetched again.
    static constexpr std::size_t maxKeptDays = 90;

    /// Wishes for all days, the last one before the others. Always 0.
    std::int32_t uploadEventsForTimelineDays();

    /// Wishes for the timelines of a day, the last one before the others, unless they have been fetched. The delegate
    /// is told to redraw when a timeline that has been filled is on screen. Always 0.
    std::int32_t uploadEventsForTimelineDay(const std::shared_ptr<ScrubberTimelineDayItem>& day);

    /// Fetches all pages of a timeline's events, from where an earlier fetch stopped, each of them added as it comes.
    /// Ends with the first empty page, or once the service has given a whole page more than it said there was. Blocks
    /// for the network's time, or until the tree is cleared. Always 0.
    std::int32_t uploadEventsForTimelineItemSync(const std::shared_ptr<ScrubberTimelineItem>& timeline);

    /// Asks for one page of a timeline's events and returns. Always 0.
    std::int32_t uploadEventsForTimelineItem(const std::shared_ptr<ScrubberTimelineItem>& timeline);

    /// Asks for the records of a segment and returns. `completion` runs, on a thread of the client library, once there
    /// are some, and never otherwise. Always 0.
    std::int32_t uploadRecordsForTimelineSegmentItem(const std::shared_ptr<ScrubberTimelineSegmentItem>& segment,
                                                     std::function<void()> completion);

    /// The recording that covers `withDateTime`, ms, in the segment of the list entry `index`, or the next one there:
    /// a new entry with the recording's span and URL and that moment. A segment is asked for once until it is answered;
    /// of the calls that wait for it the last one's `completion` runs, on the caller's thread or on one of the client
    /// library. It never runs when there is no such recording, when the segment's request has failed, and when other
    /// calls have pushed this one out: then the next call may have more luck.
    void getUrl(std::uint64_t index, TimeMs withDateTime, UrlCompletion completion) override;

    /// The segment of that number with its parents; nothing past the end, for a negative number, and while closing.
    virtual std::optional<ScrubberTimelineSegmentPath> getTimelineSegmentItemByIndex(std::int64_t index) const = 0;

  protected:
    ScrubberTimelineUploads(std::string_view classPath, Scheduler& scheduler, KorvaneService& service);

    void cancelQueues() override;
    /// Ends what is under way and forgets what waits: it is of a tree that is no more.
    void dropUploads();

    /// As uploadEventsForTimelineDay(), the timeline of `path` before the others; a day that has been fetched becomes
    /// the one wished for last all the same.
    void wishForDay(const ScrubberTimelineSegmentPath& path);

    /// The tree as it has been published last; empty before that and once it has been cleared. Never null.
    virtual std::shared_ptr<const ScrubberTimelineTree> tree() const = 0;

  private:
    enum class Page { More, Last, None, Failed, BrokenOff };

    // What has failed; the day is null where it is not known, and so is one of the other two.
    struct Failed {
        std::shared_ptr<ScrubberTimelineDayItem> day;
        std::shared_ptr<ScrubberTimelineItem> timeline;
        std::shared_ptr<ScrubberTimelineSegmentItem> segment;
    };

    std::shared_ptr<ScrubberTimelineUploads> self();
    std::uint64_t trees() const;
    std::optional<ViewRange> viewRange();

    // Events
    void wish(const std::shared_ptr<ScrubberTimelineDayItem>& day, std::optional<std::size_t> timeline);
    void queuePage();
    void uploadNextPage(std::uint64_t trees);
    void followView();
    Page uploadPage(const ScrubberTimelineDayWishes::Job& job, std::uint64_t trees);
    Page fetchPage(KorvaneCamera& camera, ScrubberTimelineItem& timeline, std::uint64_t trees);
    Page takeEvents(ScrubberTimelineItem& timeline, const Reply& objects, std::uint64_t trees);
    void settle(const Failed& item, Page outcome, std::uint64_t trees);
    void tellRedraw(const Failed& item);

    // Records
    void queueRecords();
    void uploadNextRecords(std::uint64_t trees);
    Page takeRecords(ScrubberTimelineSegmentItem& segment, const Reply& reply, std::int32_t status,
                     std::uint64_t trees);
    void answer(const ScrubberTimelineSegmentItem& segment);
    void giveUrl(const ScrubberTimelineSegmentItem& segment, TimeMs time, const UrlCompletion& completion);

    void onRetryDue(std::uint64_t number);
    // mutex_ held.
    void keepDay(const std::shared_ptr<ScrubberTimelineDayItem>& day);

    SerialQueue queueUploadEvents_;
    SerialQueue queueUploadRecords_;

    // Guards what follows. Nothing is called out with it held.
    mutable std::mutex mutex_;
    // Counts the trees that have been dropped: what was asked for one of them is not wanted any more.
    std::uint64_t trees_ = 0;
    ScrubberTimelineDayWishes days_;
    ScrubberTimelineUrlWishes urls_;
    // Whether the queue has an operation that will look at the wishes.
    bool isPageQueued_ = false;
    bool areRecordsQueued_ = false;
    FailedPages<Failed> failed_;
    std::vector<std::shared_ptr<ScrubberTimelineDayItem>> kept_;
};

}  // namespace korvane
