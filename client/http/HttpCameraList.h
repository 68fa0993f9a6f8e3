#pragma once

#include <memory>

#include "korvane/client/KorvaneCameraList.h"
#include "korvane/client/http/HttpSession.h"

namespace korvane {

/// The cameras of one connection. Without a connection of this client, each look-up fails with StatusBadCall.
class HttpCameraList final : public KorvaneCameraList {
  public:
    explicit HttpCameraList(std::shared_ptr<HttpSession> session);

    void getCamera(std::int64_t camid, CameraCompletion onComplete) override;

  private:
    const std::shared_ptr<HttpSession> session_;
};

}  // namespace korvane
