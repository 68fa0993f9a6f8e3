#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineUploads.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/views/timeline/Model/ReplyValues.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"

namespace korvane {
namespace {

// Events of a timeline that are read when the service does not say how many there are.
constexpr std::int64_t maxUncountedEvents = 100'000;
// One every three seconds, all year: a total above this counts as this.
constexpr std::int64_t largestTotal = 10'000'000;

// The elements of a page; null when it has none.
const Reply* elementsOf(const Reply& reply) {
    const Reply* objects = findMember(reply, "objects");
    return objects && objects->is_array() && !objects->empty() ? objects : nullptr;
}

// At so many events a timeline is taken for finished, whatever the service has still to give.
std::int64_t mostEvents(std::int64_t total, std::int64_t limit) {
    if (total <= 0) return maxUncountedEvents;
    return std::min(total, largestTotal) + std::clamp<std::int64_t>(limit, 1, maxUncountedEvents);
}

// Nothing for what is missing or no text.
std::optional<double> momentOf(const KorvaneHelpers& helpers, const Reply& element, std::string_view key) {
    const auto text = textValue(findMember(element, key));
    if (!text) return std::nullopt;
    return static_cast<double>(helpers.parseUTCtime(*text));
}

ScrubberTimelineItem::Events readEvents(const KorvaneHelpers& helpers, const Reply& objects) {
    ScrubberTimelineItem::Events events(objects.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (const auto time = momentOf(helpers, objects[i], "time")) events[i].setDateTime(*time);
        if (auto name = textValue(findMember(objects[i], "name"))) events[i].setName(std::move(*name));
    }
    return events;
}

ScrubberTimelineSegmentItem::Records readRecords(const KorvaneHelpers& helpers, const Reply& objects) {
    ScrubberTimelineSegmentItem::Records records(objects.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (const auto start = momentOf(helpers, objects[i], "start")) records[i].setStartDateTime(*start);
        if (const auto end = momentOf(helpers, objects[i], "end")) records[i].setEndDateTime(*end);
        if (auto url = textValue(findMember(objects[i], "url"))) records[i].setUrl(std::move(*url));
    }
    return records;
}

// Of the timeline in its day.
std::optional<std::size_t> timelineInDay(const ScrubberTimelineSegmentPath& path) {
    const auto block = path.day->block();
    if (!block) return std::nullopt;
    return static_cast<std::size_t>(path.timeline.get() - block->timelines().data());
}

}  // namespace

ScrubberTimelineUploads::ScrubberTimelineUploads(std::string_view classPath, Scheduler& scheduler,
                                                 KorvaneService& service)
    : ScrubberSourceBinding(classPath, scheduler, service),
      queueUploadEvents_(scheduler),
      queueUploadRecords_(scheduler) {}

std::shared_ptr<ScrubberTimelineUploads> ScrubberTimelineUploads::self() {
    return std::static_pointer_cast<ScrubberTimelineUploads>(shared_from_this());
}

// What is under way

void ScrubberTimelineUploads::cancelQueues() {
    dropUploads();
    queueUploadEvents_.cancelAllOperations();
    queueUploadRecords_.cancelAllOperations();
}

void ScrubberTimelineUploads::dropUploads() {
    // Goes away outside of the lock, since callbacks may hold anything.
    ScrubberTimelineUrlWishes::Wishes dropped;
    const std::lock_guard guard(mutex_);
    ++trees_;
    days_.clear();
    dropped = urls_.takeAll();
    failed_.clear();
    kept_.clear();
    isPageQueued_ = areRecordsQueued_ = false;
}

std::uint64_t ScrubberTimelineUploads::trees() const {
    const std::lock_guard guard(mutex_);
    return trees_;
}

std::optional<ViewRange> ScrubberTimelineUploads::viewRange() {
    std::optional<ViewRange> range;
    guarded([&] {
        // This may wait for the main thread, so no lock is held here.
        if (const auto delegate = getDelegate()) {
            range = ViewRange::around(delegate->OnScrubberDataProviderGetVisibleIndexes(), tree()->segmentCount() + 2);
        }
        return StatusSuccess;
    });
    return range;
}

void ScrubberTimelineUploads::settle(const Failed& item, Page outcome, std::uint64_t trees) {
    const auto isSame = [&](const Failed& f) { return f.timeline == item.timeline && f.segment == item.segment; };
    std::optional<PageFailure> failure;
    {
        const std::lock_guard guard(mutex_);
        if (trees != trees_) outcome = Page::BrokenOff;
        std::int64_t status = ScrubberTimelineStatusNotAsked;
        if (outcome == Page::Last) status = ScrubberTimelineStatusDone;
        if (outcome == Page::Failed || outcome == Page::None) status = ScrubberTimelineStatusFailed;
        if (item.timeline) item.timeline->setIsUpdated(status);
        if (item.segment) item.segment->setIsUpdated(status);
        if (outcome == Page::Failed) {
            failure = failed_.fail(item, isSame);
        } else if (outcome != Page::BrokenOff) {
            failed_.forget(isSame);
            if (item.day) keepDay(item.day);
        }
    }
    if (!failure) return;
    scheduler().after(failure->delay, [weak = weak_from_this(), number = failure->number] {
        if (const auto self = weak.lock()) static_cast<ScrubberTimelineUploads&>(*self).onRetryDue(number);
    });
}

void ScrubberTimelineUploads::onRetryDue(std::uint64_t number) {
    Failed item;
    bool isUnderMark = false;
    {
        const std::lock_guard guard(mutex_);
        const Failed* const due = failed_.release(number);
        if (!due) return;
        item = *due;
        if (item.timeline) item.timeline->allowUpdate();
        if (item.segment) item.segment->allowUpdate();
        if (item.day) item.day->setIsUpdated(ScrubberTimelineStatusNotAsked);
        isUnderMark = item.day && item.day == days_.mark();
    }
    if (isUnderMark) wish(item.day, std::nullopt);
    scheduler().runInBackground([self = self(), item] { self->tellRedraw(item); });
}

void ScrubberTimelineUploads::keepDay(const std::shared_ptr<ScrubberTimelineDayItem>& day) {
    if (std::ranges::find(kept_, day) == kept_.end()) kept_.push_back(day);
    if (kept_.size() <= maxKeptDays) return;
    const auto& mark = days_.mark() ? days_.mark() : day;
    // Those that are wished for are in view.
    const auto distance = [&](const auto& other) {
        return other == day || days_.holds(*other) ? -1 : std::abs(other->dateTime() - mark->dateTime());
    };
    const auto furthest = std::ranges::max_element(kept_, {}, distance);
    if (distance(*furthest) < 0) return;
    failed_.forget([&](const Failed& failed) { return failed.day == *furthest; });
    (*furthest)->letGo();
    kept_.erase(furthest);
}

void ScrubberTimelineUploads::tellRedraw(const Failed& item) {
    const auto delegate = getDelegate();
    if (!delegate) return;
    // This may wait for the main thread, so no lock is held here.
    const auto indexes = delegate->OnScrubberDataProviderGetVisibleIndexes();
    const bool isVisible = std::ranges::any_of(indexes, [&](std::int64_t index) {
        const auto path = index > 0 ? getTimelineSegmentItemByIndex(index - 1) : std::nullopt;
        return path && (path->timeline == item.timeline || path->segment == item.segment);
    });
    if (isVisible) delegate->OnScrubberDataProviderReloadVisible();
}

// Events

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineDays() {
    if (isClosing() || !cam()) return 0;
    // The last wish comes first.
    const auto shown = tree();
    for (const auto& day : shown->days()) uploadEventsForTimelineDay(day);
    return 0;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineDay(const std::shared_ptr<ScrubberTimelineDayItem>& day) {
    if (isClosing() || !day || !cam()) return 0;
    trace(1, classPath(), "uploadEventsForTimelineDay");
    wish(day, std::nullopt);
    return 0;
}

void ScrubberTimelineUploads::wishForDay(const ScrubberTimelineSegmentPath& path) {
    wish(path.day, timelineInDay(path));
}

void ScrubberTimelineUploads::wish(const std::shared_ptr<ScrubberTimelineDayItem>& day,
                                   std::optional<std::size_t> timeline) {
    {
        const std::lock_guard guard(mutex_);
        days_.add(day, timeline);
    }
    queuePage();
}

void ScrubberTimelineUploads::queuePage() {
    std::uint64_t trees = 0;
    {
        const std::lock_guard guard(mutex_);
        if (days_.isEmpty() || isPageQueued_) return;
        isPageQueued_ = true;
        trees = trees_;
    }
    guarded([&] {
        queueUploadEvents_.addOperation([self = self(), trees] { self->uploadNextPage(trees); });
        return StatusSuccess;
    });
}

void ScrubberTimelineUploads::uploadNextPage(std::uint64_t trees) {
    followView();
    std::optional<ScrubberTimelineDayWishes::Job> job;
    {
        const std::lock_guard guard(mutex_);
        if (trees != trees_) return;
        job = days_.next();
        // Until the page is in, a wish does not ask for another one.
        isPageQueued_ = job.has_value();
        if (!job) return;
        job->day->setIsUpdated(ScrubberTimelineStatusUnderWay);
    }
    const Page outcome = uploadPage(*job, trees);
    {
        const std::lock_guard guard(mutex_);
        if (trees != trees_) return;
        isPageQueued_ = false;
        if (!days_.holds(*job->day)) {
            job->day->setIsUpdated(ScrubberTimelineStatusNotAsked);  // pushed out meanwhile, with what it still lacks
        } else if (outcome != Page::More) {
            job->day->setIsUpdated(ScrubberTimelineStatusDone);
        }
    }
    if (outcome != Page::More) tellRedraw({job->day, job->timeline, nullptr});
    if (outcome != Page::BrokenOff) queuePage();
}

void ScrubberTimelineUploads::followView() {
    const auto seen = viewRange();
    if (!seen) return;
    const auto shown = tree();
    const auto days = shown->daysBetween(seen->first - 1, seen->last - 1);
    const auto middle = shown->segment(static_cast<std::uint64_t>(seen->middle() - 1));
    const std::lock_guard guard(mutex_);
    days_.keepOnly(days);
    // A view may ask for its other cells after the mark. While the last wish is out of view, the view is yet to move.
    const bool isSettled = std::ranges::find(days, days_.mark()) != days.end();
    if (middle && isSettled) days_.raise(middle->day, timelineInDay(*middle));
}

ScrubberTimelineUploads::Page ScrubberTimelineUploads::uploadPage(const ScrubberTimelineDayWishes::Job& job,
                                                                  std::uint64_t trees) {
    // Another caller has been faster; the others that are due go on.
    if (!job.timeline->beginUpdate()) return Page::More;
    const auto camera = cam();
    Page outcome = camera && !isClosing() ? Page::Failed : Page::BrokenOff;
    if (outcome != Page::BrokenOff) {
        guarded([&] {
            outcome = fetchPage(*camera, *job.timeline, trees);
            return StatusSuccess;
        });
    }
    settle({job.day, job.timeline, nullptr}, outcome, trees);
    return outcome;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineItemSync(
    const std::shared_ptr<ScrubberTimelineItem>& timeline) {
    const auto camera = cam();
    const std::uint64_t begun = trees();
    if (isClosing() || !camera || !timeline || !timeline->beginUpdate()) return 0;
    Page outcome = Page::More;
    while (outcome == Page::More) {
        outcome = Page::Failed;
        guarded([&] {
            outcome = fetchPage(*camera, *timeline, begun);
            return StatusSuccess;
        });
    }
    settle({nullptr, timeline, nullptr}, outcome, begun);
    return 0;
}

ScrubberTimelineUploads::Page ScrubberTimelineUploads::fetchPage(KorvaneCamera& camera, ScrubberTimelineItem& timeline,
                                                                 std::uint64_t trees) {
    const Range asked = range();
    const auto fetched = static_cast<std::int64_t>(timeline.eventCount());
    const auto reply =
        camera.getEventsSync(longLongValue(timeline.startDateTime()), longLongValue(timeline.endDateTime()),
                             asked.eventType, asked.isAscending ? 1 : 0, asked.limit, fetched);
    if (!reply || reply->is_null()) return Page::Failed;
    const Reply* objects = elementsOf(*reply);
    if (!objects) return Page::Last;
    const Page outcome = takeEvents(timeline, *objects, trees);
    if (outcome == Page::BrokenOff) return outcome;
    const std::int64_t total = timeline.noteTotal(totalCount(*reply).value_or(0));
    const std::int64_t fetchedNow = fetched + static_cast<std::int64_t>(objects->size());
    trace(1, classPath(), "getEventsSync: fetched: ", fetchedNow, " of ", total);
    if (fetchedNow < mostEvents(total, asked.limit)) return Page::More;
    logError(classPath(), "events: no end of pages, so the timeline is cut off");
    return Page::Last;
}

ScrubberTimelineUploads::Page ScrubberTimelineUploads::takeEvents(ScrubberTimelineItem& timeline, const Reply& objects,
                                                                  std::uint64_t trees) {
    auto events = readEvents(helpers(), objects);
    const std::lock_guard guard(mutex_);
    if (trees != trees_) return Page::BrokenOff;
    timeline.addEvents(std::move(events));
    return Page::Last;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineItem(
    const std::shared_ptr<ScrubberTimelineItem>& timeline) {
    const auto camera = cam();
    const std::uint64_t begun = trees();
    if (isClosing() || !camera || !timeline || !timeline->beginUpdate()) return 0;
    auto onReply = [self = self(), timeline, begun](const Reply& reply, std::int32_t status) {
        Page outcome = Page::Failed;
        self->guarded([&] {
            if (status != StatusSuccess || !reply.is_object()) return StatusSuccess;
            const Reply* objects = elementsOf(reply);
            outcome = objects ? self->takeEvents(*timeline, *objects, begun) : Page::Last;
            return StatusSuccess;
        });
        self->settle({nullptr, timeline, nullptr}, outcome, begun);
    };
    const std::int32_t status = guarded([&] {
        const Range asked = range();
        camera->getEvents(longLongValue(timeline->startDateTime()), longLongValue(timeline->endDateTime()),
                          asked.eventType, asked.isAscending ? 1 : 0, asked.limit, asked.offset, std::move(onReply));
        return StatusSuccess;
    });
    if (status != StatusSuccess) settle({nullptr, timeline, nullptr}, Page::Failed, begun);
    return 0;
}

// Records

std::int32_t ScrubberTimelineUploads::uploadRecordsForTimelineSegmentItem(
    const std::shared_ptr<ScrubberTimelineSegmentItem>& segment, std::function<void()> completion) {
    const auto camera = cam();
    const std::uint64_t begun = trees();
    if (isClosing() || !camera || !segment || !segment->beginUpdate()) return 0;
    auto onReply = [self = self(), segment, begun, completion = std::move(completion)](const Reply& reply,
                                                                                       std::int32_t status) {
        Page outcome = Page::Failed;
        self->guarded([&] {
            outcome = self->takeRecords(*segment, reply, status, begun);
            return StatusSuccess;
        });
        self->settle({nullptr, nullptr, segment}, outcome, begun);
        self->answer(*segment);
        if (outcome == Page::Last && completion) completion();
    };
    const std::int32_t status = guarded([&] {
        const Range asked = range();
        camera->getRecords(longLongValue(segment->startDateTime()), longLongValue(segment->endDateTime()), 1,
                           asked.limit, asked.offset, std::move(onReply));
        return StatusSuccess;
    });
    if (status != StatusSuccess) settle({nullptr, nullptr, segment}, Page::Failed, begun);
    return 0;
}

ScrubberTimelineUploads::Page ScrubberTimelineUploads::takeRecords(ScrubberTimelineSegmentItem& segment,
                                                                   const Reply& reply, std::int32_t status,
                                                                   std::uint64_t trees) {
    if (status != StatusSuccess || !reply.is_object()) return Page::Failed;
    const Reply* objects = elementsOf(reply);
    if (!objects) return Page::None;
    auto records = readRecords(helpers(), *objects);
    const std::lock_guard guard(mutex_);
    if (trees != trees_) return Page::BrokenOff;
    segment.setRecords(std::move(records));
    return Page::Last;
}

void ScrubberTimelineUploads::getUrl(std::uint64_t index, TimeMs withDateTime, UrlCompletion completion) {
    if (isClosing() || !cam()) return;
    guarded([&] {
        const auto path = getTimelineSegmentItemByIndex(static_cast<std::int64_t>(index - 1));
        if (!path) return StatusBadCall;
        const auto& segment = path->segment;
        const std::int64_t state = segment->isUpdated();
        if (state == ScrubberTimelineStatusDone) giveUrl(*segment, withDateTime, completion);
        if (state != ScrubberTimelineStatusNotAsked && state != ScrubberTimelineStatusUnderWay) return StatusSuccess;
        ScrubberTimelineUrlWishes::Wishes dropped;
        {
            const std::lock_guard guard(mutex_);
            days_.setMark(path->day);
            dropped =
                urls_.add({path->day, segment, static_cast<std::int64_t>(index), withDateTime, std::move(completion)});
        }
        queueRecords();
        return StatusSuccess;
    });
}

void ScrubberTimelineUploads::queueRecords() {
    std::uint64_t trees = 0;
    {
        const std::lock_guard guard(mutex_);
        if (!urls_.mayAsk() || areRecordsQueued_) return;
        areRecordsQueued_ = true;
        trees = trees_;
    }
    queueUploadRecords_.addOperation([self = self(), trees] { self->uploadNextRecords(trees); });
}

void ScrubberTimelineUploads::uploadNextRecords(std::uint64_t trees) {
    const auto seen = viewRange();
    ScrubberTimelineUrlWishes::Wishes dropped;
    std::shared_ptr<ScrubberTimelineSegmentItem> segment;
    {
        const std::lock_guard guard(mutex_);
        if (trees != trees_) return;
        areRecordsQueued_ = false;
        if (seen) dropped = urls_.keepOnly(*seen);
        segment = urls_.next();
    }
    if (!segment) return;
    uploadRecordsForTimelineSegmentItem(segment, nullptr);
    // Another caller may have been faster, and have been answered before the wish was there.
    if (segment->isUpdated() != ScrubberTimelineStatusUnderWay) answer(*segment);
    queueRecords();
}

void ScrubberTimelineUploads::answer(const ScrubberTimelineSegmentItem& segment) {
    std::optional<ScrubberTimelineUrlWishes::Wish> wish;
    {
        const std::lock_guard guard(mutex_);
        wish = urls_.take(segment);
        if (wish) keepDay(wish->day);
    }
    if (wish && segment.isUpdated() == ScrubberTimelineStatusDone) giveUrl(segment, wish->time, wish->completion);
    queueRecords();
}

void ScrubberTimelineUploads::giveUrl(const ScrubberTimelineSegmentItem& segment, TimeMs time,
                                      const UrlCompletion& completion) {
    const auto records = segment.records();
    const auto found = std::ranges::find_if(
        *records, [time](const auto& record) { return longLongValue(record.endDateTime()) > time; });
    if (found == records->end() || !completion) return;
    guarded([&] {
        const auto event = ScrubberEvent::build();
        event->setType(ScrubberEventTypeItem);
        event->setTimeAsValue(time);
        event->setStart(longLongValue(found->startDateTime()));
        event->setEnd(longLongValue(found->endDateTime()));
        event->setVideoUrl(found->url());
        completion(event);
        return StatusSuccess;
    });
}

}  // namespace korvane
