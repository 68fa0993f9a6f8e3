#include "korvane/client/CameraLink.h"

#include <utility>

namespace korvane {

namespace {
constexpr const char* usualProtocol = "https";
constexpr std::int32_t usualPort = 443;
}  // namespace

CameraLink::CameraLink(Scheduler& scheduler, KorvaneService& service) : scheduler_(scheduler), service_(service) {}

CameraLink::~CameraLink() {
    close();
}

void CameraLink::close() {
    if (connection_) connection_->close();
    connection_ = nullptr;
    ++attempt_;
}

void CameraLink::open(const std::string& token, Opened opened) {
    close();
    auto found =
        life_.guard([this, attempt = attempt_, opened = std::move(opened)](
                        const std::shared_ptr<KorvaneCamera>& camera, const std::string& text, std::int32_t status) {
            if (attempt == attempt_) opened(camera, text, status);
        });
    const auto onMain = [&scheduler = scheduler_, found](std::shared_ptr<KorvaneCamera> camera, std::string text,
                                                         std::int32_t status) {
        scheduler.post([found, camera = std::move(camera), text = std::move(text), status]() mutable {
            found(camera, text, status);
        });
    };

    std::string baseUrl;
    bool isPathIncluded = false;
    std::int32_t code = 0;
    std::string fault;
    const Reply parsed =
        service_.helpers()->parseToken(token, usualProtocol, usualPort, baseUrl, isPathIncluded, code, fault);
    if (parsed.is_null()) return onMain(nullptr, fault, code);

    connection_ = service_.makeConnection();
    connection_->setIsPathIncluded(isPathIncluded);
    const auto status = connection_->openSync(parsed.at("token").get<std::string>(), baseUrl);
    if (status != 0) return onMain(nullptr, "The token names no service that can be opened.", status);
    look(parsed.at("camid").get<std::int64_t>(), onMain);
}

void CameraLink::look(std::int64_t camid,
                      std::function<void(std::shared_ptr<KorvaneCamera>, std::string, std::int32_t)> found) {
    service_.makeCameraList(connection_)
        ->getCamera(camid, [found = std::move(found)](std::shared_ptr<KorvaneCamera> camera, const std::string& error,
                                                      std::int32_t status) {
            found(status == 0 ? std::move(camera) : nullptr, error, status);
        });
}

}  // namespace korvane
