#pragma once

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace korvane {

/// The bytes of one connection. Used by one thread.
class SocketStream final : public httplib::Stream {
  public:
    /// `stopEvent` becomes readable when the service stops; every wait ends then.
    SocketStream(socket_t socket, int stopEvent, std::chrono::milliseconds patience);

    /// Waits for the first byte of a request, for at most the patience, and starts the clock of that request.
    bool awaitRequest();

    enum class Head { Clear, Ambiguous, Missing };
    /// Waits for the head of the request and looks at it before anything else reads it.
    Head awaitHead();

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* to, std::size_t size) override;
    ssize_t write(const char* from, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_; }

  private:
    bool waitFor(short events, std::chrono::steady_clock::time_point deadline) const;
    bool receive(std::chrono::steady_clock::time_point deadline);
    bool isEmpty() const { return begin_ == buffer_.size(); }

    socket_t socket_;
    int stopEvent_;
    std::chrono::milliseconds patience_;
    std::chrono::steady_clock::time_point deadline_;
    /// What has come and was not read, from `begin_` on.
    std::string buffer_;
    std::size_t begin_ = 0;
    std::size_t budget_ = 0;
};

}  // namespace korvane
