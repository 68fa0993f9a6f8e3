#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
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

    explicit RawServer(Script script) : script_(std::move(script)) {
        sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
        socklen_t length = sizeof(address);
        auto* const raw = reinterpret_cast<sockaddr*>(&address);
        if (bind(listener_, raw, length) != 0 || listen(listener_, 128) != 0) std::abort();
        getsockname(listener_, raw, &length);
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { accept(); });
    }
    ~RawServer() { stop(); }

    void stop() {
        {
            const std::lock_guard lock(mutex_);
            if (std::exchange(isEnding_, true)) return;
            for (const int s : sockets_) shutdown(s, SHUT_RDWR);
            shutdown(listener_, SHUT_RDWR);
        }
        acceptor_.join();
        for (std::thread& thread : threads_) thread.join();
        for (const int s : sockets_) close(s);
        close(listener_);
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    int connections() const { return connections_; }
    /// Heads of the requests so far.
    std::vector<std::string> requests() const {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    /// A whole reply.
    static std::string ok(const std::string& body, const std::string& status = "200 OK") {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }

  private:
    void accept() {
        for (int s = 0; (s = ::accept(listener_, nullptr, nullptr)) >= 0;) {
            const std::lock_guard lock(mutex_);
            if (isEnding_) return void(close(s));
            ++connections_;
            sockets_.push_back(s);
            threads_.emplace_back([this, s] { serve(s); });
        }
    }

    void serve(int s) {
        char buffer[4096];
        for (std::string input;;) {
            std::size_t end = 0;
            while ((end = input.find("\r\n\r\n")) == std::string::npos) {
                const ssize_t count = recv(s, buffer, sizeof(buffer), 0);
                if (count <= 0) return;
                input.append(buffer, static_cast<std::size_t>(count));
            }
            const std::string request = input.substr(0, end + 4);
            input.erase(0, end + 4);
            {
                const std::lock_guard lock(mutex_);
                requests_.push_back(request);
            }
            const auto answer = script_(request);
            if (!answer) continue;
            for (std::size_t sent = 0; sent < answer->bytes.size();) {
                const ssize_t count = send(s, answer->bytes.data() + sent, answer->bytes.size() - sent, MSG_NOSIGNAL);
                if (count <= 0) return;
                sent += static_cast<std::size_t>(count);
            }
            if (!answer->keepsOpen) return void(shutdown(s, SHUT_RDWR));
        }
    }

    const Script script_;
    const int listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::uint16_t port_ = 0;
    std::atomic<int> connections_{0};
    mutable std::mutex mutex_;
    bool isEnding_ = false;
    // Grow on the acceptor's thread alone.
    std::vector<int> sockets_;
    std::vector<std::thread> threads_;
    std::vector<std::string> requests_;
    std::thread acceptor_;
};

}  // namespace korvane::test
