#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "korvane/views/timeline/ScrubberCommon/ScrubberDataProviderDelegate.h"

namespace korvane {

class Scheduler;

/// Stands between a provider, which calls from any thread and may outlive the view, and a view on the main thread.
/// Calls are moved to the main thread in their order; the handlers may run after the view is destroyed
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
        /// Main thread: entries on screen look different now.
        std::function<void()> reloadVisible;
        /// The provider's thread.
        std::function<std::vector<std::int64_t>()> visibleIndexes;
        /// The provider's thread; gives the host's answer.
        std::function<std::int32_t(std::int64_t timeLeft)> tokenWillExpire;
    };

    /// `scheduler` outlives the bridge.
    ScrubberProviderBridge(Scheduler& scheduler, Handlers handlers);

    void OnScrubberDataProviderReloadRequired(std::int32_t status, std::int32_t andState) override;
    void OnScrubberDataProviderReloadIndexRequired(std::int64_t index, std::int32_t withStatus,
                                                   std::int64_t withScrollToIndex, std::int32_t withSizeChangedFrom,
                                                   std::int32_t withSizeChangedTo) override;
    void OnScrubberDataProviderReloadVisible() override;
    std::vector<std::int64_t> OnScrubberDataProviderGetVisibleIndexes() override;
    std::int32_t onSharedTokenWillExpireIn(std::int64_t timeLeft) override;

  private:
    Scheduler& scheduler_;
    const Handlers handlers_;
};

}  // namespace korvane
