#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneApi.h"

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

    /// `scheduler` outlives the monitors and their thread.
    explicit ExpiryMonitors(Scheduler& scheduler);

    /// As end().
    ~ExpiryMonitors();

    ExpiryMonitors(const ExpiryMonitors&) = delete;
    ExpiryMonitors& operator=(const ExpiryMonitors&) = delete;

    /// Ends all of them for good and waits for a callback that runs, unless it is the one that calls.
    void end();

    /// The first look comes one period from now. 0 when the system gives no thread for it, or after end().
    Id start(Plan plan);

    void setExpiry(Id id, std::optional<TimeMs> expiry);

    void stop(Id id);

    /// A monitor that its connection has left.
    struct LeftMonitor {
        Id id = 0;
        std::optional<TimeMs> expiry;
    };

    /// A connection that may take over the monitor of another one.
    class Connection {
      public:
        virtual ~Connection() = default;
        /// False when it has a monitor, has been closed, or lives under another key by now. Called with no lock held.
        virtual bool takeOver(const std::string& key, const LeftMonitor& left) = 0;
    };

    struct Opening {
        /// Counts openings, from 1.
        std::uint64_t number = 0;
        /// The monitor that was left last under the key.
        std::optional<LeftMonitor> left;
    };

    /// `connection` has been opened under `key`, and takes over what an earlier one has left there or is going to
    /// leave. Of several monitors that were left, those before the last are stopped.
    Opening opened(const std::string& key, const std::shared_ptr<Connection>& connection);

    /// The connection of that opening goes and leaves its monitor to the first one that was opened after it under
    /// `key`, or else to the next one that will be.
    void leave(Id id, const std::string& key, std::uint64_t opening);

  private:
    struct State;
    std::shared_ptr<State> state_;
    std::unique_ptr<Thread> thread_;
};

}  // namespace korvane
