#include "tests/client/RawServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace korvane::test {

RawServer::RawServer(Script script) : script_(std::move(script)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener_, raw, length) != 0 || listen(listener_, 128) != 0) std::abort();
    getsockname(listener_, raw, &length);
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
}

RawServer::~RawServer() {
    stop();
}

void RawServer::stop() {
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(isEnding_, true)) return;
        for (const int s : sockets_) shutdown(s, SHUT_RDWR);
        shutdown(listener_, SHUT_RDWR);
    }
    acceptor_.join();
    {
        const std::lock_guard lock(mutex_);
        threads.swap(threads_);
    }
    for (std::thread& thread : threads) thread.join();
    for (const int s : sockets_) close(s);
    close(listener_);
}

std::vector<std::string> RawServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::string RawServer::ok(const std::string& body, const std::string& status) {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

void RawServer::accept() {
    while (true) {
        const int s = ::accept(listener_, nullptr, nullptr);
        if (s < 0) return;
        const std::lock_guard lock(mutex_);
        if (isEnding_) {
            close(s);
            return;
        }
        ++connections_;
        sockets_.push_back(s);
        threads_.emplace_back([this, s] { serve(s); });
    }
}

void RawServer::serve(int s) {
    std::string input;
    char buffer[4096];
    while (true) {
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
        if (!answer->keepsOpen) {
            shutdown(s, SHUT_RDWR);
            return;
        }
    }
}

}  // namespace korvane::test
