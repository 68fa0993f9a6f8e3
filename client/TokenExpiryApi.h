#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "client/ExpiryMonitors.h"
#include "client/KorvaneApi.h"

namespace korvane {

/// The API object of one connection, on the monitors of its service. The connection tells it of its own life.
class TokenExpiryApi final : public KorvaneApi,
                             public ExpiryMonitors::Heir,
                             public std::enable_shared_from_this<TokenExpiryApi> {
  public:
    explicit TokenExpiryApi(std::shared_ptr<ExpiryMonitors> monitors);

    void setShareTokenExpire(const std::string& expire) override;
    void setExpireMonitorCallback(ExpireMonitorCallback callback, std::int64_t withCheckingRate,
                                  std::int64_t withDeltaTimeGuardInMs) override;

    /// The connection has been opened: takes over what an earlier one left, or is going to leave, under this token and
    /// URL.
    void opened(const std::string& token, const std::string& baseUrl);

    /// The connection has swapped its token for one that lives until `expire`.
    void updated(const std::string& token, const std::string& expire, const std::string& baseUrl);

    /// Ends the monitor for good.
    void closed();

    /// The connection is gone without having been closed.
    void dropped();

    bool inherit(const ExpiryMonitors::Heirloom& heirloom) override;

  private:
    static std::string keyOf(const std::string& token, const std::string& baseUrl);
    void setExpiry(const std::string& expire);
    ExpiryMonitors::Id release();

    const std::shared_ptr<ExpiryMonitors> monitors_;
    // Never held while a monitor ends: its callback may own the connection.
    std::mutex mutex_;
    std::string key_;
    std::optional<TimeMs> expiry_;
    ExpiryMonitors::Id monitor_ = 0;
    bool isClosed_ = false;
};

}  // namespace korvane
