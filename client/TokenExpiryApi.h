#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "korvane/client/ExpiryMonitors.h"
#include "korvane/client/KorvaneApi.h"

namespace korvane {

/// The API object of one connection, on the monitors of its service. The connection tells it of its own life.
class TokenExpiryApi final : public KorvaneApi,
                             public ExpiryMonitors::Connection,
                             public std::enable_shared_from_this<TokenExpiryApi> {
  public:
    explicit TokenExpiryApi(std::shared_ptr<ExpiryMonitors> monitors);

    void setShareTokenExpire(const std::string& expire) override;
    void setExpireMonitorCallback(ExpireMonitorCallback callback, std::int64_t withCheckingRate,
                                  std::int64_t withDeltaTimeGuardInMs) override;

    /// The connection has been opened: takes over the monitor that an earlier one left, or is going to leave, under
    /// this token and URL.
    void opened(const std::string& token, const std::string& baseUrl);

    /// The connection has swapped its token for one that lives until `expire`.
    void updated(const std::string& token, const std::string& expire, const std::string& baseUrl);

    /// Ends the monitor for good.
    void closed();

    /// The connection is gone without having been closed.
    void dropped();

    bool takeOver(const std::string& key, const ExpiryMonitors::LeftMonitor& left) override;

  private:
    static std::string keyOf(const std::string& token, const std::string& baseUrl);
    // mutex_ held.
    void setExpiryLocked(const std::string& expire);
    // Gives up the monitor and takes none from now on.
    ExpiryMonitors::Id release();

    const std::shared_ptr<ExpiryMonitors> monitors_;
    // Never held while a monitor ends: its callback may own the connection.
    std::mutex mutex_;
    std::string key_;
    std::uint64_t opening_ = 0;
    std::optional<TimeMs> expiry_;
    ExpiryMonitors::Id monitor_ = 0;
    bool isClosed_ = false;
};

}  // namespace korvane
