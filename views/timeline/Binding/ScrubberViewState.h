#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/views/timeline/Binding/HostLink.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventType.h"
#include "korvane/views/timeline/ScrubberViewDelegate.h"

namespace korvane {

class Scheduler;

/// A view's state and the telling of it, shared with what changes it from other threads and may outlive the view. All
/// functions may be called from any thread.
class ScrubberViewState {
  public:
    using Announce = std::function<void(std::int32_t from, std::int32_t toState, std::int32_t withStatus)>;

    /// `announce` is called on the main thread and may run after the view is destroyed (LifeToken). `scheduler`
    /// outlives this.
    ScrubberViewState(Scheduler& scheduler, std::shared_ptr<HostLink<ScrubberViewDelegate>> host, Announce announce);

    /// Takes any value. The host hears of it on this thread, and may destroy the view then.
    void set(std::int32_t state, std::int32_t andStatus);
    std::int32_t get() const { return state_; }

  private:
    Scheduler& scheduler_;
    const std::shared_ptr<HostLink<ScrubberViewDelegate>> host_;
    const Announce announce_;
    std::atomic<std::int32_t> state_ = ScrubberStateReady;
};

}  // namespace korvane
