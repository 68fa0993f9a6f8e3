#pragma once

#include <httplib.h>

#include <string>

#include "korvane/server/ConnectionLoop.h"

namespace korvane {

/// httplib's server as a router over a connection loop of our own: it parses a request that has come whole and calls
/// the handlers on a worker, and never sees a socket. Bodies are not read, `Range` is left to the handler.
class HttpListener final : public httplib::Server {
  public:
    explicit HttpListener(ConnectionLimits limits);
    ~HttpListener() override;

    /// Binds; port 0 takes a free one. Returns the port, or -1.
    int bind(const std::string& address, int port);

    /// Serves on the calling thread until shutDown(), once.
    void run() { loop_.run(svr_sock_); }

    /// Ends every connection and makes run() return, also one that has not begun yet. May be called from any thread.
    void shutDown() { loop_.stop(); }

  private:
    OutgoingReply answer(int socket, RequestBuffer::Head head, const std::string& bytes);

    const std::string keepAlive_;
    ConnectionLoop loop_;
};

}  // namespace korvane
