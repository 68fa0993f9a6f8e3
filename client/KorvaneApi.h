#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "korvane/base/Time.h"

namespace korvane {

/// The part of a connection that knows how long its token lives. All functions may be called from any thread.
class KorvaneApi {
  public:
    /// Receives the time left in ms, which is negative once the token has expired. Runs on a thread of the client
    /// library.
    using ExpireMonitorCallback = std::function<void(std::int64_t timeLeft)>;

    virtual ~KorvaneApi() = default;

    /// When the token expires, as the token itself says it (UTC text). A text that cannot be read as a time never
    /// expires.
    virtual void setShareTokenExpire(const std::string& expire) = 0;

    /// Looks at the expiry every `withCheckingRate` ms (1 and up) and calls back each time no more than
    /// `withDeltaTimeGuardInMs` are left, on and on, below zero too, until the connection gets a token that lives
    /// longer or is closed. Replaces the monitor before it; an empty callback ends it. Where the system gives no thread
    /// for the monitors, there is none.
    ///
    /// A monitor outlives a connection that is dropped without close(): the next connection that is opened after it
    /// with the same token and base URL takes it over, so its update() silences it and its close() ends it. The next
    /// one may be opened before the other is dropped; one that was opened before it never takes it over.
    virtual void setExpireMonitorCallback(ExpireMonitorCallback callback, std::int64_t withCheckingRate,
                                          std::int64_t withDeltaTimeGuardInMs) = 0;
};

}  // namespace korvane
