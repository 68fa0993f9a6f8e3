#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "korvane/client/KorvaneApi.h"

namespace korvane {

/// A connection to the service under one token. All functions may be called from any thread.
class KorvaneShareConnection {
  public:
    virtual ~KorvaneShareConnection() = default;

    /// Whether the base URL already has the service's path (parseToken tells). Before opening.
    virtual void setIsPathIncluded(bool isPathIncluded) = 0;

    /// Opens at the service's default address. Blocks; gives a Status.
    virtual std::int32_t openSync(const std::string& token) = 0;

    /// Opens at `sSvcpBaseUrl`, "http://127.0.0.1:8080" say. Blocks; gives a Status.
    virtual std::int32_t openSync(const std::string& token, const std::string& sSvcpBaseUrl) = 0;

    /// Swaps the token of an open connection: requests from now on carry the new one.
    virtual void update(const std::string& token, const std::string& expire, const std::string& sSvcpBaseUrl) = 0;

    /// Breaks off the requests under way that read: they complete with StatusClosed. Deletions go on, and the
    /// connection stays open. Does not wait for anything.
    virtual void cancelRequests() = 0;

    /// Ends the connection. Requests under way complete with StatusClosed. Does not wait for them, nor for a callback.
    virtual void close() = 0;

    /// The API object of this connection; never null.
    virtual std::shared_ptr<KorvaneApi> getKorvaneApi() = 0;
};

}  // namespace korvane
