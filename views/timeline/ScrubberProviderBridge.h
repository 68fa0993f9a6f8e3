#pragma once

#include <cstdint>
#include <functional>

#include "views/timeline/ScrubberCommon/ScrubberDataProviderDelegate.h"

namespace korvane {

class Scheduler;

/// Stands between a provider, which calls from any thread and may outlive the view, and a view on the main thread.
/// Calls are moved to the main thread in their order; the handlers must bear that the view has died by then
/// (LifeToken).
class ScrubberProviderBridge final : public ScrubberDataProviderDelegate {
  public:
    struct ReloadIndex {
        std::int64_t index;
        std::int32_t withStatus;
        std::int64_t withScrollToIndex;
        std::int32_t withSizeChangedFrom;
        std::int32_t withSizeChangedTo;
    };
    struct Handlers {
        /// Main thread.
        std::function<void(std::int32_t status, std::int32_t andState)> reload;
        /// Main thread; never with both indexes negative.
        std::function<void(const ReloadIndex&)> reloadIndex;
        /// The provider's thread; gives the host's answer.
        std::function<std::int32_t(std::int64_t timeLeft)> tokenWillExpire;
    };

    /// `scheduler` outlives the bridge.
    ScrubberProviderBridge(Scheduler& scheduler, Handlers handlers);

    void OnScrubberDataProviderReloadRequired(std::int32_t status, std::int32_t andState) override;
    void OnScrubberDataProviderReloadIndexRequired(std::int64_t index, std::int32_t withStatus,
                                                   std::int64_t withScrollToIndex, std::int32_t withSizeChangedFrom,
                                                   std::int32_t withSizeChangedTo) override;
    std::int32_t onSharedTokenWillExpireIn(std::int64_t timeLeft) override;

  private:
    Scheduler& scheduler_;
    const Handlers handlers_;
};

}  // namespace korvane
