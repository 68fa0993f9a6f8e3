#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <string>

#include "korvane/base/Descriptor.h"

namespace korvane {

/// One end of a connection to a service on loopback, that can be as unfriendly as it likes. All of 127.0.0.0/8 is ours.
class TestPeer {
  public:
    explicit TestPeer(int port, const char* from = "127.0.0.1") : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        const sockaddr_in own{AF_INET, 0, {::inet_addr(from)}, {}};
        const sockaddr_in service{AF_INET, htons(static_cast<std::uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
        // Of use to nobody but a test that fails.
        const timeval patience{20, 0};
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own), 0);
        EXPECT_EQ(::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&service), sizeof service), 0);
    }

    void send(const std::string& bytes) const {
        EXPECT_EQ(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    void ask(const std::string& path) const { send("GET " + path + " HTTP/1.1\r\n\r\n"); }

    /// What comes next, up to `most` bytes; empty at the end.
    std::string read(std::size_t most = 4096) const {
        std::string bytes(most, '\0');
        const ssize_t count = ::recv(socket_.get(), bytes.data(), most, 0);
        EXPECT_TRUE(count >= 0 || errno == ECONNRESET) << "nothing comes";
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }
    /// All until the service closes.
    std::string readAll() const {
        std::string all;
        for (std::string piece = read(); !piece.empty(); piece = read()) all += piece;
        return all;
    }
    /// The content of the answer to one request: all that follows its head, and no longer than a packet.
    std::string answerTo(const std::string& path) const {
        ask(path);
        const std::string reply = read();
        return reply.substr(std::min(reply.size(), reply.find("\r\n\r\n") + 4));
    }
    void close() { socket_ = Descriptor(); }

  private:
    Descriptor socket_;
};

}  // namespace korvane
