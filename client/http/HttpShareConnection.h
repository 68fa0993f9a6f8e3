#pragma once

#include <memory>
#include <string>

#include "korvane/client/KorvaneShareConnection.h"
#include "korvane/client/TokenExpiryApi.h"
#include "korvane/client/http/HttpSession.h"

namespace korvane {

/// A connection over HTTP. Opening checks the token's form and the URL and sends nothing: what the service thinks of
/// the token shows with the first request. To a base URL without a path the service's own, "/v1", is added, unless
/// setIsPathIncluded(true) says that the requests lie right under it. Dropped without close(), it ends as with close(),
/// but for its expiry monitor.
class HttpShareConnection final : public KorvaneShareConnection {
  public:
    HttpShareConnection(std::shared_ptr<HttpSession> session, std::shared_ptr<ExpiryMonitors> monitors);
    ~HttpShareConnection() override;

    void setIsPathIncluded(bool isPathIncluded) override;
    std::int32_t openSync(const std::string& token) override;
    std::int32_t openSync(const std::string& token, const std::string& sSvcpBaseUrl) override;
    /// An empty URL keeps the one before. A token or URL that openSync() would refuse changes nothing.
    void update(const std::string& token, const std::string& expire, const std::string& sSvcpBaseUrl) override;
    void cancelRequests() override;
    void close() override;
    std::shared_ptr<KorvaneApi> getKorvaneApi() override;

    std::shared_ptr<HttpSession> session() const { return session_; }

  private:
    const std::shared_ptr<HttpSession> session_;
    const std::shared_ptr<TokenExpiryApi> api_;
};

}  // namespace korvane
