#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>

namespace korvane {

/// httplib's server over a connection loop of our own. It differs in what an unfriendly peer can do: a request has a
/// limit in bytes and in time from its first to its last byte, bodies are not read, `Range` is left to the handler,
/// and stop() does not wait for idle connections.
class HttpListener final : public httplib::Server {
  public:
    HttpListener(std::size_t threads, std::chrono::milliseconds patience);
    ~HttpListener() override;

    /// Binds; port 0 takes a free one. Returns the port, or -1.
    int bind(const std::string& address, int port);

    /// Ends every connection and makes listen_after_bind() return.
    void shutDown();

  private:
    bool process_and_close_socket(socket_t socket) override;
    void serve(socket_t socket);

    std::chrono::milliseconds patience_;
    int stopEvent_;
};

}  // namespace korvane
