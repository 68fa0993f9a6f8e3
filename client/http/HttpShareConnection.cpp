#include "korvane/client/http/HttpShareConnection.h"

#include <utility>

#include "korvane/base/Log.h"
#include "korvane/client/Status.h"

namespace korvane {

HttpShareConnection::HttpShareConnection(std::shared_ptr<HttpSession> session, std::shared_ptr<ExpiryMonitors> monitors)
    : session_(std::move(session)), api_(std::make_shared<TokenExpiryApi>(std::move(monitors))) {}

HttpShareConnection::~HttpShareConnection() {
    // After close() there is no monitor left to leave behind.
    api_->dropped();
    session_->close();
}

void HttpShareConnection::setIsPathIncluded(bool isPathIncluded) {
    session_->setIsPathIncluded(isPathIncluded);
}

std::int32_t HttpShareConnection::openSync(const std::string& token) {
    return openSync(token, std::string());
}

std::int32_t HttpShareConnection::openSync(const std::string& token, const std::string& sSvcpBaseUrl) {
    const std::int32_t status = session_->open(token, sSvcpBaseUrl);
    if (status == StatusSuccess) {
        api_->opened(token, sSvcpBaseUrl);
    } else {
        logError("HttpShareConnection", "cannot be opened: no token, or no http or https URL");
    }
    return status;
}

void HttpShareConnection::update(const std::string& token, const std::string& expire, const std::string& sSvcpBaseUrl) {
    if (session_->update(token, sSvcpBaseUrl)) {
        api_->updated(token, expire, sSvcpBaseUrl);
    } else {
        logError("HttpShareConnection", "update refused: not open, no token, or no http or https URL");
    }
}

void HttpShareConnection::cancelRequests() {
    session_->cancelReads();
}

void HttpShareConnection::close() {
    api_->closed();
    session_->close();
}

std::shared_ptr<KorvaneApi> HttpShareConnection::getKorvaneApi() {
    return api_;
}

}  // namespace korvane
