#include "korvane/base/VirtualScheduler.h"

#include <mutex>
#include <thread>
#include <utility>

#include "korvane/base/VirtualCore.h"
#include "korvane/base/VirtualMonitor.h"

namespace korvane {

using std::chrono::microseconds;
using std::chrono::milliseconds;

VirtualScheduler::VirtualScheduler(std::uint64_t seed, TimeMs start)
    : core_(std::make_shared<detail::VirtualCore>(seed, start)) {}

VirtualScheduler::~VirtualScheduler() {
    core_->close();
}

void VirtualScheduler::runUntilIdle() {
    core_->drain();
}

void VirtualScheduler::advance(milliseconds duration) {
    core_->advance(duration);
}

void VirtualScheduler::shiftUtc(milliseconds by) {
    const std::lock_guard lock(core_->mutex);
    core_->utcBase += by.count();
}

void VirtualScheduler::setTimeHook(std::function<void()> hook) {
    const std::lock_guard lock(core_->mutex);
    core_->timeHook.swap(hook);
}

int VirtualScheduler::liveThreads() const {
    const std::lock_guard lock(core_->mutex);
    return core_->spawned;
}

TimeMs VirtualScheduler::utcNow() const {
    const std::lock_guard lock(core_->mutex);
    return core_->utcBase + std::chrono::floor<milliseconds>(core_->now).count();
}

microseconds VirtualScheduler::monotonicNow() const {
    const std::lock_guard lock(core_->mutex);
    return core_->now;
}

bool VirtualScheduler::isMainThread() const {
    return std::this_thread::get_id() == core_->mainThread;
}

void VirtualScheduler::post(Task task) {
    core_->enqueue(milliseconds(0), std::move(task));
}

Scheduler::TimerId VirtualScheduler::after(milliseconds delay, Task task) {
    return core_->enqueue(delay, std::move(task));
}

void VirtualScheduler::cancel(TimerId timer) {
    core_->cancel(timer);
}

void VirtualScheduler::runInBackground(Task task) {
    core_->runInBackground(std::move(task));
}

std::unique_ptr<Thread> VirtualScheduler::spawn(std::string name, Task body) {
    return core_->spawn(std::move(name), std::move(body));
}

std::unique_ptr<Monitor> VirtualScheduler::makeMonitor() {
    return std::make_unique<detail::VirtualMonitor>(core_);
}

}  // namespace korvane
