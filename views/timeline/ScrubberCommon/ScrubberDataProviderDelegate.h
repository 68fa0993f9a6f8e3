#pragma once

#include <cstdint>
#include <vector>

#include "korvane/base/Time.h"

namespace korvane {

/// What a view offers its provider. Called on whatever thread the provider is on, possibly with the provider's lock
/// held: an implementation moves its work to the main thread and never waits for another thread here.
class ScrubberDataProviderDelegate {
  public:
    virtual ~ScrubberDataProviderDelegate() = default;

    /// Part of the contract that no provider uses: a deletion reaches the view as the completion of its own call.
    virtual void OnScrubberDataProviderEventDeleted(std::int64_t /*index*/) {}

    /// The whole list has changed, or a load has failed: status (0 or the service's code) and a ScrubberState.
    virtual void OnScrubberDataProviderReloadRequired(std::int32_t status, std::int32_t andState) = 0;

    /// Part of the list has been filled, or a wanted entry is there already. -1 as an index means none. The sizes are
    /// the list's lengths before and after.
    virtual void OnScrubberDataProviderReloadIndexRequired(std::int64_t index, std::int32_t withStatus,
                                                           std::int64_t withScrollToIndex,
                                                           std::int32_t withSizeChangedFrom,
                                                           std::int32_t withSizeChangedTo) = 0;

    /// List indexes of the cells on screen. The one call that may hop to the main thread and wait.
    virtual std::vector<std::int64_t> OnScrubberDataProviderGetVisibleIndexes() { return {}; }

    /// The cells on screen shall be shown anew, and what they lack be asked for: something came, or may be asked for
    /// again after a failure.
    virtual void OnScrubberDataProviderReloadVisible() {}

    /// The token has `timeLeft` ms to live, below zero once it has expired. Repeated every 5 s from 5 minutes before
    /// the expiry until the token is swapped or the source closed. The result is the host's.
    virtual std::int32_t onSharedTokenWillExpireIn(std::int64_t /*timeLeft*/) { return 0; }
};

}  // namespace korvane
