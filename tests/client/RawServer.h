#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace korvane::test {

/// A loopback server that writes whatever bytes a test wants.
class RawServer {
  public:
    struct Answer {
        std::string bytes;
        /// Stays for the next request instead of closing.
        bool keepsOpen = false;
    };
    /// Given a request's head. Nothing: the connection stays silent until stop(). Runs on threads of the server.
    using Script = std::function<std::optional<Answer>(const std::string& request)>;

    explicit RawServer(Script script);
    ~RawServer();

    void stop();
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    /// Heads of the requests so far.
    std::vector<std::string> requests() const;
    int connections() const { return connections_; }

    /// A whole reply.
    static std::string ok(const std::string& body, const std::string& status = "200 OK");

  private:
    void accept();
    void serve(int socket);

    const Script script_;
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<int> connections_{0};
    mutable std::mutex mutex_;
    bool isEnding_ = false;
    std::vector<int> sockets_;
    std::vector<std::thread> threads_;
    std::vector<std::string> requests_;
    std::thread acceptor_;
};

}  // namespace korvane::test
