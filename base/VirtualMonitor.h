#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "korvane/base/VirtualCore.h"

namespace korvane::detail {

// The monitor of a VirtualScheduler: a thread that waits hands the baton on.
class VirtualMonitor final : public Monitor {
  public:
    explicit VirtualMonitor(std::shared_ptr<VirtualCore> core);

    void lock() override;
    void unlock() override;
    void wait() override;
    bool waitFor(std::chrono::milliseconds timeout) override;
    void notifyAll() override;

  private:
    // The core's mutex held.
    void acquire(Participant& self, VirtualCore::Lock& lock);
    void release();
    // Takes the core's mutex itself.
    bool waitUntil(std::optional<std::chrono::milliseconds> timeout);

    const std::shared_ptr<VirtualCore> core_;
    Participant* owner_ = nullptr;
    std::vector<Participant*> contenders_;
    std::vector<Participant*> waiting_;
};

}  // namespace korvane::detail
