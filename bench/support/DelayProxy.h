#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/// A distant service on one machine: listens on loopback and passes bytes on to a port of loopback, each way half a
/// round trip later. A new connection waits one round trip more before its first bytes leave, as a handshake would make
/// it wait. Bandwidth is not limited.
///
/// A client reaches the service through the proxy when its token names the proxy's address:
///
///     CameraServer server(file);
///     const auto port = server.start();
///     DelayProxy link(*port, std::chrono::milliseconds(100));
///     const auto token = AccessToken::forDatabase(file)->issue(camera, expires, link.url());
///     // ... give the token to a view, wait for its pictures ...
///     link.counts().connections;
///
/// The service writes the host that a request names into the addresses of pictures and recordings, so these come
/// through the proxy too. All functions may be called from any thread.
class DelayProxy {
  public:
    struct Counts {
        /// Opened by clients.
        int connections = 0;
        /// The largest number that was open at a time.
        int mostOpen = 0;
        /// HTTP/1.1 requests of all connections, where none is sent before the reply to the one before it.
        int requests = 0;
        /// Sent by the service.
        std::int64_t replyBytes = 0;
    };

    /// `servicePort` is where the service listens on 127.0.0.1.
    DelayProxy(std::uint16_t servicePort, std::chrono::milliseconds roundTrip);

    /// Breaks off what is under way.
    ~DelayProxy();

    DelayProxy(const DelayProxy&) = delete;
    DelayProxy& operator=(const DelayProxy&) = delete;

    /// "http://127.0.0.1:PORT"; empty when the proxy could not listen.
    std::string url() const;

    /// Since the start, or the last reset().
    Counts counts() const;

    /// Counts from 0 again; connections open at that moment stay in `mostOpen`.
    void reset();

  private:
    class Link;
    class Loop;

    const std::unique_ptr<Loop> loop_;
};

}  // namespace korvane
