#include "korvane/client/http/HttpCameraList.h"

#include <utility>

#include "korvane/client/Status.h"
#include "korvane/client/http/HttpCamera.h"

namespace korvane {
namespace {

std::string textOf(const Reply& reply) {
    return reply.is_string() ? reply.get<std::string>() : std::string();
}

std::string zoneOf(const Reply& camera) {
    // Each entry of a list keeps the name: one that is longer than any zone's must not come to gigabytes.
    constexpr std::size_t longestName = 100;
    const Reply* zone = findMember(camera, "timezone");
    std::string name = zone ? textOf(*zone) : std::string();
    return name.size() <= longestName ? name : std::string();
}

}  // namespace

HttpCameraList::HttpCameraList(std::shared_ptr<HttpSession> session) : session_(std::move(session)) {}

void HttpCameraList::getCamera(std::int64_t camid, CameraCompletion onComplete) {
    if (!onComplete) return;
    auto completion = [session = session_, camid, onComplete = std::move(onComplete)](const Reply& reply,
                                                                                      std::int32_t status) {
        if (status != StatusSuccess) return onComplete(nullptr, textOf(reply), status);
        if (!reply.is_object()) {
            return onComplete(nullptr, "The service did not describe the camera.", StatusUnexpectedReply);
        }
        onComplete(std::make_shared<HttpCamera>(session, camid, zoneOf(reply)), "", status);
    };
    if (camid <= 0) return session_->fail(StatusBadCall, std::move(completion));
    session_->request(HttpMethod::Get, "/cameras/" + std::to_string(camid), std::move(completion));
}

}  // namespace korvane
