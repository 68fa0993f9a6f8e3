#include "client/http/HttpService.h"

#include "client/http/HttpCameraList.h"
#include "client/http/HttpShareConnection.h"

namespace korvane {

HttpService::HttpService(Scheduler& scheduler, const HttpOptions& options)
    : helpers_(std::make_shared<const IcuHelpers>(scheduler)),
      engine_(std::make_shared<HttpSession::Engine>(scheduler, options)),
      monitors_(std::make_shared<ExpiryMonitors>(scheduler)) {}

HttpService::~HttpService() {
    engine_->transport.end();
    engine_->callbacks.end();
    monitors_->end();
}

std::shared_ptr<const KorvaneHelpers> HttpService::helpers() const {
    return helpers_;
}

std::shared_ptr<KorvaneShareConnection> HttpService::makeConnection() {
    return std::make_shared<HttpShareConnection>(std::make_shared<HttpSession>(engine_), monitors_);
}

std::shared_ptr<KorvaneCameraList> HttpService::makeCameraList(
    const std::shared_ptr<KorvaneShareConnection>& connection) {
    const auto own = std::dynamic_pointer_cast<HttpShareConnection>(connection);
    // A session that was never opened refuses everything.
    return std::make_shared<HttpCameraList>(own ? own->session() : std::make_shared<HttpSession>(engine_));
}

}  // namespace korvane
