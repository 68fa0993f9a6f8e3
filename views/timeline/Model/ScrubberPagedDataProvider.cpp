#include "views/timeline/Model/ScrubberPagedDataProvider.h"

#include <algorithm>
#include <utility>

#include "base/Log.h"
#include "base/UtcTime.h"
#include "views/timeline/Model/ReplyValues.h"
#include "views/timeline/Model/SaturatingTime.h"

namespace korvane {
namespace {

// Above this a total is no total: a list of that many entries could not be shown.
constexpr std::uint64_t largestTotal = PagedEventList::maxSlots;

// Elements that are read of a page, unless more were asked for: folding them takes the square of their number.
constexpr std::int64_t largestPage = 1000;

bool isItemAt(const ScrubberEvent& event, TimeMs time) {
    return event.type() == ScrubberEventTypeItem && event.timeAsValue() == time;
}

bool holdsMoment(const ScrubberEvent& event, TimeMs time) {
    if (event.type() != ScrubberEventTypeGroup) return isItemAt(event, time);
    return std::ranges::any_of(event.childs(), [time](const auto& child) { return child && isItemAt(*child, time); });
}

// Where a page that begins at `start` and runs towards the head entry ends: before it, unless it begins there.
std::uint64_t lowestIndex(std::uint64_t start) {
    return start > 0 ? 1 : 0;
}

}  // namespace

struct ScrubberPagedDataProvider::Page {
    // Of the service's entries; nothing when the reply's number cannot be one.
    std::optional<std::uint64_t> total;
    Reply objects;
};

// What came of a query: a page, which may have no elements, or nothing when the request failed or was answered by
// something else.
struct ScrubberPagedDataProvider::Answer {
    PageQuery query;
    std::int32_t status = StatusSuccess;
    std::optional<Page> page;

    bool hasElements() const { return page && !page->objects.empty(); }
};

// What one grouping fill keeps from element to element.
struct ScrubberPagedDataProvider::GroupFill {
    bool isAscending = false;
    // Where the next element goes.
    std::uint64_t index = 0;
    std::uint64_t lowest = 0;
    PagedEventList::Entry previous;
    ScrubberEvent::Fields previousFields;
    std::uint64_t previousIndex = 0;
    // Null unless a group is being built.
    PagedEventList::Entry group;
    ScrubberEvent::Fields groupFields;
    std::uint64_t groupIndex = 0;
};

ScrubberPagedDataProvider::~ScrubberPagedDataProvider() {
    close();
}

std::int64_t ScrubberPagedDataProvider::OnScrubberGetEventsCount() {
    return isClosing() ? 0 : events_.size();
}

std::shared_ptr<ScrubberEvent> ScrubberPagedDataProvider::OnScrubberGetEventByIndex(std::int64_t index) {
    return isClosing() ? nullptr : events_.at(static_cast<std::uint64_t>(index));
}

std::int32_t ScrubberPagedDataProvider::OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& event) {
    ScrubberEventQuery query;
    if (event) query.identificator = event->identificator();
    // Without an id, every entry would fit.
    if (isClosing() || !query.identificator) return -1;
    const auto erased = events_.eraseFirst(query, [this] { return isClosing(); });
    return erased ? static_cast<std::int32_t>(*erased) : -1;
}

std::int64_t ScrubberPagedDataProvider::OnScrubberFindEvent(const ScrubberEventQuery& query) {
    if (isClosing()) return -1;
    const auto found = events_.find(query, [this] { return isClosing(); });
    return found && !isClosing() ? static_cast<std::int64_t>(*found) : -1;
}

// A pending slot is of no moment and covers none.
std::int64_t ScrubberPagedDataProvider::OnScrubberFindEventByPosition(TimeMs position) {
    const std::int64_t count = OnScrubberGetEventsCount();
    if (count < 3) return -1;
    if (position == -1) return count - 1;
    return findMade(0, [position](const ScrubberEvent& event) {
        return event.timeAsValue() == position || event.covers(position, false);
    });
}

ScrubberEventPlace ScrubberPagedDataProvider::OnScrubberFindClosestEventByPosition(TimeMs position) {
    const std::int64_t count = OnScrubberGetEventsCount();
    if (count < 3) return {};
    if (position == -1) return {count - 1, true};
    const auto head = events_.made(0);
    if (head && head->timeAsValue() == position) return {0, true};
    const auto isThere = [position](const ScrubberEvent& event) {
        return event.timeAsValue() == position || event.covers(position, true);
    };
    const auto first = events_.made(1);
    const bool isBefore = first && first->hasSpan() && first->start() > position;
    if (isBefore && !isThere(*first)) return {1, false};
    const std::int64_t index = findMade(1, isThere);
    return {index, index >= 0};
}

std::int64_t ScrubberPagedDataProvider::findMade(std::uint64_t from,
                                                 const std::function<bool(const ScrubberEvent&)>& matches) const {
    const auto found = events_.findMade(from, matches, [this] { return isClosing(); });
    return found && !isClosing() ? static_cast<std::int64_t>(*found) : -1;
}

std::vector<std::shared_ptr<ScrubberEvent>> ScrubberPagedDataProvider::getEvents() {
    std::vector<std::shared_ptr<ScrubberEvent>> entries;
    guarded([&] {
        entries = events_.all();
        return StatusSuccess;
    });
    return entries;
}

std::int32_t ScrubberPagedDataProvider::deleteEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                    DeleteCompletion onComplete) {
    const auto camera = cam();
    if (isClosing() || !event || !camera) return StatusBadCall;
    trace(1, classPath(), "deleteEvent");
    return guarded([&] {
        camera->deleteEvent(event->identificator().value_or(0), [self = self(), onComplete = std::move(onComplete)](
                                                                    const Reply& message, std::int32_t status) {
            if (onComplete) onComplete(status, textValue(&message).value_or(""));
        });
        return StatusSuccess;
    });
}

std::int32_t ScrubberPagedDataProvider::updateForTime(TimeMs time, bool withScroll, bool isClosest) {
    if (isClosing()) return 0;
    trace(1, classPath(), "updateForTime: ", time, " closest: ", isClosest);
    guarded([&] {
        // An entry of that very second counts, too.
        const Range asked = range();
        ask({-1, saturatingAdd(time, 1000), asked.eventType, false, asked.limit, 0},
            [self = self(), time, withScroll, isClosest](const Answer& answer) {
                if (answer.hasElements()) {
                    if (answer.page->total) self->goToEntryAfter(*answer.page->total, time, isClosest);
                } else if (answer.page) {
                    self->scheduler().runInBackground(
                        [self, time, withScroll] { self->updateStartFrom(time, withScroll); });
                }
            });
        return StatusSuccess;
    });
    return 0;
}

void ScrubberPagedDataProvider::goToEntryAfter(std::uint64_t count, TimeMs time, bool isClosest) {
    const bool isGrouped = eventGrouping();
    const std::int64_t length = events_.size();
    auto index = static_cast<std::int64_t>(count);
    if (isGrouped && length >= 3) {
        // Counted from the newest end, as if nothing newer were folded: a first guess.
        index = length - static_cast<std::int32_t>(range().size - index) - 2;
    }
    if (isClosest) ++index;
    // Before the list's begin is past its end then.
    checkPartNeedRequested(static_cast<std::uint64_t>(index), index, isGrouped && !isClosest ? time : -1);
}

std::int32_t ScrubberPagedDataProvider::updateStartFrom(TimeMs time, bool /*withScroll*/) {
    if (isClosing()) return 0;
    trace(1, classPath(), "updateStartFrom: ", time);
    guarded([&] {
        const Range asked = range();
        ask({time, asked.datetimeEnd, asked.eventType, false, asked.limit, 0}, [self = self()](Answer answer) {
            if (!answer.hasElements()) return;
            self->complete(std::move(answer), [self](const Page&) { self->checkPartNeedRequested(1, 1, -1); });
        });
        return StatusSuccess;
    });
    return 0;
}

void ScrubberPagedDataProvider::emptyList() {
    events_.clear();
}

std::uint64_t ScrubberPagedDataProvider::initStorageForEvents(std::uint64_t count) {
    const std::lock_guard lock(listLock());
    events_.create(count, camid());
    return static_cast<std::uint64_t>(events_.size());
}

std::shared_ptr<ScrubberPagedDataProvider> ScrubberPagedDataProvider::self() {
    return std::static_pointer_cast<ScrubberPagedDataProvider>(shared_from_this());
}

std::int32_t ScrubberPagedDataProvider::requestEvents(TimeMs start, TimeMs withEnd, TimeMs withStartFrom) {
    if (isClosing()) return 0;
    trace(1, classPath(), "requestEvents");
    guarded([&] {
        const Range asked = range();
        fetchPage({start, withEnd, asked.eventType, asked.isAscending, asked.limit, asked.offset},
                  [self = self(), withStartFrom](const Page& page) { self->onFirstPage(page, withStartFrom); });
        return StatusSuccess;
    });
    return 0;
}

std::int32_t ScrubberPagedDataProvider::updateEvents(std::int64_t offset, std::int64_t withLimit,
                                                     std::uint64_t withIndex, std::int64_t withScrollToIndex) {
    if (isClosing()) return 0;
    trace(1, classPath(), "updateEvents: offset: ", offset, " limit: ", withLimit, " index: ", withIndex);
    guarded([&] {
        // Up to the end of the first load, not to now: later pages must count from the same newest entry.
        const Range asked = range();
        fetchPage({asked.datetimeStart, asked.datetimeLastEnd, asked.eventType, asked.isAscending, withLimit, offset},
                  [self = self(), withIndex, withScrollToIndex](const Page& page) {
                      self->onLaterPage(page, withIndex, withScrollToIndex);
                  });
        return StatusSuccess;
    });
    return 0;
}

void ScrubberPagedDataProvider::ask(const PageQuery& query, AnswerHandler onAnswer) {
    const auto camera = cam();
    if (!camera) return;
    requestPage(*camera, query,
                [self = self(), query, onAnswer = std::move(onAnswer)](const Reply& reply, std::int32_t status) {
                    Answer answer{query, status, std::nullopt};
                    if (status == StatusSuccess) answer.page = self->readPage(reply, query.limit);
                    onAnswer(std::move(answer));
                });
}

void ScrubberPagedDataProvider::fetchPage(const PageQuery& query, PageHandler onPage) {
    ask(query, [self = self(), onPage = std::move(onPage)](Answer answer) {
        if (answer.hasElements()) {
            self->complete(std::move(answer), onPage);
        } else {
            self->tellReload(answer.status, ScrubberStateReady);
        }
    });
}

void ScrubberPagedDataProvider::complete(Answer answer, PageHandler onPage) {
    completePage(answer.query, std::move(answer.page->objects),
                 [total = answer.page->total, onPage = std::move(onPage)](Reply objects) {
                     onPage(Page{total, std::move(objects)});
                 });
}

void ScrubberPagedDataProvider::completePage(const PageQuery& /*query*/, Reply objects,
                                             const std::function<void(Reply objects)>& onComplete) {
    onComplete(std::move(objects));
}

std::optional<ScrubberPagedDataProvider::Page> ScrubberPagedDataProvider::readPage(const Reply& reply,
                                                                                   std::int64_t limit) const {
    if (!reply.is_object()) return std::nullopt;
    Page page;
    const std::int64_t total = totalCount(reply).value_or(-1);
    if (total >= 0 && static_cast<std::uint64_t>(total) <= largestTotal) page.total = static_cast<std::uint64_t>(total);
    const Reply* objects = findMember(reply, "objects");
    page.objects = Reply::array();
    if (!objects || !objects->is_array()) return page;
    const auto count = static_cast<std::int64_t>(objects->size());
    const std::int64_t taken = std::min(count, std::max(limit, largestPage));
    if (taken < count) logError(classPath(), "reply: far more elements than asked for");
    page.objects = Reply(objects->cbegin(), objects->cbegin() + static_cast<std::ptrdiff_t>(taken));
    return page;
}

void ScrubberPagedDataProvider::onFirstPage(const Page& page, TimeMs position) {
    if (!page.total) {
        logError(classPath(), "reply: total_count is out of range");
        tellReload(StatusSuccess, ScrubberStateReady);
        return;
    }
    const std::uint64_t size = initStorageForEvents(*page.total);
    setSize(static_cast<std::int64_t>(size));
    fillEventsFromDictionary(page.objects, range().isAscending ? 1 : size - 2);
    tellReload(StatusSuccess, position > 0 ? ScrubberStateLoading : ScrubberStateReady);
    if (position > 0) updateForTime(position, true, false);
}

void ScrubberPagedDataProvider::onLaterPage(const Page& page, std::uint64_t index, std::int64_t withScrollToIndex) {
    const std::int64_t before = events_.size();
    fillEventsFromDictionary(page.objects, index);
    tellIndex(index, withScrollToIndex, before, events_.size());
}

void ScrubberPagedDataProvider::tellIndex(std::uint64_t index, std::int64_t withScrollToIndex, std::int64_t from,
                                          std::int64_t to) const {
    if (const auto delegate = getDelegate()) {
        delegate->OnScrubberDataProviderReloadIndexRequired(static_cast<std::int64_t>(index), StatusSuccess,
                                                            withScrollToIndex, static_cast<std::int32_t>(from),
                                                            static_cast<std::int32_t>(to));
    }
}

std::int32_t ScrubberPagedDataProvider::checkPartNeedRequested(std::uint64_t index, std::int64_t withScrollToIndex,
                                                               TimeMs withDateTime) {
    if (isClosing()) return 0;
    guarded([&] {
        const std::lock_guard lock(listLock());
        if (withDateTime == -1 || !tellLoadedMoment(withDateTime)) tellOrFetch(index, withScrollToIndex);
        return StatusSuccess;
    });
    return 0;
}

bool ScrubberPagedDataProvider::tellLoadedMoment(TimeMs time) const {
    const std::int64_t found = findMade(0, [time](const ScrubberEvent& event) { return holdsMoment(event, time); });
    if (found < 0) return false;
    const std::int64_t count = events_.size();
    if (!isClosing()) tellIndex(static_cast<std::uint64_t>(found), found, count, count);
    return true;
}

void ScrubberPagedDataProvider::tellOrFetch(std::uint64_t index, std::int64_t withScrollToIndex) {
    const std::int64_t count = events_.size();
    if (index >= static_cast<std::uint64_t>(count)) return;
    if (!events_.isPending(index)) {
        // Index 0 is the head entry, to which nobody scrolls.
        const bool isWanted = withScrollToIndex >= 1 && static_cast<std::uint64_t>(withScrollToIndex) == index;
        if (isWanted && !isClosing()) tellIndex(index, withScrollToIndex, count, count);
        return;
    }
    const Range asked = range();
    const std::uint64_t last = endOfPendingRun(index, asked.limit);
    // Groups stand for more entries of the service than they take slots.
    const std::int64_t folded = isClosing() ? 0 : events_.foldedThrough(last);
    updateEvents(asked.size - 2 - static_cast<std::int64_t>(last) - folded, asked.limit, last, withScrollToIndex);
}

std::uint64_t ScrubberPagedDataProvider::endOfPendingRun(std::uint64_t index, std::int64_t limit) const {
    const std::int64_t border = limit / 2;
    std::uint64_t last = index;
    for (std::int64_t i = 0; i < border && !isClosing() && events_.isPending(last + 1); ++i) ++last;
    return last;
}

bool ScrubberPagedDataProvider::takesPage(const Reply& objects, std::uint64_t startWithIndex) const {
    const auto size = static_cast<std::uint64_t>(events_.size());
    if (!objects.is_array() || isClosing() || startWithIndex >= size) return false;
    // A page of an earlier, longer list may begin at the live entry of this one.
    return range().isAscending || startWithIndex == 0 || startWithIndex + 1 < size;
}

void ScrubberPagedDataProvider::fillEventsFromDictionary(const Reply& objects, std::uint64_t startWithIndex) {
    if (!takesPage(objects, startWithIndex)) return;
    guarded([&] {
        const std::lock_guard lock(listLock());
        if (!std::ranges::all_of(objects, [](const Reply& element) { return element.is_object(); })) {
            logError(classPath(), "reply: elements that are no objects");
        }
        if (eventGrouping()) {
            fillGrouped(objects, startWithIndex);
        } else {
            fillEventsFromDictionary2(objects, startWithIndex);
        }
        return StatusSuccess;
    });
}

bool ScrubberPagedDataProvider::fillEvent(ScrubberEvent::Fields& event, const Reply& element,
                                          const KorvaneCamera* camera) const {
    if (isClosing()) return false;
    event.type = ScrubberEventTypeItem;
    event.timezone = camera ? camera->getTimezone() : std::string();
    readElement(event, element, camera);
    return true;
}

void ScrubberPagedDataProvider::fillEventsFromDictionary2(const Reply& objects, std::uint64_t startWithIndex) {
    if (!takesPage(objects, startWithIndex)) return;
    const auto camera = cam();
    const bool isAscending = range().isAscending;
    std::uint64_t index = startWithIndex;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const auto entry = events_.at(index);
        if (!entry) return;
        // In place: a cell that shows the entry already sees it change.
        auto fields = entry->fields();
        if (fillEvent(fields, objects[i], camera.get())) {
            entry->assign(std::move(fields));
            events_.setFolded(index, 0);
        }
        if (isAscending) {
            if (index + 1 < static_cast<std::uint64_t>(events_.size())) ++index;
        } else if (index > lowestIndex(startWithIndex)) {
            --index;
        } else if (i + 1 < objects.size()) {
            logError(classPath(), "reply: the page is longer than the list");
            return;
        }
    }
}

void ScrubberPagedDataProvider::fillGrouped(const Reply& objects, std::uint64_t startWithIndex) {
    const auto camera = cam();
    GroupFill fill;
    fill.isAscending = range().isAscending;
    fill.index = startWithIndex;
    fill.lowest = lowestIndex(startWithIndex);
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const auto slot = events_.made(fill.index);
        ScrubberEvent::Fields fields;
        if (!fillEvent(fields, objects[i], camera.get())) fields.timezone = localTimeZoneName();
        const auto current = std::make_shared<ScrubberEvent>(fields);
        bool goesOn = true;
        if (fill.previous && eventGrouping() && joins(fill.previousFields, fields)) {
            mergeIntoGroup(fill, fields, current);
            goesOn = foldSlot(fill, slot);
        } else {
            events_.replace(fill.index, current);
            fill.group.reset();
            goesOn = advance(fill);
        }
        if (!goesOn) {
            if (i + 1 < objects.size()) logError(classPath(), "reply: the page is longer than the list");
            return;
        }
        fill.previous = current;
        fill.previousFields = std::move(fields);
    }
}

void ScrubberPagedDataProvider::mergeIntoGroup(GroupFill& fill, const ScrubberEvent::Fields& fields,
                                               const std::shared_ptr<ScrubberEvent>& current) {
    const auto takeIdentity = [&group = fill.groupFields](const ScrubberEvent::Fields& member) {
        group.identificator = member.identificator;
        group.camid = member.camid;
        group.time = member.time;
        group.timeAsValue = member.timeAsValue;
        group.imageUrl = member.imageUrl;
        group.timezone = member.timezone;
    };
    if (!fill.group) {
        fill.groupFields = {};
        fill.groupFields.type = ScrubberEventTypeGroup;
        takeIdentity(fill.previousFields);
        fill.groupFields.name = fill.previousFields.name;
        startGroup(fill.groupFields, fill.previousFields);
        fill.groupFields.childs = {fill.previous};
        fill.group = std::make_shared<ScrubberEvent>(fill.groupFields);
        fill.previous->setParent(fill.group);
        fill.groupIndex = fill.previousIndex;
        events_.replace(fill.groupIndex, fill.group);
    }
    takeIdentity(fields);
    // A ring at the door is not to be hidden by the motion around it.
    if (!equalKeys(fill.groupFields.name.value_or(""), "doorbell")) fill.groupFields.name = fields.name;
    extendGroup(fill.groupFields, fields);
    fill.groupFields.childs.insert(fill.groupFields.childs.begin(), current);
    current->setParent(fill.group);
    fill.group->assign(fill.groupFields);
    events_.setFolded(fill.groupIndex, static_cast<std::uint32_t>(fill.groupFields.childs.size() - 1));
}

bool ScrubberPagedDataProvider::foldSlot(GroupFill& fill, const std::shared_ptr<ScrubberEvent>& slot) {
    // A group of an earlier, overlapping page gives up a member in place of a slot.
    if (slot && slot->type() == ScrubberEventTypeGroup && slot->childCount() > 1) {
        if (slot == fill.group) return true;
        auto childs = slot->childs();
        childs.erase(childs.begin());
        events_.setFolded(fill.index, static_cast<std::uint32_t>(childs.size() - 1));
        slot->setChilds(std::move(childs));
        return true;
    }
    events_.erase(fill.index);
    if (fill.index < fill.groupIndex) --fill.groupIndex;
    return advance(fill);
}

bool ScrubberPagedDataProvider::advance(GroupFill& fill) const {
    const bool isAtEnd =
        fill.isAscending ? fill.index + 1 >= static_cast<std::uint64_t>(events_.size()) : fill.index <= fill.lowest;
    if (isAtEnd) return false;
    fill.previousIndex = fill.index;
    fill.index = fill.isAscending ? fill.index + 1 : fill.index - 1;
    return true;
}

}  // namespace korvane
