#include "views/timeline/ScrubberEntries.h"

#include <functional>
#include <utility>

#include "base/Log.h"
#include "base/TaskGuard.h"
#include "toolkit/ToolkitContext.h"
#include "views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"
#include "views/timeline/Model/ScrubberRecords/ScrubberRecordsDataProvider.h"

namespace korvane {
namespace {

/// Asks a list, which may be one of the host's own and throw.
template <typename Ask>
void ask(const Ask& question) {
    detail::runGuarded(std::cref(question), "ScrubberDataSourceDelegate");
}

}  // namespace

ScrubberEntries::ScrubberEntries(const TimelineEnvironment& environment, ScrubberProviderBridge::Handlers handlers)
    : environment_(environment),
      handlers_(std::move(handlers)),
      numberInUse_(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

std::shared_ptr<ScrubberDataProvider> ScrubberEntries::renewProvider(std::int32_t dataSourceType) {
    exchange({});
    if (!environment_.service) return nullptr;
    trace(1, "ScrubberView", "data source type: ", dataSourceType);
    Binding next;
    auto& scheduler = *environment_.toolkit->scheduler;
    if (dataSourceType == ScrubberDataSourceTypeRecords) {
        next.provider = std::make_shared<ScrubberRecordsDataProvider>(scheduler, *environment_.service);
    } else {
        next.provider = std::make_shared<ScrubberEventsDataProvider>(scheduler, *environment_.service);
    }
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
        *environment_.toolkit->scheduler,
        ScrubberProviderBridge::Handlers{ifCurrent(handlers_.reload), ifCurrent(handlers_.reloadIndex),
                                         ifCurrent(handlers_.tokenWillExpire)});
}

std::shared_ptr<ScrubberDataProvider> ScrubberEntries::provider() const {
    const std::lock_guard lock(mutex_);
    return binding_.provider;
}

void ScrubberEntries::setSource(std::shared_ptr<ScrubberDataSourceDelegate> source) {
    const std::lock_guard lock(mutex_);
    source_.swap(source);
}

std::shared_ptr<ScrubberDataSourceDelegate> ScrubberEntries::source() const {
    const std::lock_guard lock(mutex_);
    return source_;
}

std::shared_ptr<ScrubberDataSourceDelegate> ScrubberEntries::list() const {
    const std::lock_guard lock(mutex_);
    return source_ ? source_ : binding_.provider;
}

std::int64_t ScrubberEntries::count() const {
    std::int64_t count = 0;
    if (const auto from = list()) ask([&] { count = from->OnScrubberGetEventsCount(); });
    return count;
}

std::shared_ptr<ScrubberEvent> ScrubberEntries::at(std::int64_t index) const {
    std::shared_ptr<ScrubberEvent> event;
    if (const auto from = list()) ask([&] { event = from->OnScrubberGetEventByIndex(index); });
    return event;
}

std::vector<std::shared_ptr<ScrubberEvent>> ScrubberEntries::all() const {
    const auto own = source();
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

std::shared_ptr<ScrubberEvent> ScrubberEntries::following(const ScrubberEvent& event) const {
    const TimeMs moment = event.timeAsValue();
    ScrubberEventQuery query;
    if (moment != 0 && moment != -1) query = ScrubberEventQuery::at(moment);
    query.identificator = event.identificator().value_or(0);
    const std::int64_t index = find(query);
    return index < 0 ? nullptr : at(index + 1);
}

}  // namespace korvane
