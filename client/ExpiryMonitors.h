#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/Scheduler.h"
#include "client/KorvaneApi.h"

namespace korvane {

/// The expiry monitors of a service's connections, on one thread that starts with the first of them. Callbacks run on
/// that thread, with no lock held, and may call anything here. All functions may be called from any thread and do not
/// wait for a callback.
class ExpiryMonitors {
  public:
    /// Names a monitor; 0 is never given out.
    using Id = std::uint64_t;

    struct Plan {
        KorvaneApi::ExpireMonitorCallback callback;
        /// Between two looks; less than 1 ms counts as 1 ms.
        std::chrono::milliseconds period{0};
        /// Calls back when no more is left.
        std::chrono::milliseconds guard{0};
        /// Nothing: never expires.
        std::optional<TimeMs> expiry;
    };

    /// `scheduler` outlives the monitors, their thread included.
    explicit ExpiryMonitors(Scheduler& scheduler);

    /// As end().
    ~ExpiryMonitors();

    ExpiryMonitors(const ExpiryMonitors&) = delete;
    ExpiryMonitors& operator=(const ExpiryMonitors&) = delete;

    /// Ends all of them for good and waits for a callback that runs, unless it is the one that calls.
    void end();

    /// The first look comes one period from now.
    Id start(Plan plan);

    void setExpiry(Id id, std::optional<TimeMs> expiry);

    void stop(Id id);

    struct Heirloom {
        Id id = 0;
        std::optional<TimeMs> expiry;
    };

    /// Who has been opened under a key and has no monitor of its own so far.
    class Heir {
      public:
        virtual ~Heir() = default;
        /// False when it does not want it any more. Called with no lock held.
        virtual bool inherit(const Heirloom& heirloom) = 0;
    };

    /// Leaves a monitor to the heir that came last under `key`, or to the next one that comes.
    void leave(Id id, const std::string& key);

    /// The monitor that was left last under `key`; stops those that were left there before it. When there is none,
    /// `heir` gets the next one.
    std::optional<Heirloom> takeOver(const std::string& key, const std::shared_ptr<Heir>& heir);

  private:
    struct State;
    std::shared_ptr<State> state_;
    std::unique_ptr<Thread> thread_;
};

}  // namespace korvane
