#include "korvane/views/timeline/Model/ScrubberPagedDataProvider.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/views/timeline/Model/ReplyValues.h"

namespace korvane {

// What came of a query: a page, which may have no elements, or nothing when the request failed or was answered by
// something else.
struct ScrubberPagedDataProvider::Answer {
    std::int32_t status = StatusSuccess;
    std::optional<ServicePage> page;

    bool hasElements() const { return page && !page->objects.empty(); }
};

struct ScrubberPagedDataProvider::FirstLoad {
    std::uint64_t number = 0;
    std::uint64_t confirmed = 0;
    TimeMs position = -1;
};

ScrubberPagedDataProvider::ScrubberPagedDataProvider(std::string_view classPath, Scheduler& scheduler,
                                                     KorvaneService& service)
    : ScrubberSourceBinding(classPath, scheduler, service),
      events_([this](const auto& members) { return makeGroup(members); }) {}

ScrubberPagedDataProvider::~ScrubberPagedDataProvider() {
    close();
}

std::int64_t ScrubberPagedDataProvider::OnScrubberGetEventsCount() {
    return isClosing() ? 0 : events_.size();
}

std::int64_t ScrubberPagedDataProvider::getUngroupedCount() {
    return isClosing() ? 0 : static_cast<std::int64_t>(events_.slotCount());
}

std::shared_ptr<ScrubberEvent> ScrubberPagedDataProvider::OnScrubberGetEventByIndex(std::int64_t index) {
    return guarded(std::shared_ptr<ScrubberEvent>(),
                   [&] { return isClosing() ? nullptr : events_.at(static_cast<std::uint64_t>(index)); });
}

std::int64_t ScrubberPagedDataProvider::OnScrubberFindEvent(const ScrubberEventQuery& query) {
    if (isClosing()) return -1;
    const auto found =
        guarded(std::optional<std::uint64_t>(), [&] { return events_.find(query, [this] { return isClosing(); }); });
    return found && !isClosing() ? static_cast<std::int64_t>(*found) : -1;
}

std::int64_t ScrubberPagedDataProvider::findByPosition(TimeMs position) {
    return findMade(0, [position](const ScrubberEvent& event) {
        return event.timeAsValue() == position || event.covers(position, false);
    });
}

ScrubberEventPlace ScrubberPagedDataProvider::findClosestByPosition(TimeMs position) {
    const auto head = events_.made(0);
    if (head && head->timeAsValue() == position) return {0, true};
    const auto isThere = [position](const ScrubberEvent& event) {
        return event.timeAsValue() == position || event.covers(position, true);
    };
    const auto first = events_.made(1);
    const bool isBefore = first && first->hasSpan() && first->start() >= position;
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
    return guarded(std::vector<std::shared_ptr<ScrubberEvent>>(), [&] { return events_.all(); });
}

void ScrubberPagedDataProvider::enableEventGrouping(bool enabled) {
    guarded([&] {
        const std::lock_guard lock(listLock());
        ScrubberSourceBinding::enableEventGrouping(enabled);
        if (events_.setGrouped(enabled)) tellReload(StatusSuccess, ScrubberStateReady);
        return StatusSuccess;
    });
}

// Deletion

std::int32_t ScrubberPagedDataProvider::deleteEvent(const std::shared_ptr<ScrubberEvent>& event,
                                                    DeleteCompletion onComplete) {
    const auto camera = cam();
    if (isClosing() || !event || !camera) return StatusBadCall;
    trace(1, classPath(), "deleteEvent");
    const std::int64_t id = event->identificator().value_or(0);
    const auto end = [self = self(), camera, id,
                      isOver = std::make_shared<std::atomic<bool>>(false)](std::int32_t status) {
        if (!isOver->exchange(true)) self->onDeleted(camera, id, status);
    };
    return guarded([&] {
        {
            const std::lock_guard lock(listLock());
            deletions_.begin();
        }
        try {
            camera->deleteEvent(id,
                                [end, onComplete = std::move(onComplete)](const Reply& message, std::int32_t status) {
                                    end(status);
                                    if (onComplete) onComplete(status, textValue(&message).value_or(""));
                                });
        } catch (...) {
            end(StatusBadCall);
            throw;
        }
        return StatusSuccess;
    });
}

void ScrubberPagedDataProvider::onDeleted(const std::shared_ptr<KorvaneCamera>& camera, std::int64_t id,
                                          std::int32_t status) {
    const std::lock_guard lock(listLock());
    if (status == StatusSuccess && camera == cam()) {
        ScrubberEventQuery query;
        query.identificator = id;
        deletions_.confirm(events_.findSlot(query, [this] { return isClosing(); }));
    } else {
        deletions_.fail();
    }
    if (deletions_.isUnderWay()) return;
    const auto waiting = pages_.takeWaiting();
    for (const auto& request : waiting) tellOrFetch(request->wanted, request->wish);
    if (!waiting.empty()) tellVisible();
    if (const auto jump = std::exchange(waitingJump_, std::nullopt)) updateForTime(jump->time, true, jump->isClosest);
}

std::int32_t ScrubberPagedDataProvider::OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& event) {
    ScrubberEventQuery query;
    if (event) query.identificator = event->identificator();
    // Without an id, every entry would fit.
    if (isClosing() || !query.identificator) return -1;
    return guarded([&] {
        const std::lock_guard lock(listLock());
        const auto slot = events_.findSlot(query, [this] { return isClosing(); });
        if (!slot) return -1;
        const auto index = events_.indexOf(*slot);
        events_.erase(*slot);
        deletions_.slotErased(*slot);
        pages_.slotErased(*slot);
        return static_cast<std::int32_t>(index.value_or(0));
    });
}

// Requests

std::shared_ptr<ScrubberPagedDataProvider> ScrubberPagedDataProvider::self() {
    return std::static_pointer_cast<ScrubberPagedDataProvider>(shared_from_this());
}

void ScrubberPagedDataProvider::ask(const PageQuery& query, AnswerHandler onAnswer) {
    const auto camera = cam();
    if (!camera) return;
    requestPage(
        *camera, query,
        [self = self(), limit = query.limit, onAnswer = std::move(onAnswer)](const Reply& reply, std::int32_t status) {
            Answer answer{status, std::nullopt};
            if (status == StatusSuccess) answer.page = ServicePage::read(reply, limit, self->classPath());
            onAnswer(std::move(answer));
        });
}

void ScrubberPagedDataProvider::fetch(const PageQuery& query, AnswerHandler onAnswer) {
    ask(query, [self = self(), query, onAnswer = std::move(onAnswer)](Answer answer) {
        if (!answer.hasElements()) return onAnswer(std::move(answer));
        Reply objects = std::exchange(answer.page->objects, nullptr);
        self->completePage(query, std::move(objects), [answer, onAnswer](Reply completed) {
            Answer whole = answer;
            whole.page->objects = std::move(completed);
            onAnswer(std::move(whole));
        });
    });
}

void ScrubberPagedDataProvider::completePage(const PageQuery& /*query*/, Reply objects,
                                             const std::function<void(Reply objects)>& onComplete) {
    onComplete(std::move(objects));
}

std::int32_t ScrubberPagedDataProvider::requestEvents(TimeMs start, TimeMs withEnd, TimeMs withStartFrom) {
    if (isClosing()) return 0;
    trace(1, classPath(), "requestEvents");
    const std::int32_t outcome = guarded([&] {
        const std::lock_guard lock(listLock());
        const Range asked = range();
        const PageQuery query{start, withEnd, asked.eventType, asked.isAscending, asked.limit, asked.offset};
        const FirstLoad load{++loads_, deletions_.confirmed(), withStartFrom};
        fetch(query, [self = self(), load, query](const Answer& answer) { self->onFirstPage(load, query, answer); });
        return StatusSuccess;
    });
    if (outcome != StatusSuccess) tellReload(outcome, ScrubberStateReady);
    return 0;
}

void ScrubberPagedDataProvider::onFirstPage(const FirstLoad& load, const PageQuery& query, const Answer& answer) {
    {
        const std::lock_guard lock(listLock());
        if (load.number != loads_) return;
        if (load.confirmed != deletions_.confirmed()) {
            requestEvents(query.start, query.end, load.position);
            return;
        }
        if (answer.hasElements() && !answer.page->total) logError(classPath(), "reply: total_count is out of range");
        if (!answer.hasElements() || !answer.page->total) return tellReload(answer.status, ScrubberStateReady);
        const std::int32_t outcome = guarded([&] {
            const Reply& objects = answer.page->objects;
            const auto told = static_cast<std::uint64_t>(std::max<std::int64_t>(query.offset, 0)) + objects.size();
            makeList(std::max<std::uint64_t>(*answer.page->total, told), query);
            fillSlots(objects, slotAtOffset(query.offset));
            return StatusSuccess;
        });
        if (outcome != StatusSuccess) return tellReload(outcome, ScrubberStateReady);
    }
    tellReload(StatusSuccess, load.position > 0 ? ScrubberStateLoading : ScrubberStateReady);
    if (load.position > 0) updateForTime(load.position, true, false);
}

std::int32_t ScrubberPagedDataProvider::checkPartNeedRequested(std::uint64_t index, std::int64_t withScrollToIndex,
                                                               TimeMs withDateTime) {
    if (isClosing()) return 0;
    guarded([&] {
        const std::lock_guard lock(listLock());
        if (withDateTime != -1 && tellLoadedMoment(withDateTime)) return StatusSuccess;
        const auto slot = events_.slotOf(index);
        if (!slot) return StatusSuccess;
        // Where an entry is there already, only a wish to go to that very entry is answered, and never to the head.
        const bool isWanted = withScrollToIndex >= 1 && static_cast<std::uint64_t>(withScrollToIndex) == index;
        if (isWanted || events_.isPending(*slot)) tellOrFetch(*slot, wishFor(withScrollToIndex));
        return StatusSuccess;
    });
    return 0;
}

bool ScrubberPagedDataProvider::tellLoadedMoment(TimeMs time) {
    const auto slot = events_.findSlot(ScrubberEventQuery::at(time), [this] { return isClosing(); });
    if (!slot) return false;
    tellIndex(*slot, wishFor(static_cast<std::int64_t>(events_.indexOf(*slot).value_or(0))));
    return true;
}

void ScrubberPagedDataProvider::tellOrFetch(std::uint64_t slot, const PageWish& wish) {
    if (!events_.isPending(slot)) {
        if (wish.isSet()) tellIndex(slot, wish);
    } else if (const auto underWay = pages_.covering(slot)) {
        if (wish.isSet()) underWay->wish = wish;
    } else if (const auto status = pages_.barredWith(slot)) {
        if (wish.isSet()) tellReload(*status, ScrubberStateReady);
    } else {
        const std::int64_t limit = range().limit;
        const std::uint64_t begin = endOfPendingRun(slot, limit);
        requestSlots(begin, slot, offsetOf(begin), limit, wish);
    }
}

std::int32_t ScrubberPagedDataProvider::updateEvents(std::int64_t offset, std::int64_t withLimit,
                                                     std::uint64_t withIndex, std::int64_t withScrollToIndex) {
    if (isClosing()) return 0;
    guarded([&] {
        const std::lock_guard lock(listLock());
        if (const auto slot = events_.slotOf(withIndex)) {
            requestSlots(*slot, *slot, offset, withLimit, wishFor(withScrollToIndex));
        }
        return StatusSuccess;
    });
    return 0;
}

void ScrubberPagedDataProvider::requestSlots(std::uint64_t begin, std::uint64_t wanted, std::int64_t offset,
                                             std::int64_t limit, const PageWish& wish) {
    if (isClosing() || !cam()) return;
    trace(1, classPath(), "updateEvents: offset: ", offset, " limit: ", limit, " slot: ", begin);
    const std::uint64_t length = static_cast<std::uint64_t>(std::max<std::int64_t>(limit, 1));
    const auto request = std::make_shared<PageRequest>();
    request->first = listQuery_.isAscending ? begin : begin - std::min(begin, length) + 1;
    request->last = listQuery_.isAscending ? begin + length - 1 : begin;
    request->wanted = wanted;
    request->offset = offset;
    request->wish = wish;
    request->confirmed = deletions_.confirmed();
    PageQuery query = listQuery_;
    query.limit = limit;
    query.offset = offset;
    pages_.add(request);
    try {
        fetch(query, [self = self(), request](const Answer& answer) { self->onLaterPage(request, answer); });
    } catch (...) {
        pages_.finish(request);
        throw;
    }
}

// The service counts its entries with each page. While its count is the list's, the page's offset means the list's
// slots: the service can then have deleted nothing but what was confirmed before the page was asked for.
void ScrubberPagedDataProvider::onLaterPage(const PageRequests::Request& request, const Answer& answer) {
    const std::lock_guard lock(listLock());
    if (!pages_.finish(request)) return;
    if (!answer.page || !answer.page->objects.is_array()) {
        failPage(*request, answer.status);
        return;
    }
    if (request->confirmed != deletions_.confirmed()) {
        tellOrFetch(request->wanted, request->wish);
        tellVisible();  // the view asks for what else of it is in view
        return;
    }
    const Reply& objects = answer.page->objects;
    const auto told = answer.page->count(request->offset, entryCount());
    const std::uint64_t count = told.value_or(entryCount());
    if (deletions_.isUnderWay() && (!told || count != entryCount())) {
        pages_.keep(request);
    } else if (count != entryCount() && mayReplace_) {
        replaceList(*request, count, objects);
    } else if (count != entryCount() || objects.empty()) {
        failPage(*request, answer.status);
    } else {
        pages_.succeed(*request);
        if (mayReplace_) replaceDelay_ = {};
        const std::uint64_t begin = listQuery_.isAscending ? request->first : request->last;
        const std::int64_t before = events_.size();
        const auto index = events_.indexOf(begin);
        fillSlots(objects, begin);
        tellIndex(index.value_or(0), request->wish, before, events_.size());
    }
}

void ScrubberPagedDataProvider::failPage(const PageRequest& request, std::int32_t status) {
    const auto failure = pages_.fail(request, status);
    scheduler().after(failure.delay, [weak = weak_from_this(), number = failure.number] {
        if (const auto self = weak.lock()) static_cast<ScrubberPagedDataProvider&>(*self).onRetryDue(number);
    });
    tellReload(status, ScrubberStateReady);
}

void ScrubberPagedDataProvider::onRetryDue(std::uint64_t number) {
    {
        const std::lock_guard lock(listLock());
        if (!pages_.release(number)) return;
    }
    tellVisible();
}

void ScrubberPagedDataProvider::tellVisible() const {
    if (const auto delegate = getDelegate()) delegate->OnScrubberDataProviderReloadVisible();
}

std::int32_t ScrubberPagedDataProvider::updateForTime(TimeMs time, bool withScroll, bool isClosest) {
    if (isClosing()) return 0;
    trace(1, classPath(), "updateForTime: ", time, " closest: ", isClosest);
    guarded([&] {
        const std::lock_guard lock(listLock());
        // An entry of that very second counts, too.
        const PageQuery query{
            listQuery_.start, saturatingAdd(time, 1000), listQuery_.eventType, false, range().limit, 0};
        pages_.dropWishes();
        waitingJump_.reset();
        ask(query, [self = self(), camera = cam(), confirmed = deletions_.confirmed(), jump = ++lastJump_, time,
                    withScroll, isClosest](const Answer& answer) {
            if (camera != self->cam() || jump != self->lastJump_) return;  // a newer one is on its way
            if (answer.hasElements()) {
                self->onCount(*answer.page, time, withScroll, isClosest, confirmed);
            } else if (answer.page) {
                self->scheduler().runInBackground(
                    [self, time, withScroll] { self->updateStartFrom(time, withScroll); });
            }
        });
        return StatusSuccess;
    });
    return 0;
}

void ScrubberPagedDataProvider::onCount(const ServicePage& page, TimeMs time, bool withScroll, bool isClosest,
                                        std::uint64_t confirmed) {
    if (!page.total) {
        logError(classPath(), "reply: total_count is out of range");
        return;
    }
    const std::lock_guard lock(listLock());
    if (deletions_.isUnderWay()) {
        waitingJump_ = Jump{time, isClosest};
        return;
    }
    if (confirmed != deletions_.confirmed()) {
        updateForTime(time, withScroll, isClosest);
        return;
    }
    const std::uint64_t slot = deletions_.slotOf(*page.total + (isClosest ? 1 : 0));
    // Past the list's end nothing happens.
    const std::uint64_t index = events_.indexOf(slot).value_or(slot);
    checkPartNeedRequested(index, static_cast<std::int64_t>(index), eventGrouping() && !isClosest ? time : -1);
}

std::int32_t ScrubberPagedDataProvider::updateStartFrom(TimeMs time, bool /*withScroll*/) {
    if (isClosing()) return 0;
    trace(1, classPath(), "updateStartFrom: ", time);
    guarded([&] {
        const std::lock_guard lock(listLock());
        const Range asked = range();
        fetch({time, asked.datetimeEnd, listQuery_.eventType, false, asked.limit, 0},
              [self = self()](const Answer& answer) {
                  if (answer.hasElements()) self->checkPartNeedRequested(1, 1, -1);
              });
        return StatusSuccess;
    });
    return 0;
}

// The list

void ScrubberPagedDataProvider::emptyList() {
    const std::lock_guard lock(listLock());
    ++loads_;
    waitingJump_.reset();
    replaceDelay_ = {};
    mayReplace_ = true;
    events_.clear();
    pages_.clear();
    deletions_.clear();
}

std::uint64_t ScrubberPagedDataProvider::initStorageForEvents(std::uint64_t count) {
    const std::lock_guard lock(listLock());
    guarded([&] {
        const Range asked = range();
        makeList(count, {asked.datetimeStart, asked.datetimeLastEnd, asked.eventType, asked.isAscending, 0, 0});
        return StatusSuccess;
    });
    return events_.slotCount();
}

void ScrubberPagedDataProvider::makeList(std::uint64_t count, const PageQuery& query) {
    PageQuery newQuery = query;
    // The one step that can fail, before all others.
    events_.create(count, camid());
    listQuery_ = std::move(newQuery);
    pages_.clear();
    deletions_.clear();
}

// Somebody else has added or deleted entries, nobody knows where: what was loaded may stand in wrong slots.
void ScrubberPagedDataProvider::replaceList(const PageRequest& request, std::uint64_t count, const Reply& objects) {
    trace(1, classPath(), "the service has ", count, " entries instead of ", entryCount());
    mayReplace_ = false;
    scheduler().after(replaceDelay_.next(), [weak = weak_from_this()] {
        const auto self = std::static_pointer_cast<ScrubberPagedDataProvider>(weak.lock());
        if (!self) return;
        const std::lock_guard lock(self->listLock());
        self->mayReplace_ = true;
    });
    PageWish wish = request.wish;
    const std::int64_t wishOffset = wish.slot ? offsetOf(*wish.slot) : 0;
    makeList(count, listQuery_);
    if (wish.slot) wish.slot = slotAtOffset(wishOffset);
    if (!objects.empty()) fillSlots(objects, slotAtOffset(request.offset));
    tellReload(StatusSuccess, ScrubberStateReady);
    if (!objects.empty()) tellIndex(slotAtOffset(request.offset), wish);
}

std::uint64_t ScrubberPagedDataProvider::entryCount() const {
    const std::uint64_t slots = events_.slotCount();
    return slots < 2 ? 0 : slots - 2 - deletions_.goneCount();
}

std::int64_t ScrubberPagedDataProvider::offsetOf(std::uint64_t slot) const {
    const std::uint64_t rank = deletions_.rankOf(slot);
    return static_cast<std::int64_t>(listQuery_.isAscending ? rank - 1 : entryCount() - rank);
}

std::uint64_t ScrubberPagedDataProvider::slotAtOffset(std::int64_t offset) const {
    const auto from = static_cast<std::uint64_t>(std::max<std::int64_t>(offset, 0));
    if (listQuery_.isAscending) return deletions_.slotOf(from + 1);
    return from < entryCount() ? deletions_.slotOf(entryCount() - from) : 0;
}

std::uint64_t ScrubberPagedDataProvider::endOfPendingRun(std::uint64_t slot, std::int64_t limit) const {
    const std::int64_t border = limit / 2;
    std::uint64_t end = slot;
    for (std::int64_t i = 0; i < border && !isClosing(); ++i) {
        const std::uint64_t next = listQuery_.isAscending ? end - 1 : end + 1;
        if (!events_.isPending(next) || pages_.covering(next) || pages_.barredWith(next)) break;
        end = next;
    }
    return end;
}

PageWish ScrubberPagedDataProvider::wishFor(std::int64_t scrollToIndex) const {
    if (scrollToIndex < 0) return {};
    return {scrollToIndex, events_.slotOf(static_cast<std::uint64_t>(scrollToIndex))};
}

void ScrubberPagedDataProvider::tellIndex(std::uint64_t slot, const PageWish& wish) const {
    const std::int64_t count = events_.size();
    tellIndex(events_.indexOf(slot).value_or(0), wish, count, count);
}

void ScrubberPagedDataProvider::tellIndex(std::uint64_t index, const PageWish& wish, std::int64_t from,
                                          std::int64_t to) const {
    const auto delegate = getDelegate();
    if (!delegate || isClosing()) return;
    const auto scrollTo = wish.slot ? events_.indexOf(*wish.slot) : std::nullopt;
    delegate->OnScrubberDataProviderReloadIndexRequired(
        static_cast<std::int64_t>(index), StatusSuccess,
        scrollTo ? static_cast<std::int64_t>(*scrollTo) : wish.scrollToIndex, static_cast<std::int32_t>(from),
        static_cast<std::int32_t>(to));
}

// Filling

void ScrubberPagedDataProvider::fillEventsFromDictionary(const Reply& objects, std::uint64_t startWithIndex) {
    if (!objects.is_array()) return;
    guarded([&] {
        const std::lock_guard lock(listLock());
        if (const auto slot = events_.slotOf(startWithIndex)) fillSlots(objects, *slot);
        return StatusSuccess;
    });
}

void ScrubberPagedDataProvider::fillSlots(const Reply& objects, std::uint64_t begin) {
    if (isClosing()) return;
    if (!std::ranges::all_of(objects, [](const Reply& element) { return element.is_object(); })) {
        logError(classPath(), "reply: elements that are no objects");
    }
    const auto camera = cam();
    const bool isAscending = listQuery_.isAscending;
    const auto step = [isAscending](std::uint64_t slot) { return isAscending ? slot + 1 : slot - 1; };
    std::vector<PagedEventList::Joint> joints;
    ScrubberEvent::Fields previous;
    std::uint64_t previousSlot = 0;
    std::uint64_t slot = begin;
    for (const Reply& element : objects) {
        while (deletions_.isGone(slot)) slot = step(slot);
        if (slot == 0 || slot + 1 >= events_.slotCount()) {
            logError(classPath(), "reply: the page runs past the list");
            break;
        }
        const auto entry = events_.atSlot(slot);
        auto fields = eventGrouping() ? ScrubberEvent::Fields() : entry->fields();
        fillEvent(fields, element, camera.get());
        // In place: a cell that shows the entry already sees it change.
        entry->assign(fields);
        if (step(previousSlot) == slot && previousSlot != 0) {
            joints.push_back({std::min(slot, previousSlot), joins(previous, fields)});
        }
        previous = std::move(fields);
        previousSlot = slot;
        slot = step(slot);
    }
    if (previousSlot != 0) events_.regroup(std::min(begin, previousSlot), std::max(begin, previousSlot), joints);
}

void ScrubberPagedDataProvider::fillEvent(ScrubberEvent::Fields& event, const Reply& element,
                                          const KorvaneCamera* camera) const {
    event.type = ScrubberEventTypeItem;
    event.timezone = camera ? camera->getTimezone() : std::string();
    readElement(event, element, camera);
}

// Folded in the order in which the service gives them: newest first, unless oldest first was asked for.
ScrubberEvent::Fields ScrubberPagedDataProvider::makeGroup(
    const std::vector<std::shared_ptr<ScrubberEvent>>& members) const {
    ScrubberEvent::Fields group;
    group.type = ScrubberEventTypeGroup;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const auto& member = members[listQuery_.isAscending ? i : members.size() - 1 - i];
        const ScrubberEvent::Fields fields = member->fields();
        group.identificator = fields.identificator;
        group.camid = fields.camid;
        group.time = fields.time;
        group.timeAsValue = fields.timeAsValue;
        group.imageUrl = fields.imageUrl;
        group.timezone = fields.timezone;
        // A ring at the door is not to be hidden by the motion around it.
        if (i == 0 || !equalKeys(group.name.value_or(""), "doorbell")) group.name = fields.name;
        if (i == 0) {
            startGroup(group, fields);
        } else {
            extendGroup(group, fields);
        }
    }
    group.childs = members;
    if (listQuery_.isAscending) std::ranges::reverse(group.childs);
    return group;
}

}  // namespace korvane
