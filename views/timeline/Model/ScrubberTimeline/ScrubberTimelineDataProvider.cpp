#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

#include <algorithm>
#include <deque>
#include <string>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/SaturatingTime.h"
#include "korvane/base/UtcTime.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/BoxedTime.h"

namespace korvane {
namespace {

constexpr TimeMs dayLength = 86'400'000;
// Of the head and the live entry.
constexpr TimeMs noMoment = -1;

// Midnight of UTC, ms.
TimeMs beginOf(const ScrubberTimelineDayItem& day) {
    constexpr double msPerSecond = 1000;
    return longLongValue(static_cast<double>(longLongValue(day.dateTime())) * msPerSecond);
}

std::int64_t dayNumber(TimeMs time) {
    return time / dayLength - (time % dayLength < 0 ? 1 : 0);
}

// Head and live entry stand only beside segments.
std::int64_t entryCount(const ScrubberTimelineTree& tree) {
    return tree.segmentCount() > 0 ? tree.segmentCount() + 2 : 0;
}

}  // namespace

struct ScrubberTimelineDataProvider::Load {
    // As they stood when the load was asked for.
    std::uint64_t clearings = 0;
    TimeMs position = -1;
    ScrubberTimelineTree::Days days;
    std::uint64_t segmentsLeft = 0;
    bool isCut = false;
};

ScrubberTimelineDataProvider::ScrubberTimelineDataProvider(Scheduler& scheduler, KorvaneService& service)
    : ScrubberTimelineUploads("ScrubberTimelineDataProvider", scheduler, service),
      tree_(std::make_shared<const ScrubberTimelineTree>()) {}

ScrubberTimelineDataProvider::~ScrubberTimelineDataProvider() {
    close();
}

std::shared_ptr<ScrubberTimelineDataProvider> ScrubberTimelineDataProvider::self() {
    return std::static_pointer_cast<ScrubberTimelineDataProvider>(shared_from_this());
}

std::int32_t ScrubberTimelineDataProvider::requestEvents(TimeMs start, TimeMs withEnd, TimeMs withStartFrom) {
    if (isClosing()) return 0;
    const std::int32_t outcome = guarded([&] {
        Load load;
        load.clearings = clearings_;
        load.position = withStartFrom;
        const auto camera = cam();
        if (!camera) return StatusSuccess;
        trace(1, classPath(), "requestEvents");
        const Range asked = range();
        // The first argument and the two zeros are the service's own.
        camera->getActivity(
            1, start, withEnd, asked.eventType, 0, 0, static_cast<std::int32_t>(asked.limit),
            static_cast<std::int32_t>(asked.offset),
            [self = self(), load](Reply reply, std::int32_t status) { self->onActivity(load, reply, status); });
        return StatusSuccess;
    });
    if (outcome != StatusSuccess) tellReload(outcome, ScrubberStateReady);
    return 0;
}

void ScrubberTimelineDataProvider::onActivity(Load load, Reply& reply, std::int32_t status) {
    trace(1, classPath(), "getActivity: status: ", status);
    const bool hasDays = status == StatusSuccess && reply.is_array() && !reply.empty();
    if (hasDays) {
        status = guarded([&] {
            load.days = readDays(reply);
            scheduler().runInBackground([self = self(), load = std::move(load)]() mutable {
                self->publish(load, self->guarded([&] { return self->buildTree(load); }));
            });
            return StatusSuccess;
        });
    }
    release(reply);
    if (!hasDays || status != StatusSuccess) tellReload(status, ScrubberStateReady);
}

ScrubberTimelineTree::Days ScrubberTimelineDataProvider::readDays(const Reply& reply) const {
    ScrubberTimelineTree::Days days;
    for (const Reply& element : reply) {
        const auto date = element.is_string() ? helpers().convertTimeIntoDate(element.get_ref<const std::string&>(),
                                                                              "yyyy-MM-dd", "UTC")
                                              : std::nullopt;
        if (!date) continue;
        constexpr double msPerSecond = 1000;
        days.push_back(std::make_shared<ScrubberTimelineDayItem>());
        days.back()->setDateTime(static_cast<double>(*date) / msPerSecond);
    }
    if (days.size() < reply.size()) logError(classPath(), "activity: what is no day was left out");
    return days;
}

bool ScrubberTimelineDataProvider::isCurrent(const Load& load) const {
    return !isClosing() && clearings_ == load.clearings && cam();
}

std::int32_t ScrubberTimelineDataProvider::buildTree(Load& load) {
    const auto taken = static_cast<std::uint64_t>(tree()->segmentCount());
    load.segmentsLeft = ScrubberTimelineTree::maxSegments - std::min(taken, ScrubberTimelineTree::maxSegments);
    std::deque<std::shared_ptr<ScrubberTimelineDayItem>> refused;
    for (const auto& day : load.days) {
        if (!buildDay(load, *day)) refused.push_back(day);
        if (!isCurrent(load)) return StatusClosed;
    }
    // A service that refuses a day twice is left alone.
    while (!refused.empty() && buildDay(load, *refused.front())) refused.pop_front();
    if (!isCurrent(load)) return StatusClosed;
    if (!refused.empty()) logError(classPath(), "timelines: days without an answer: " + std::to_string(refused.size()));
    if (load.isCut) logError(classPath(), "timelines: periods that make too many segments were left out");
    return StatusSuccess;
}

bool ScrubberTimelineDataProvider::buildDay(Load& load, ScrubberTimelineDayItem& day) {
    const auto timeline = fetchDay(load, day);
    if (timeline && timeline->periods() && isCurrent(load)) fillDay(load, day, *timeline->periods());
    return timeline != nullptr;
}

std::shared_ptr<Timeline> ScrubberTimelineDataProvider::fetchDay(const Load& load, const ScrubberTimelineDayItem& day) {
    // Without the list's lock: whoever closes or refreshes must not wait for the network.
    const auto camera = cam();
    std::shared_ptr<Timeline> timeline;
    if (!camera || !isCurrent(load)) return timeline;
    const TimeMs begin = beginOf(day);
    guarded([&] {
        timeline = camera->getTimelineSync(begin, saturatingAdd(begin, dayLength));
        return StatusSuccess;
    });
    return timeline;
}

void ScrubberTimelineDataProvider::fillDay(Load& load, ScrubberTimelineDayItem& day,
                                           const std::vector<TimelinePair>& periods) const {
    std::vector<TimelinePair> kept;
    for (const TimelinePair& period : periods) {
        const std::uint64_t segments = ScrubberTimelineBlock::segmentsOf(period);
        if (segments > load.segmentsLeft) {
            load.isCut = true;
            continue;
        }
        load.segmentsLeft -= segments;
        kept.push_back(period);
    }
    if (!kept.empty()) day.setTimelines(std::make_shared<ScrubberTimelineBlock>(kept));
}

void ScrubberTimelineDataProvider::publish(const Load& load, std::int32_t status) {
    // Whoever closes or clears does so before all of this or after it.
    const std::lock_guard lock(listLock());
    if (!isCurrent(load)) return;
    if (status == StatusSuccess) status = guarded([&] { return show(load); });
    tellReload(status, ScrubberStateReady);
}

std::int32_t ScrubberTimelineDataProvider::show(const Load& load) {
    auto days = tree()->days();
    days.insert(days.end(), load.days.begin(), load.days.end());
    // The zone is looked up once for the tree: that goes through the file system.
    replaceTree(std::make_shared<const ScrubberTimelineTree>(std::move(days), localTimeZoneName()));
    const auto& shown = tree()->days();
    if (shown.empty()) return StatusSuccess;
    const bool hasPosition = load.position >= 1;
    uploadEventsForTimelineDay(hasPosition ? getTimelineDayByTime(static_cast<double>(load.position)) : shown.back());
    return StatusSuccess;
}

std::int32_t ScrubberTimelineDataProvider::refresh() {
    if (isClosing()) return StatusBadCall;
    // Now, not under the lock: a load under way leaves the lock to this one.
    ++clearings_;
    dropUploads();
    // One refresh after the other: days that two have asked for would stand in the tree twice.
    const std::lock_guard lock(listLock());
    return ScrubberTimelineUploads::refresh();
}

void ScrubberTimelineDataProvider::clearAllDays() {
    ++clearings_;
    const std::lock_guard lock(listLock());
    dropUploads();
    auto cleared = tree();
    if (cleared->days().empty()) return;
    replaceTree(std::make_shared<const ScrubberTimelineTree>());
    for (const auto& day : cleared->days()) day->setTimelines(nullptr);
    // Whoever clears does not wait for a million segments to go.
    scheduler().runInBackground([cleared = std::move(cleared)] { cleared->emptyTimelines(); });
}

void ScrubberTimelineDataProvider::emptyList() {
    clearAllDays();
}

void ScrubberTimelineDataProvider::replaceTree(std::shared_ptr<const ScrubberTimelineTree> tree) {
    // What is replaced goes away outside of the mutex.
    const std::lock_guard guard(treeMutex_);
    tree_.swap(tree);
}

std::shared_ptr<const ScrubberTimelineTree> ScrubberTimelineDataProvider::tree() const {
    const std::lock_guard guard(treeMutex_);
    return tree_;
}

std::shared_ptr<const ScrubberTimelineTree> ScrubberTimelineDataProvider::shownTree() const {
    return isClosing() || !cam() ? std::make_shared<const ScrubberTimelineTree>() : tree();
}

std::int64_t ScrubberTimelineDataProvider::OnScrubberGetEventsCount() {
    return entryCount(*shownTree());
}

std::shared_ptr<ScrubberEvent> ScrubberTimelineDataProvider::OnScrubberGetEventByIndex(std::int64_t index) {
    const auto camera = cam();
    const auto shown = shownTree();
    const std::int64_t count = entryCount(*shown);
    if (!camera || index < 0 || index >= count) return nullptr;
    std::shared_ptr<ScrubberEvent> entry;
    guarded([&] {
        const bool isSegment = index > 0 && index < count - 1;
        entry = isSegment ? makeEntry(*camera, *shown, index - 1) : makeEdge(*shown, index);
        return StatusSuccess;
    });
    return entry;
}

std::shared_ptr<ScrubberEvent> ScrubberTimelineDataProvider::makeEdge(const ScrubberTimelineTree& tree,
                                                                      std::int64_t index) {
    ScrubberEvent::Fields edge;
    edge.type = index == 0 ? ScrubberEventTypeHead : ScrubberEventTypeLive;
    edge.timezone = tree.localZone();
    return std::make_shared<ScrubberEvent>(std::move(edge));
}

std::shared_ptr<ScrubberEvent> ScrubberTimelineDataProvider::makeEntry(const KorvaneCamera& camera,
                                                                       const ScrubberTimelineTree& tree,
                                                                       std::int64_t number) const {
    const auto path = tree.segment(static_cast<std::uint64_t>(number));
    if (!path) return nullptr;
    ScrubberEvent::Fields entry;
    entry.camid = camid();
    entry.identificator = number;
    entry.type = ScrubberEventTypeItem;
    entry.timezone = camera.getTimezone();
    entry.name = "record_segment";
    entry.start = longLongValue(path->segment->startDateTime());
    entry.timeAsValue = entry.start;
    entry.end = longLongValue(path->segment->endDateTime());
    entry.childs = path->timeline->childsOfSegment(path->indexInTimeline, tree.localZone());
    return std::make_shared<ScrubberEvent>(std::move(entry));
}

std::optional<ScrubberEventSpan> ScrubberTimelineDataProvider::OnScrubberGetEventSpanByIndex(std::int64_t index) {
    const auto shown = shownTree();
    const std::int64_t count = entryCount(*shown);
    if (index < 0 || index >= count) return std::nullopt;
    if (index == 0) return ScrubberEventSpan{.type = ScrubberEventTypeHead};
    if (index == count - 1) return ScrubberEventSpan{.type = ScrubberEventTypeLive};
    const auto path = shown->segment(static_cast<std::uint64_t>(index - 1));
    if (!path) return std::nullopt;
    const TimeMs start = longLongValue(path->segment->startDateTime());
    return ScrubberEventSpan{ScrubberEventTypeItem, start, start, longLongValue(path->segment->endDateTime())};
}

std::int64_t ScrubberTimelineDataProvider::OnScrubberFindEvent(const ScrubberEventQuery& query) {
    const auto shown = shownTree();
    const std::int64_t count = entryCount(*shown);
    const std::int64_t from = std::max<std::int64_t>(query.fromIndex, 0);
    const auto isWanted = [&](TimeMs moment) { return moment >= query.notBefore && moment <= query.notAfter; };
    if (from >= count) return -1;
    if (query.identificator) {
        // A segment's number is its id; 0 is none, so the first segment is never found by it.
        const std::int64_t number = *query.identificator;
        if (number <= 0 || number < from - 1) return -1;
        const auto path = shown->segment(static_cast<std::uint64_t>(number));
        return path && isWanted(longLongValue(path->segment->startDateTime())) ? number + 1 : -1;
    }
    if (from == 0 && isWanted(noMoment)) return 0;
    const std::int64_t number =
        shown->findSegmentByStart(std::max<std::int64_t>(from - 1, 0), query.notBefore, query.notAfter);
    if (number >= 0) return number + 1;
    return isWanted(noMoment) ? count - 1 : -1;
}

std::int64_t ScrubberTimelineDataProvider::findByPosition(TimeMs position) {
    const std::int64_t number = shownTree()->findSegment(position);
    return number < 0 ? -1 : number + 1;
}

ScrubberEventPlace ScrubberTimelineDataProvider::findClosestByPosition(TimeMs position) {
    auto place = shownTree()->findClosestSegment(position);
    if (place.index >= 0) ++place.index;
    return place;
}

std::shared_ptr<ScrubberTimelineDayItem> ScrubberTimelineDataProvider::getTimelineDayByTime(double time) const {
    const auto shown = shownTree();
    if (shown->days().empty()) return nullptr;
    const std::int64_t wanted = dayNumber(longLongValue(time));
    const auto found =
        std::ranges::find_if(shown->days(), [&](const auto& day) { return dayNumber(beginOf(*day)) == wanted; });
    return found == shown->days().end() ? shown->days().back() : *found;
}

std::shared_ptr<ScrubberTimelineDayItem> ScrubberTimelineDataProvider::getTimelineDayItemByIndex(
    std::int64_t index) const {
    const auto shown = shownTree();
    const auto place = static_cast<std::uint64_t>(index);
    return place < shown->days().size() ? shown->days()[place] : nullptr;
}

std::shared_ptr<ScrubberTimelineItem> ScrubberTimelineDataProvider::getTimelineItemByIndex(std::int64_t index) const {
    return shownTree()->timeline(static_cast<std::uint64_t>(index));
}

std::optional<ScrubberTimelineSegmentPath> ScrubberTimelineDataProvider::getTimelineSegmentItemByIndex(
    std::int64_t index) const {
    // Unlike the ones above it does not need a camera.
    if (isClosing()) return std::nullopt;
    return tree()->segment(static_cast<std::uint64_t>(index));
}

std::int32_t ScrubberTimelineDataProvider::checkPartNeedRequested(std::uint64_t index,
                                                                  std::int64_t /*withScrollToIndex*/,
                                                                  TimeMs /*withDateTime*/) {
    if (isClosing() || !cam()) return 0;
    guarded([&] {
        const auto path = getTimelineSegmentItemByIndex(static_cast<std::int64_t>(index - 1));
        if (path) wishForDay(*path);
        return StatusSuccess;
    });
    return 0;
}

std::int32_t ScrubberTimelineDataProvider::OnScrubberDeleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/) {
    return -1;
}

std::vector<std::shared_ptr<ScrubberEvent>> ScrubberTimelineDataProvider::getEvents() {
    return {};
}

std::int32_t ScrubberTimelineDataProvider::deleteEvent(const std::shared_ptr<ScrubberEvent>& /*event*/,
                                                       DeleteCompletion /*onComplete*/) {
    return isClosing() ? StatusBadCall : StatusSuccess;
}

std::int32_t ScrubberTimelineDataProvider::updateForTime(TimeMs /*time*/, bool /*withScroll*/, bool /*isClosest*/) {
    trace(1, classPath(), "updateForTime");
    return 0;
}

std::int32_t ScrubberTimelineDataProvider::updateEvents(std::int64_t /*offset*/, std::int64_t /*withLimit*/,
                                                        std::uint64_t /*withIndex*/,
                                                        std::int64_t /*withScrollToIndex*/) {
    trace(1, classPath(), "updateEvents");
    return 0;
}

std::int32_t ScrubberTimelineDataProvider::updateStartFrom(TimeMs /*time*/, bool /*withScroll*/) {
    trace(1, classPath(), "updateStartFrom");
    return 0;
}

void ScrubberTimelineDataProvider::fillEventsFromDictionary(const Reply& /*objects*/,
                                                            std::uint64_t /*startWithIndex*/) {}

void ScrubberTimelineDataProvider::fillEventsFromDictionary2(const Reply& /*objects*/,
                                                             std::uint64_t /*startWithIndex*/) {}

void ScrubberTimelineDataProvider::fillEvent(const std::shared_ptr<ScrubberEvent>& /*event*/,
                                             const Reply& /*fromDictionary*/) {
    trace(1, classPath(), "fillEvent");
}

}  // namespace korvane
