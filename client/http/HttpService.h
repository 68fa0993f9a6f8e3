#pragma once

#include <memory>

#include "korvane/base/Scheduler.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/client/http/HttpOptions.h"

namespace korvane {

/// The service over HTTP and JSON. Owns two threads, which start when first needed: one runs all requests, one all
/// completions; the expiry monitors have a third. A completion may block, call anything here, and drop any object,
/// the service included. Sends requests only on a real scheduler.
class HttpService final : public KorvaneService {
  public:
    /// `scheduler` outlives the service and what it made.
    explicit HttpService(Scheduler& scheduler, const HttpOptions& options = {});

    /// Requests under way complete with StatusClosed before it returns, and nothing calls back after it. What the
    /// service made and is still held becomes closed for good: no completion comes any more, synchronous calls give
    /// nothing. Do not hold a lock that a completion or monitor callback takes.
    ~HttpService() override;

    HttpService(const HttpService&) = delete;
    HttpService& operator=(const HttpService&) = delete;

    std::shared_ptr<const KorvaneHelpers> helpers() const override;
    std::shared_ptr<KorvaneShareConnection> makeConnection() override;
    std::shared_ptr<KorvaneCameraList> makeCameraList(
        const std::shared_ptr<KorvaneShareConnection>& connection) override;

  private:
    struct Parts;
    const std::unique_ptr<const Parts> parts_;
};

}  // namespace korvane
