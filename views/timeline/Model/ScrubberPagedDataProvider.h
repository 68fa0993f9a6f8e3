#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/Reply.h"
#include "views/timeline/Model/PagedEventList.h"
#include "views/timeline/Model/ScrubberSourceBinding.h"

namespace korvane {

/// A provider of one long list, newest entry last. The first page tells how long the list is; further pages are fetched
/// around the positions that the view asks about. With grouping, entries that lie close together fold into one while a
/// page is filled, and the list becomes shorter.
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
    /// Finds it by its id. Members of a group are not found, a group is by the id of its oldest member.
    std::int32_t OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& event) override;
    /// This and the next two make no entries; -1 while closing.
    std::int64_t OnScrubberFindEvent(const ScrubberEventQuery& query) override;
    std::int64_t OnScrubberFindEventByPosition(TimeMs position) override;
    ScrubberEventPlace OnScrubberFindClosestEventByPosition(TimeMs position) override;

    std::vector<std::shared_ptr<ScrubberEvent>> getEvents() override;
    std::int32_t deleteEvent(const std::shared_ptr<ScrubberEvent>& event, DeleteCompletion onComplete) override;
    std::int32_t checkPartNeedRequested(std::uint64_t index, std::int64_t withScrollToIndex,
                                        TimeMs withDateTime) override;
    /// Asks the service how many entries lie up to a second after `time`, ms, and takes that for the index. A failure
    /// tells nobody.
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
    /// one without keys. Elements that run past the list's begin are dropped with a line in the log.
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

    using ScrubberSourceBinding::ScrubberSourceBinding;

    void emptyList() override;

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
    struct Page;
    struct Answer;
    struct GroupFill;

    using AnswerHandler = std::function<void(Answer answer)>;
    using PageHandler = std::function<void(Page page)>;

    std::shared_ptr<ScrubberPagedDataProvider> self();
    std::optional<Page> readPage(const Reply& reply, std::int64_t limit) const;
    void ask(const PageQuery& query, AnswerHandler onAnswer);
    void fetchPage(const PageQuery& query, PageHandler onPage);
    void complete(Answer answer, PageHandler onPage);
    void onFirstPage(const Page& page, TimeMs position);
    void onLaterPage(const Page& page, std::uint64_t index, std::int64_t withScrollToIndex);
    void goToEntryAfter(std::uint64_t count, TimeMs time, bool isClosest);
    void tellIndex(std::uint64_t index, std::int64_t withScrollToIndex, std::int64_t from, std::int64_t to) const;
    bool tellLoadedMoment(TimeMs time) const;
    std::int64_t findMade(std::uint64_t from, const std::function<bool(const ScrubberEvent&)>& matches) const;
    void tellOrFetch(std::uint64_t index, std::int64_t withScrollToIndex);
    std::uint64_t endOfPendingRun(std::uint64_t index, std::int64_t limit) const;
    bool takesPage(const Reply& objects, std::uint64_t startWithIndex) const;
    bool fillEvent(ScrubberEvent::Fields& event, const Reply& element, const KorvaneCamera* camera) const;
    void fillEventsFromDictionary2(const Reply& objects, std::uint64_t startWithIndex);
    void fillGrouped(const Reply& objects, std::uint64_t startWithIndex);
    void mergeIntoGroup(GroupFill& fill, const ScrubberEvent::Fields& fields,
                        const std::shared_ptr<ScrubberEvent>& current);
    bool foldSlot(GroupFill& fill, const std::shared_ptr<ScrubberEvent>& slot);
    bool advance(GroupFill& fill) const;

    PagedEventList events_;
};

}  // namespace korvane
