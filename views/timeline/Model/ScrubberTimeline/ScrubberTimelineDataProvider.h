#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "korvane/client/Reply.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineUploads.h"

namespace korvane {

/// The recorded time of a camera as a tree: days, under them timelines, one a recorded period, under them segments of
/// four minutes. The list of entries is the segments in a row between head and live entry; a tree without segments is
/// an empty list. An entry is made anew each time it is asked for, with the events that have arrived by then.
///
/// A load asks for the days, then for the periods of one day after the other, and shows nothing before it has all of
/// them. A day without an answer is asked for once more, and else left empty, with a log line. Then the events of one
/// day are fetched, and the delegate is told.
class ScrubberTimelineDataProvider final : public ScrubberTimelineUploads {
  public:
    /// Made by std::make_shared. Scheduler and service outlive the provider.
    ScrubberTimelineDataProvider(Scheduler& scheduler, KorvaneService& service);
    ~ScrubberTimelineDataProvider() override;

    /// 0 while closing and without a camera.
    std::int64_t OnScrubberGetEventsCount() override;
    /// Null while closing and without a camera, too.
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override;
    /// Makes no entry and looks at no events.
    std::optional<ScrubberEventSpan> OnScrubberGetEventSpanByIndex(std::int64_t index) override;
    std::int64_t OnScrubberFindEvent(const ScrubberEventQuery& query) override;
    /// The tree cannot be edited: -1.
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& event) override;

    /// Always empty: the list exists only as it is asked for.
    std::vector<std::shared_ptr<ScrubberEvent>> getEvents() override;
    /// Deletes nothing and never calls the completion: 0, or -1 while closing.
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event, DeleteCompletion onComplete) override;
    std::int32_t refresh() override;
    /// Fetches the events of the day of the entry at `index` before those of other days, its own period's first; the
    /// other two take no part. A view asks so for what lies under its mark.
    std::int32_t checkPartNeedRequested(std::uint64_t index, std::int64_t withScrollToIndex,
                                        TimeMs withDateTime) override;
    /// Does nothing, as updateForRange(): the whole tree is there. 0.
    std::int32_t updateForTime(TimeMs time, bool withScroll, bool isClosest) override;

    /// Builds the tree of that range and appends it to the one that is there: who wants it anew clears first. The
    /// events of the day of `withStartFrom` are fetched, or of the last day when that is below 1.
    std::int32_t requestEvents(TimeMs start, TimeMs withEnd, TimeMs withStartFrom) override;

    /// Drops the tree, and what a load under way has got so far; that load ends without a word. Does not wait for the
    /// network; timelines that others hold are emptied in the background.
    void clearAllDays();

    /// The day of UTC that `time`, ms, lies on, or the last one when that day is not in the tree. Nothing while
    /// closing, without a camera and with an empty tree.
    std::shared_ptr<ScrubberTimelineDayItem> getTimelineDayByTime(double time) const;
    /// Null past the end, for a negative index, while closing and without a camera.
    std::shared_ptr<ScrubberTimelineDayItem> getTimelineDayItemByIndex(std::int64_t index) const;
    /// The timeline at `index` of all timelines in a row; null as getTimelineDayItemByIndex().
    std::shared_ptr<ScrubberTimelineItem> getTimelineItemByIndex(std::int64_t index) const;
    std::optional<ScrubberTimelineSegmentPath> getTimelineSegmentItemByIndex(std::int64_t index) const override;

    /// The pages of the other providers have no meaning on a tree: these do nothing. 0.
    std::int32_t updateEvents(std::int64_t offset, std::int64_t withLimit, std::uint64_t withIndex,
                              std::int64_t withScrollToIndex);
    std::int32_t updateStartFrom(TimeMs time, bool withScroll);
    void fillEventsFromDictionary(const Reply& objects, std::uint64_t startWithIndex);
    void fillEventsFromDictionary2(const Reply& objects, std::uint64_t startWithIndex);
    void fillEvent(const std::shared_ptr<ScrubberEvent>& event, const Reply& fromDictionary);

  protected:
    void emptyList() override;
    std::int64_t findByPosition(TimeMs position) override;
    ScrubberEventPlace findClosestByPosition(TimeMs position) override;
    std::shared_ptr<const ScrubberTimelineTree> tree() const override;

  private:
    struct Load;

    std::shared_ptr<ScrubberTimelineDataProvider> self();
    bool isCurrent(const Load& load) const;
    void onActivity(Load load, Reply& reply, std::int32_t status);
    ScrubberTimelineTree::Days readDays(const Reply& reply) const;
    std::int32_t buildTree(Load& load);
    /// False when there is no answer.
    bool buildDay(Load& load, ScrubberTimelineDayItem& day);
    std::shared_ptr<Timeline> fetchDay(const Load& load, const ScrubberTimelineDayItem& day);
    void fillDay(Load& load, ScrubberTimelineDayItem& day, const std::vector<TimelinePair>& periods) const;
    void publish(const Load& load, std::int32_t status);
    std::int32_t show(const Load& load);
    void replaceTree(std::shared_ptr<const ScrubberTimelineTree> tree);
    // The tree, or an empty one while closing and without a camera.
    std::shared_ptr<const ScrubberTimelineTree> shownTree() const;
    // The head or the live entry.
    static std::shared_ptr<ScrubberEvent> makeEdge(const ScrubberTimelineTree& tree, std::int64_t index);
    std::shared_ptr<ScrubberEvent> makeEntry(const KorvaneCamera& camera, const ScrubberTimelineTree& tree,
                                             std::int64_t number) const;

    // Counts the clearings: a load that began before the last one is not wanted any more.
    std::atomic<std::uint64_t> clearings_ = 0;

    mutable std::mutex treeMutex_;
    std::shared_ptr<const ScrubberTimelineTree> tree_;
};

}  // namespace korvane
