#pragma once

#include <httplib.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/// One request that has come whole, and what is answered to it, in memory: reading ends where the request does, and
/// writing never waits. Used by one thread.
class RequestStream final : public httplib::Stream {
  public:
    /// `request` must outlive this object. The socket tells the addresses and nothing else.
    RequestStream(socket_t socket, std::string_view request) : socket_(socket), unread_(request) {}

    std::string takeWritten() { return std::move(written_); }

    bool is_readable() const override { return !unread_.empty(); }
    bool is_writable() const override { return true; }
    ssize_t read(char* to, std::size_t size) override;
    ssize_t write(const char* from, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_; }

  private:
    socket_t socket_;
    std::string_view unread_;
    std::string written_;
};

}  // namespace korvane
