#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineUploads.h"

#include <algorithm>
#include <ranges>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/views/timeline/Model/ReplyValues.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"

namespace korvane {
namespace {

// Requests for records that may wait and run: what a strip in flight asks for beyond them is not wanted any more.
constexpr std::size_t maxRecordRequests = 6;

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

}  // namespace

ScrubberTimelineUploads::ScrubberTimelineUploads(std::string_view classPath, Scheduler& scheduler,
                                                 KorvaneService& service)
    : ScrubberSourceBinding(classPath, scheduler, service),
      queueUploadEvents_(scheduler),
      queueUploadRecords_(scheduler) {}

std::shared_ptr<ScrubberTimelineUploads> ScrubberTimelineUploads::self() {
    return std::static_pointer_cast<ScrubberTimelineUploads>(shared_from_this());
}

void ScrubberTimelineUploads::cancelQueues() {
    queueUploadEvents_.cancelAllOperations();
    queueUploadRecords_.cancelAllOperations();
}

template <typename Item, typename Fill>
std::int64_t ScrubberTimelineUploads::settle(Item& item, Fill fill) {
    std::int64_t outcome = ScrubberTimelineStatusFailed;
    guarded([&] {
        outcome = fill();
        return StatusSuccess;
    });
    item.setIsUpdated(outcome);
    return outcome;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineDays() {
    if (isClosing() || !cam()) return 0;
    const auto shown = tree();
    for (const auto& day : std::views::reverse(shown->days())) uploadEventsForTimelineDay(day);
    return 0;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineDay(const std::shared_ptr<ScrubberTimelineDayItem>& day) {
    if (isClosing() || !day || !cam()) return 0;
    const auto block = day->block();
    if (!block || !day->beginRequest()) return 0;
    trace(1, classPath(), "uploadEventsForTimelineDay");
    guarded([&] {
        for (std::size_t i = block->timelines().size(); i-- > 0;) {
            queueUploadEvents_.addOperation([self = self(), day, i] { self->uploadTimelineOfDay(*day, i); });
        }
        return StatusSuccess;
    });
    return 0;
}

void ScrubberTimelineUploads::uploadTimelineOfDay(ScrubberTimelineDayItem& day, std::size_t index) {
    const auto timeline = day.timeline(index);
    // The tree has been cleared since.
    if (!timeline) return;
    day.setIsUpdated(ScrubberTimelineStatusUnderWay);
    uploadEventsForTimelineItemSync(timeline);
    day.setIsUpdated(ScrubberTimelineStatusDone);
    tellRedraw(timeline);
}

void ScrubberTimelineUploads::tellRedraw(const std::shared_ptr<ScrubberTimelineItem>& timeline) const {
    const auto delegate = getDelegate();
    if (!delegate) return;
    // This may wait for the main thread, so no lock is held here.
    const auto indexes = delegate->OnScrubberDataProviderGetVisibleIndexes();
    const bool isVisible = std::ranges::any_of(indexes, [&](std::int64_t index) {
        const auto path = index > 0 ? getTimelineSegmentItemByIndex(index - 1) : std::nullopt;
        return path && path->timeline == timeline;
    });
    if (isVisible) delegate->OnScrubberDataProviderReloadVisible();
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineItemSync(
    const std::shared_ptr<ScrubberTimelineItem>& timeline) {
    const auto camera = cam();
    if (isClosing() || !camera || !timeline || !timeline->beginUpdate()) return 0;
    settle(*timeline, [&] { return fetchAllEvents(camera, *timeline); });
    return 0;
}

std::int64_t ScrubberTimelineUploads::fetchAllEvents(const std::shared_ptr<KorvaneCamera>& camera,
                                                     ScrubberTimelineItem& timeline) const {
    const TimeMs start = longLongValue(timeline.startDateTime());
    const TimeMs end = longLongValue(timeline.endDateTime());
    std::int64_t fetched = 0;
    std::int64_t total = 0;
    // Another camera is as good as none: its pages are not those of this one.
    while (cam() == camera) {
        if (isClosing()) return ScrubberTimelineStatusUnderWay;
        const Range asked = range();
        const auto reply =
            camera->getEventsSync(start, end, asked.eventType, asked.isAscending ? 1 : 0, asked.limit, fetched);
        if (!reply || reply->is_null()) return ScrubberTimelineStatusFailed;
        const Reply* objects = elementsOf(*reply);
        if (!objects) break;
        if (total == 0) total = totalCount(*reply).value_or(0);
        if (isClosing() || cam() != camera) break;
        timeline.addEvents(readEvents(helpers(), *objects));
        if (isClosing()) break;
        fetched += static_cast<std::int64_t>(objects->size());
        if (fetched >= mostEvents(total, asked.limit)) {
            logError(classPath(), "events: no end of pages, so the timeline is cut off");
            break;
        }
    }
    trace(1, classPath(), "uploadEventsForTimelineItemSync: fetched: ", fetched, " of ", total);
    return ScrubberTimelineStatusDone;
}

std::int32_t ScrubberTimelineUploads::uploadEventsForTimelineItem(
    const std::shared_ptr<ScrubberTimelineItem>& timeline) {
    const auto camera = cam();
    if (isClosing() || !camera || !timeline || !timeline->beginUpdate()) return 0;
    const std::int32_t status = guarded([&] {
        const Range asked = range();
        camera->getEvents(longLongValue(timeline->startDateTime()), longLongValue(timeline->endDateTime()),
                          asked.eventType, asked.isAscending ? 1 : 0, asked.limit, asked.offset,
                          [self = self(), timeline](const Reply& reply, std::int32_t outcome) {
                              self->settle(*timeline, [&] { return self->takeEvents(*timeline, reply, outcome); });
                          });
        return StatusSuccess;
    });
    if (status != StatusSuccess) timeline->setIsUpdated(ScrubberTimelineStatusFailed);
    return 0;
}

std::int64_t ScrubberTimelineUploads::takeEvents(ScrubberTimelineItem& timeline, const Reply& reply,
                                                 std::int32_t status) {
    if (status != StatusSuccess || !reply.is_object()) return ScrubberTimelineStatusFailed;
    if (const Reply* objects = elementsOf(reply)) timeline.addEvents(readEvents(helpers(), *objects));
    return ScrubberTimelineStatusDone;
}

std::int32_t ScrubberTimelineUploads::uploadRecordsForTimelineSegmentItem(
    const std::shared_ptr<ScrubberTimelineSegmentItem>& segment, std::function<void()> completion) {
    const auto camera = cam();
    if (isClosing() || !camera || !segment || !segment->beginUpdate()) return 0;
    const std::int32_t status = guarded([&] {
        const Range asked = range();
        camera->getRecords(
            longLongValue(segment->startDateTime()), longLongValue(segment->endDateTime()), 1, asked.limit,
            asked.offset,
            [self = self(), segment, completion = std::move(completion)](const Reply& reply, std::int32_t outcome) {
                const auto settled =
                    self->settle(*segment, [&] { return self->takeRecords(*segment, reply, outcome); });
                if (settled == ScrubberTimelineStatusDone && completion) completion();
            });
        return StatusSuccess;
    });
    if (status != StatusSuccess) segment->setIsUpdated(ScrubberTimelineStatusFailed);
    return 0;
}

std::int64_t ScrubberTimelineUploads::takeRecords(ScrubberTimelineSegmentItem& segment, const Reply& reply,
                                                  std::int32_t status) const {
    const Reply* objects = status == StatusSuccess ? elementsOf(reply) : nullptr;
    if (!objects) return ScrubberTimelineStatusFailed;
    segment.setRecords(readRecords(helpers(), *objects));
    return ScrubberTimelineStatusDone;
}

void ScrubberTimelineUploads::getUrl(std::uint64_t index, TimeMs withDateTime, UrlCompletion completion) {
    if (isClosing() || !cam()) return;
    guarded([&] {
        const auto path = getTimelineSegmentItemByIndex(static_cast<std::int64_t>(index - 1));
        if (!path) return StatusBadCall;
        const auto& segment = path->segment;
        const std::int64_t state = segment->isUpdated();
        if (state == ScrubberTimelineStatusDone) giveUrl(*segment, withDateTime, completion);
        if (state != ScrubberTimelineStatusNotAsked || queueUploadRecords_.operationCount() >= maxRecordRequests)
            return StatusSuccess;
        queueUploadRecords_.addOperation([self = self(), segment, withDateTime, completion = std::move(completion)] {
            self->uploadRecordsForTimelineSegmentItem(segment, [self, segment, withDateTime, completion] {
                self->giveUrl(*segment, withDateTime, completion);
            });
        });
        return StatusSuccess;
    });
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
