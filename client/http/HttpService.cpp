#include "korvane/client/http/HttpService.h"

#include "korvane/client/ExpiryMonitors.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/client/http/HttpCameraList.h"
#include "korvane/client/http/HttpSession.h"
#include "korvane/client/http/HttpShareConnection.h"

namespace korvane {

struct HttpService::Parts {
    std::shared_ptr<const IcuHelpers> helpers;
    std::shared_ptr<HttpSession::Engine> engine;
    std::shared_ptr<ExpiryMonitors> monitors;
};

HttpService::HttpService(Scheduler& scheduler, const HttpOptions& options)
    : parts_(std::make_unique<const Parts>(Parts{std::make_shared<const IcuHelpers>(scheduler),
                                                 std::make_shared<HttpSession::Engine>(scheduler, options),
                                                 std::make_shared<ExpiryMonitors>(scheduler)})) {}

HttpService::~HttpService() {
    parts_->engine->transport.end();
    parts_->engine->callbacks.end();
    parts_->monitors->end();
}

std::shared_ptr<const KorvaneHelpers> HttpService::helpers() const {
    return parts_->helpers;
}

std::shared_ptr<KorvaneShareConnection> HttpService::makeConnection() {
    return std::make_shared<HttpShareConnection>(std::make_shared<HttpSession>(parts_->engine), parts_->monitors);
}

std::shared_ptr<KorvaneCameraList> HttpService::makeCameraList(
    const std::shared_ptr<KorvaneShareConnection>& connection) {
    const auto own = std::dynamic_pointer_cast<HttpShareConnection>(connection);
    // A session that was never opened refuses everything.
    return std::make_shared<HttpCameraList>(own ? own->session() : std::make_shared<HttpSession>(parts_->engine));
}

}  // namespace korvane
