#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "korvane/client/KorvaneCamera.h"

namespace korvane {

/// The cameras that a connection opens. May be dropped right after a call: the completion comes all the same.
class KorvaneCameraList {
  public:
    /// The camera with status 0, otherwise null with an error text and a status. Runs exactly once on a thread of the
    /// client library.
    using CameraCompletion =
        std::function<void(std::shared_ptr<KorvaneCamera> camera, std::string error, std::int32_t status)>;

    virtual ~KorvaneCameraList() = default;

    /// Looks a camera up. Any thread; returns at once.
    virtual void getCamera(std::int64_t camid, CameraCompletion onComplete) = 0;
};

}  // namespace korvane
