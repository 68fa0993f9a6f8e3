#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"

namespace korvane {

struct CameraServerOptions {
    /// Address to bind. Anything but loopback lets others in, with a token and without encryption.
    std::string address = "127.0.0.1";
    /// 0 for a free one.
    std::uint16_t port = 0;
    /// Requests answered at a time; more wait for their turn. A connection that waits for its peer takes no thread.
    std::size_t threads = 48;
    /// Connections held at a time; with one more, the one that has waited longest is closed. start() raises the
    /// process's soft limit of descriptors for them as far as it may, and holds fewer where that is not enough.
    std::size_t connections = 12'000;
    /// How long a connection may stay silent between two requests, and how long one request may take to arrive. A reply
    /// is given up when its receiver takes nothing for that long.
    std::chrono::milliseconds patience{10'000};
    /// Links in a camera's folder are followed wherever they lead; without it only inside of the folder.
    bool followLinks = false;
    /// The wall clock that tells which tokens have expired; empty for the system's.
    std::function<TimeMs()> now;
};

/// The camera service: answers the requests of the client library for the cameras of one data base, on threads of its
/// own. start(), stop() and the destructor are called on one thread; while none of them runs, the rest may be called
/// from any.
class CameraServer {
  public:
    explicit CameraServer(std::filesystem::path database, CameraServerOptions options = {});
    /// As stop().
    ~CameraServer();

    CameraServer(const CameraServer&) = delete;
    CameraServer& operator=(const CameraServer&) = delete;

    /// Opens the data base, binds and listens. Returns the port. A failure leaves the server stopped.
    Result<std::uint16_t> start();

    /// Ends all connections and waits for their threads. A second call does nothing.
    void stop();

    /// "http://127.0.0.1:PORT", empty while stopped.
    std::string baseUrl() const;

    /// A whole token for a host, valid for `lifetime` from now. Fails while stopped and for a camera that is unknown.
    Result<std::string> issueToken(std::int64_t cameraId, std::chrono::seconds lifetime) const;

  private:
    struct Running;

    std::filesystem::path database_;
    CameraServerOptions options_;
    std::unique_ptr<Running> running_;
};

}  // namespace korvane
