#include "korvane/base/VirtualMonitor.h"

#include <algorithm>
#include <utility>

namespace korvane::detail {

using std::chrono::milliseconds;
using Lock = VirtualCore::Lock;

VirtualMonitor::VirtualMonitor(std::shared_ptr<VirtualCore> core) : core_(std::move(core)) {}

void VirtualMonitor::lock() {
    Lock lock(core_->mutex);
    acquire(core_->self(), lock);
}

void VirtualMonitor::unlock() {
    const Lock lock(core_->mutex);
    release();
    core_->passBatonIfFree();
}

void VirtualMonitor::wait() {
    waitUntil(std::nullopt);
}

bool VirtualMonitor::waitFor(milliseconds timeout) {
    if (timeout.count() <= 0) return false;
    return waitUntil(std::min(timeout, longestWait));
}

void VirtualMonitor::notifyAll() {
    const Lock lock(core_->mutex);
    for (auto* waiter : waiting_) {
        waiter->notified = true;
        core_->resume(*waiter);
    }
    waiting_.clear();
    core_->passBatonIfFree();
}

void VirtualMonitor::acquire(Participant& self, Lock& lock) {
    while (owner_) {
        contenders_.push_back(&self);
        core_->suspend(self, ParticipantState::AwaitsLock, lock);
    }
    owner_ = &self;
}

void VirtualMonitor::release() {
    owner_ = nullptr;
    for (auto* contender : contenders_) core_->resume(*contender);
    contenders_.clear();
}

bool VirtualMonitor::waitUntil(std::optional<milliseconds> timeout) {
    Lock lock(core_->mutex);
    auto& self = core_->self();
    release();
    self.notified = false;
    self.deadline.reset();
    if (timeout) self.deadline = core_->now + *timeout;
    waiting_.push_back(&self);
    core_->suspend(self, ParticipantState::AwaitsNotice, lock);
    std::erase(waiting_, &self);
    const bool notified = self.notified;
    acquire(self, lock);
    return notified;
}

}  // namespace korvane::detail
