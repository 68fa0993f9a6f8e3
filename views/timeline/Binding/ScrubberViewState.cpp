#include "korvane/views/timeline/Binding/ScrubberViewState.h"

#include <utility>

#include "korvane/base/Log.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

ScrubberViewState::ScrubberViewState(Scheduler& scheduler, std::shared_ptr<HostLink<ScrubberViewDelegate>> host,
                                     Announce announce)
    : scheduler_(scheduler), host_(std::move(host)), announce_(std::move(announce)) {}

void ScrubberViewState::set(std::int32_t state, std::int32_t andStatus) {
    const std::int32_t from = state_.exchange(state);
    trace(1, "ScrubberView", "state: ", from, " to ", state, " status ", andStatus);
    host_->call(&ScrubberViewDelegate::OnScrubberStateChangedFrom, from, state, andStatus);
    if (scheduler_.isMainThread()) {
        announce_(from, state, andStatus);
    } else {
        scheduler_.post([announce = announce_, from, state, andStatus] { announce(from, state, andStatus); });
    }
}

}  // namespace korvane
