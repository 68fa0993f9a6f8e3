#pragma once

#include <future>
#include <memory>
#include <string>
#include <utility>

#include "korvane/client/KorvaneService.h"

namespace korvane::test {

struct Outcome {
    Reply reply;
    std::int32_t status;
    bool operator==(const Outcome&) const = default;
};

struct LookUp {
    std::shared_ptr<KorvaneCamera> camera;
    std::string error;
    std::int32_t status;
};

/// Looks a camera up and waits for it.
inline LookUp lookUp(KorvaneService& service, const std::shared_ptr<KorvaneShareConnection>& connection,
                     std::int64_t id) {
    std::promise<LookUp> found;
    service.makeCameraList(connection)
        ->getCamera(id, [&](std::shared_ptr<KorvaneCamera> camera, const std::string& error, std::int32_t status) {
            found.set_value({std::move(camera), error, status});
        });
    return found.get_future().get();
}

/// Makes `call` with a completion, and gives what that will be told.
template <typename Call>
std::future<Outcome> ask(const Call& call) {
    auto outcome = std::make_shared<std::promise<Outcome>>();
    call([outcome](Reply reply, std::int32_t status) { outcome->set_value({std::move(reply), status}); });
    return outcome->get_future();
}

inline std::future<Outcome> askEvents(KorvaneCamera& camera) {
    return ask([&](ReplyCompletion done) { camera.getEvents(-1, -1, std::nullopt, 0, 100, 0, std::move(done)); });
}

}  // namespace korvane::test
