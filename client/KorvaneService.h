#pragma once

#include <memory>

#include "korvane/client/KorvaneCameraList.h"
#include "korvane/client/KorvaneHelpers.h"
#include "korvane/client/KorvaneShareConnection.h"

namespace korvane {

/// Makes the objects of the service surface; the one thing that a provider needs to be given. The HTTP one is
/// client/http/HttpService.h, tests bring a scripted one. It outlives what it makes. Any thread.
class KorvaneService {
  public:
    virtual ~KorvaneService() = default;

    /// Never null; they may be held beyond the service, so that work which is still under way at its end can use them.
    virtual std::shared_ptr<const KorvaneHelpers> helpers() const = 0;

    /// A new closed connection.
    virtual std::shared_ptr<KorvaneShareConnection> makeConnection() = 0;

    /// The cameras that `connection` opens.
    virtual std::shared_ptr<KorvaneCameraList> makeCameraList(
        const std::shared_ptr<KorvaneShareConnection>& connection) = 0;
};

}  // namespace korvane
