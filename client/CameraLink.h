#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneService.h"

namespace korvane {

/// Opens the camera that a token stands for, over a connection of its own. Main thread only.
class CameraLink {
  public:
    /// A camera and an empty text, or null with a sentence that never quotes the token, and a Status.
    using Opened =
        std::function<void(const std::shared_ptr<KorvaneCamera>& camera, const std::string& text, std::int32_t status)>;

    /// Both outlive the link.
    CameraLink(Scheduler& scheduler, KorvaneService& service);
    ~CameraLink();

    CameraLink(const CameraLink&) = delete;
    CameraLink& operator=(const CameraLink&) = delete;

    /// `opened` runs once, on a later turn of the main loop, unless another open() or the link's end comes first. A
    /// camera works until then too.
    void open(const std::string& token, Opened opened);

    /// A camera works no more, and no open() is answered.
    void close();

  private:
    void look(std::int64_t camid, std::function<void(std::shared_ptr<KorvaneCamera>, std::string, std::int32_t)> found);

    Scheduler& scheduler_;
    KorvaneService& service_;
    std::shared_ptr<KorvaneShareConnection> connection_;
    std::uint64_t attempt_ = 0;
    LifeToken life_;
};

}  // namespace korvane
