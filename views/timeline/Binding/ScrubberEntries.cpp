#include "korvane/views/timeline/Binding/ScrubberEntries.h"

#include <functional>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"

namespace korvane {
namespace {

/// Asks a list, which may be one of the host's own and throw.
template <typename Ask>
void ask(const Ask& question) {
    detail::runGuarded(std::cref(question), "ScrubberDataSourceDelegate");
}

}  // namespace

bool isSameEntry(const std::shared_ptr<ScrubberEvent>& one, const std::shared_ptr<ScrubberEvent>& other) {
    if (!one || !other || one == other) return one && other;
    const auto id = one->identificator().value_or(0);
    return id != 0 && id == other->identificator() && one->start() == other->start();
}

ScrubberEntries::ScrubberEntries(Scheduler& scheduler, ProviderFactory makeProvider,
                                 ScrubberProviderBridge::Handlers handlers)
    : scheduler_(scheduler),
      makeProvider_(std::move(makeProvider)),
      handlers_(std::move(handlers)),
      numberInUse_(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

std::shared_ptr<ScrubberDataProvider> ScrubberEntries::renewProvider(std::int32_t dataSourceType) {
    exchange({});
    Binding next;
    next.provider = makeProvider_(dataSourceType);
    if (!next.provider) return nullptr;
    next.number = ++lastNumber_;
    next.bridge = makeBridge(next.number);
    next.provider->setDelegate(next.bridge);
    const auto provider = next.provider;
    exchange(std::move(next));
    return provider;
}

void ScrubberEntries::exchange(Binding next) {
    {
        const std::lock_guard lock(mutex_);
        std::swap(binding_, next);
        *numberInUse_ = binding_.number;  // the last to come is the one heard of, however threads overtake each other
    }
    if (!next.provider) return;
    next.provider->close();
    next.provider->setDelegate(nullptr);
}

std::shared_ptr<ScrubberProviderBridge> ScrubberEntries::makeBridge(std::uint64_t number) {
    const auto ifCurrent = [inUse = numberInUse_, number](auto handler) {
        return [inUse, number, handler = std::move(handler)](const auto&... arguments) {
            using Answer = decltype(handler(arguments...));
            return *inUse == number ? handler(arguments...) : Answer();
        };
    };
    return std::make_shared<ScrubberProviderBridge>(
        scheduler_,
        ScrubberProviderBridge::Handlers{ifCurrent(handlers_.reload), ifCurrent(handlers_.reloadIndex),
                                         ifCurrent(handlers_.reloadVisible), ifCurrent(handlers_.visibleIndexes),
                                         ifCurrent(handlers_.tokenWillExpire)});
}

std::shared_ptr<ScrubberDataProvider> ScrubberEntries::provider() const {
    const std::lock_guard lock(mutex_);
    return binding_.provider;
}

void ScrubberEntries::detachProvider() {
    if (const auto last = provider()) last->setDelegate(nullptr);
}

void ScrubberEntries::setOwnList(std::shared_ptr<ScrubberDataSourceDelegate> list) {
    const std::lock_guard lock(mutex_);
    ownList_.swap(list);
}

std::shared_ptr<ScrubberDataSourceDelegate> ScrubberEntries::ownList() const {
    const std::lock_guard lock(mutex_);
    return ownList_;
}

std::shared_ptr<ScrubberDataSourceDelegate> ScrubberEntries::list() const {
    const std::lock_guard lock(mutex_);
    return ownList_ ? ownList_ : binding_.provider;
}

std::int64_t ScrubberEntries::count() const {
    std::int64_t count = 0;
    if (const auto from = list()) ask([&] { count = from->OnScrubberGetEventsCount(); });
    return count;
}

std::int64_t ScrubberEntries::ungroupedCount() const {
    const auto current = ownList() ? nullptr : provider();
    return current ? current->getUngroupedCount() : count();
}

std::shared_ptr<ScrubberEvent> ScrubberEntries::at(std::int64_t index) const {
    std::shared_ptr<ScrubberEvent> event;
    if (const auto from = list()) ask([&] { event = from->OnScrubberGetEventByIndex(index); });
    return event;
}

std::optional<ScrubberEventSpan> ScrubberEntries::spanAt(std::int64_t index) const {
    std::optional<ScrubberEventSpan> span;
    if (const auto from = list()) ask([&] { span = from->OnScrubberGetEventSpanByIndex(index); });
    return span;
}

std::vector<std::shared_ptr<ScrubberEvent>> ScrubberEntries::all() const {
    const auto own = ownList();
    if (!own) {
        const auto current = provider();
        return current ? current->getEvents() : std::vector<std::shared_ptr<ScrubberEvent>>();
    }
    std::vector<std::shared_ptr<ScrubberEvent>> entries;
    ask([&] {
        const std::int64_t count = own->OnScrubberGetEventsCount();
        for (std::int64_t index = 1; index < count; ++index) {
            if (auto event = own->OnScrubberGetEventByIndex(index)) entries.push_back(std::move(event));
        }
    });
    return entries;
}

std::int64_t ScrubberEntries::find(const ScrubberEventQuery& query) const {
    std::int64_t index = -1;
    if (const auto from = list()) ask([&] { index = from->OnScrubberFindEvent(query); });
    return index;
}

std::int64_t ScrubberEntries::findByPosition(TimeMs position) const {
    std::int64_t index = -1;
    if (const auto from = list()) ask([&] { index = from->OnScrubberFindEventByPosition(position); });
    return index;
}

ScrubberEventPlace ScrubberEntries::findClosestByPosition(TimeMs position) const {
    ScrubberEventPlace place;
    if (const auto from = list()) ask([&] { place = from->OnScrubberFindClosestEventByPosition(position); });
    return place;
}

std::int64_t ScrubberEntries::indexOf(const std::shared_ptr<ScrubberEvent>& event, std::int64_t expected) const {
    if (!event) return -1;
    if (isSameEntry(at(expected), event)) return expected;
    ScrubberEventQuery query;
    query.identificator = event->identificator();
    if (query.identificator.value_or(0) == 0) {
        query = {};
        query.object = event.get();
    }
    // Entries may share a moment or an id.
    for (std::int64_t index = find(query); index >= 0; index = find(query)) {
        if (isSameEntry(at(index), event)) return index;
        query.fromIndex = index + 1;
    }
    return indexOf(event->parent(), expected);  // it may have been folded into a group
}

std::shared_ptr<ScrubberEvent> ScrubberEntries::following(const ScrubberEvent& event) const {
    const TimeMs moment = event.timeAsValue();
    ScrubberEventQuery query;
    if (moment != 0 && moment != -1) query = ScrubberEventQuery::at(moment);
    query.identificator = event.identificator().value_or(0);
    const std::int64_t index = find(query);
    if (index < 0) return event.parent();  // one of a group, which goes on without it
    return at(index + 1);
}

}  // namespace korvane
