#include "korvane/apps/browser/ServiceWatch.h"

#include <algorithm>
#include <utility>

#include "korvane/client/Status.h"

namespace korvane {

namespace {
constexpr std::chrono::seconds shortest{1};
constexpr std::chrono::seconds longest{30};
}  // namespace

ServiceWatch::ServiceWatch(Scheduler& scheduler, QObject* parent) : QObject(parent), scheduler_(scheduler) {}

ServiceWatch::~ServiceWatch() {
    stopWaiting();
}

bool ServiceWatch::isLoss(std::int32_t status) {
    constexpr std::int32_t badGateway = 502;
    constexpr std::int32_t gatewayTimedOut = 504;
    return status == StatusTransportFailed || status == StatusTimedOut ||
           (status >= badGateway && status <= gatewayTimedOut);
}

void ServiceWatch::lose() {
    if (state_ == State::Waiting) return;
    const bool hasLasted = state_ == State::Found && scheduler_.monotonicNow() - foundAt_ > longest;
    delay_ = hasLasted ? shortest : std::clamp(delay_ * 2, shortest, longest);
    wait();
}

void ServiceWatch::wait() {
    stopWaiting();
    timer_ = scheduler_.after(delay_, life_.guard([this] { tryNow(); }));
    setState(State::Waiting);
}

void ServiceWatch::stopWaiting() {
    if (const auto timer = std::exchange(timer_, 0); timer != 0) scheduler_.cancel(timer);
}

void ServiceWatch::find() {
    if (state_ == State::Found) return;
    stopWaiting();
    foundAt_ = scheduler_.monotonicNow();
    setState(State::Found);
}

void ServiceWatch::tryNow() {
    if (state_ != State::Waiting) return;
    stopWaiting();
    setState(State::Trying);
    emit tryAgain();
}

void ServiceWatch::setState(State state) {
    if (std::exchange(state_, state) != state) emit changed();
}

}  // namespace korvane
