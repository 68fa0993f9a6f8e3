#include "korvane/views/timeline/Binding/ScrubberProviderBridge.h"

#include <utility>

#include "korvane/base/Scheduler.h"

namespace korvane {

ScrubberProviderBridge::ScrubberProviderBridge(Scheduler& scheduler, Handlers handlers)
    : scheduler_(scheduler), handlers_(std::move(handlers)) {}

void ScrubberProviderBridge::OnScrubberDataProviderReloadRequired(std::int32_t status, std::int32_t andState) {
    scheduler_.post([reload = handlers_.reload, status, andState] { reload(status, andState); });
}

void ScrubberProviderBridge::OnScrubberDataProviderReloadIndexRequired(std::int64_t index, std::int32_t withStatus,
                                                                       std::int64_t withScrollToIndex,
                                                                       std::int32_t withSizeChangedFrom,
                                                                       std::int32_t withSizeChangedTo) {
    if (index < 0 && withScrollToIndex < 0) return;
    const ReloadIndex what{index, withStatus, withScrollToIndex, withSizeChangedFrom, withSizeChangedTo};
    scheduler_.post([reloadIndex = handlers_.reloadIndex, what] { reloadIndex(what); });
}

void ScrubberProviderBridge::OnScrubberDataProviderReloadVisible() {
    scheduler_.post(handlers_.reloadVisible);
}

std::vector<std::int64_t> ScrubberProviderBridge::OnScrubberDataProviderGetVisibleIndexes() {
    return handlers_.visibleIndexes();
}

std::int32_t ScrubberProviderBridge::onSharedTokenWillExpireIn(std::int64_t timeLeft) {
    return handlers_.tokenWillExpire(timeLeft);
}

}  // namespace korvane
