#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "views/timeline/ScrubberCommon/ScrubberEventType.h"
#include "views/timeline/ScrubberHostLink.h"

namespace korvane {

class Scheduler;

/// A view's state and the telling of it, shared with what changes it from other threads and may outlive the view. All
/// functions may be called from any thread.
class ScrubberViewState {
  public:
    using Announce = std::function<void(std::int32_t from, std::int32_t toState, std::int32_t withStatus)>;

    /// `announce` is called on the main thread and must bear that the view has died (LifeToken). `scheduler` outlives
    /// this.
    ScrubberViewState(Scheduler& scheduler, std::shared_ptr<ScrubberHostLink> host, Announce announce);

    /// Takes any value. The host hears of it on this thread, and may destroy the view then.
    void set(std::int32_t state, std::int32_t andStatus);
    std::int32_t get() const { return state_; }

  private:
    Scheduler& scheduler_;
    const std::shared_ptr<ScrubberHostLink> host_;
    const Announce announce_;
    std::atomic<std::int32_t> state_ = ScrubberStateReady;
};

}  // namespace korvane
