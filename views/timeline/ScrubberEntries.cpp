#include "views/timeline/ScrubberEntries.h"

#include <utility>

#include "base/Log.h"
#include "toolkit/ToolkitContext.h"
#include "views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"

namespace korvane {

ScrubberEntries::ScrubberEntries(const TimelineEnvironment& environment, ScrubberProviderBridge::Handlers handlers)
    : environment_(environment),
      handlers_(std::move(handlers)),
      generation_(std::make_shared<std::atomic<std::uint64_t>>(0)) {}

std::shared_ptr<ScrubberDataProvider> ScrubberEntries::renewProvider(std::int32_t dataSourceType) {
    exchange({});
    if (!environment_.service) return nullptr;
    trace(1, "ScrubberView", "data source type: ", dataSourceType);
    Binding next;
    next.provider =
        std::make_shared<ScrubberEventsDataProvider>(*environment_.toolkit->scheduler, *environment_.service);
    next.bridge = makeBridge();
    next.provider->setDelegate(next.bridge);
    const auto provider = next.provider;
    exchange(std::move(next));
    return provider;
}

void ScrubberEntries::exchange(Binding next) {
    {
        const std::lock_guard lock(mutex_);
        std::swap(binding_, next);
    }
    if (!next.provider) return;
    next.provider->close();
    next.provider->setDelegate(nullptr);
}

std::shared_ptr<ScrubberProviderBridge> ScrubberEntries::makeBridge() {
    const auto ifCurrent = [all = generation_, own = ++*generation_](auto handler) {
        return [all, own, handler = std::move(handler)](const auto&... arguments) {
            if (*all == own) handler(arguments...);
        };
    };
    return std::make_shared<ScrubberProviderBridge>(
        *environment_.toolkit->scheduler,
        ScrubberProviderBridge::Handlers{ifCurrent(handlers_.reload), ifCurrent(handlers_.reloadIndex),
                                         handlers_.tokenWillExpire});
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
    const auto from = list();
    return from ? from->OnScrubberGetEventsCount() : 0;
}

std::shared_ptr<ScrubberEvent> ScrubberEntries::at(std::int64_t index) const {
    const auto from = list();
    return from ? from->OnScrubberGetEventByIndex(index) : nullptr;
}

std::vector<std::shared_ptr<ScrubberEvent>> ScrubberEntries::all() const {
    const auto own = source();
    if (!own) {
        const auto current = provider();
        return current ? current->getEvents() : std::vector<std::shared_ptr<ScrubberEvent>>();
    }
    std::vector<std::shared_ptr<ScrubberEvent>> entries;
    const std::int64_t count = own->OnScrubberGetEventsCount();
    for (std::int64_t index = 1; index < count; ++index) {
        if (auto event = own->OnScrubberGetEventByIndex(index)) entries.push_back(std::move(event));
    }
    return entries;
}

std::int64_t ScrubberEntries::find(TimeMs timeAsValue) const {
    const auto from = list();
    return from ? from->OnScrubberFindEventByTime(timeAsValue) : -1;
}

}  // namespace korvane
