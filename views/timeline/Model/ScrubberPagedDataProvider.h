#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/client/Reply.h"
#include "korvane/views/timeline/Model/ListDeletions.h"
#include "korvane/views/timeline/Model/PageRequests.h"
#include "korvane/views/timeline/Model/PagedEventList.h"
#include "korvane/views/timeline/Model/ScrubberSourceBinding.h"
#include "korvane/views/timeline/Model/ServicePage.h"

namespace korvane {

/// A provider of one long list, newest entry last. The first page tells how long the list is; further pages are fetched
/// around the positions that the view asks about. With grouping, entries that lie close together are shown as one. The
/// indexes of all public operations count what is shown.
///
/// A page that is under way is not asked for again, one that has failed not before 5 s, then twice as long each time up
/// to a minute; the delegate is then told to reload what is visible. Where the service counts other entries than the
/// list has, the list is made anew.
///
/// What the list holds is the subclass's: what to ask the service for, how to read an element of a reply, and when two
/// neighbours belong to one group.
class ScrubberPagedDataProvider : public ScrubberSourceBinding {
  public:
    ~ScrubberPagedDataProvider() override;

    /// 0 while closing.
    std::int64_t OnScrubberGetEventsCount() override;
    /// Null while closing, too.
    std::shared_ptr<ScrubberEvent> OnScrubberGetEventByIndex(std::int64_t index) override;
    /// Takes out what has its id, a member of a group too, which then shrinks; gives its index, or that of its group.
    /// Later pages count on it that the service has deleted it.
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& event) override;
    /// Makes no entries; -1 while closing.
    std::int64_t OnScrubberFindEvent(const ScrubberEventQuery& query) override;

    std::vector<std::shared_ptr<ScrubberEvent>> getEvents() override;
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event, DeleteCompletion onComplete) override;
    /// What is loaded stays; the delegate is told when that changes what is shown.
    void enableEventGrouping(bool enabled) override;
    /// 0 while closing.
    std::int64_t getUngroupedCount() override;
    std::int32_t checkPartNeedRequested(std::uint64_t index, std::int64_t withScrollToIndex,
                                        TimeMs withDateTime) override;
    /// Asks the service how many entries lie up to a second after `time`, ms, and goes to the last of them, or, with
    /// `isClosest`, to the next. A failure tells nobody.
    std::int32_t updateForTime(TimeMs time, bool withScroll, bool isClosest) override;

    /// Brings the view to the oldest entry when the service has any from `time`, ms, on; otherwise nothing happens and
    /// nobody is told. `withScroll` changes nothing. Always 0.
    std::int32_t updateStartFrom(TimeMs time, bool withScroll);

    std::int32_t requestEvents(TimeMs start, TimeMs withEnd, TimeMs withStartFrom) override;

    /// Makes the list anew: head entry, `count` pending slots (PagedEventList::maxSlots at most), live entry. Its
    /// length.
    std::uint64_t initStorageForEvents(std::uint64_t count);

    /// Fetches one page, `offset` counted by the service, into the list at `withIndex` and towards its older end. The
    /// delegate hears of the outcome with `withScrollToIndex` passed on. Always 0.
    std::int32_t updateEvents(std::int64_t offset, std::int64_t withLimit, std::uint64_t withIndex,
                              std::int64_t withScrollToIndex);

    /// Writes the elements of one page into the list from `startWithIndex` on. An element that is no object counts as
    /// one without keys. Elements that run past the list's end are dropped with a line in the log.
    void fillEventsFromDictionary(const Reply& objects, std::uint64_t startWithIndex);

  protected:
    /// A page of the service. Times are ms.
    struct PageQuery {
        TimeMs start = -1;
        TimeMs end = -1;
        std::optional<std::string> eventType;
        bool isAscending = false;
        std::int64_t limit = 100;
        std::int64_t offset = 0;
    };

    /// Neighbours that lie no further apart than this, ms, belong to one group.
    static constexpr TimeMs groupDistance = 10000;

    ScrubberPagedDataProvider(std::string_view classPath, Scheduler& scheduler, KorvaneService& service);

    void emptyList() override;
    /// Neither these two make entries. A pending slot is of no moment and covers none.
    std::int64_t findByPosition(TimeMs position) override;
    ScrubberEventPlace findClosestByPosition(TimeMs position) override;

    /// Asks for one page.
    virtual void requestPage(KorvaneCamera& camera, const PageQuery& query, ReplyCompletion onComplete) = 0;

    /// Adds to the elements of a page what its reply lacks, then calls `onComplete` with them, at once or after
    /// further requests; never when such a request is due and the provider has been closed.
    virtual void completePage(const PageQuery& query, Reply objects,
                              const std::function<void(Reply objects)>& onComplete);

    /// Sets `event` from an element; `camera` is null once the provider has been closed. Type and time zone are set.
    virtual void readElement(ScrubberEvent::Fields& event, const Reply& element, const KorvaneCamera* camera) const = 0;

    /// Whether `current` belongs to the group of `previous`, the element before it in the page.
    virtual bool joins(const ScrubberEvent::Fields& previous, const ScrubberEvent::Fields& current) const = 0;

    /// Sets in a new group what it takes from its first member beyond identity, moment, picture and zone.
    virtual void startGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& first) const = 0;

    /// Sets in a group what it takes from a further member beyond those.
    virtual void extendGroup(ScrubberEvent::Fields& group, const ScrubberEvent::Fields& member) const = 0;

  private:
    struct Answer;
    struct FirstLoad;
    struct Jump {
        TimeMs time = -1;
        bool isClosest = false;
    };

    using AnswerHandler = std::function<void(Answer answer)>;

    std::shared_ptr<ScrubberPagedDataProvider> self();
    std::int64_t findMade(std::uint64_t from, const std::function<bool(const ScrubberEvent&)>& matches) const;

    // Requests
    void ask(const PageQuery& query, AnswerHandler onAnswer);
    void fetch(const PageQuery& query, AnswerHandler onAnswer);
    void onFirstPage(const FirstLoad& load, const PageQuery& query, const Answer& answer);
    void onLaterPage(const PageRequests::Request& request, const Answer& answer);
    void onCount(const ServicePage& page, TimeMs time, bool withScroll, bool isClosest, std::uint64_t confirmed);
    void onDeleted(const std::shared_ptr<KorvaneCamera>& camera, std::int64_t id, std::int32_t status);
    void onRetryDue(std::uint64_t number);

    // listLock() held, in all that follow.
    bool tellLoadedMoment(TimeMs time);
    void tellOrFetch(std::uint64_t slot, const PageWish& wish);
    void requestSlots(std::uint64_t begin, std::uint64_t wanted, std::int64_t offset, std::int64_t limit,
                      const PageWish& wish);
    void failPage(const PageRequest& request, std::int32_t status);
    void makeList(std::uint64_t count, const PageQuery& query);
    void replaceList(const PageRequest& request, std::uint64_t count, const Reply& objects);
    void fillSlots(const Reply& objects, std::uint64_t begin);
    void fillEvent(ScrubberEvent::Fields& event, const Reply& element, const KorvaneCamera* camera) const;
    ScrubberEvent::Fields makeGroup(const std::vector<std::shared_ptr<ScrubberEvent>>& members) const;
    PageWish wishFor(std::int64_t scrollToIndex) const;
    /// What is on screen may be asked for again.
    void tellVisible() const;
    void tellIndex(std::uint64_t slot, const PageWish& wish) const;
    void tellIndex(std::uint64_t index, const PageWish& wish, std::int64_t from, std::int64_t to) const;
    std::uint64_t endOfPendingRun(std::uint64_t slot, std::int64_t limit) const;
    // Entries that the service has, as far as the list knows.
    std::uint64_t entryCount() const;
    std::int64_t offsetOf(std::uint64_t slot) const;
    std::uint64_t slotAtOffset(std::int64_t offset) const;

    PagedEventList events_;

    // Guarded by listLock().
    PageRequests pages_;
    ListDeletions deletions_;
    // Counted while a deletion was under way, to be counted again after it.
    std::optional<Jump> waitingJump_;
    std::atomic<std::uint64_t> lastJump_ = 0;  // the newest wins
    // What the list was asked for with; its pages are asked for with the same, whatever has been set since.
    PageQuery listQuery_;
    std::uint64_t loads_ = 0;
    RetryDelay replaceDelay_;
    bool mayReplace_ = true;
};

}  // namespace korvane
