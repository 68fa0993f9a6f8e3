#include "korvane/bench/support/DelayProxy.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace korvane {
namespace {

using Clock = std::chrono::steady_clock;

class Socket {
  public:
    explicit Socket(int handle = -1) : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Socket() {
        if (handle_ >= 0) close(handle_);
    }

    int get() const { return handle_; }
    bool isOpen() const { return handle_ >= 0; }

  private:
    int handle_;
};

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

Socket newSocket() {
    return Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

void makeQuick(const Socket& socket) {
    const int on = 1;
    setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    fcntl(socket.get(), F_SETFL, O_NONBLOCK);
}

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

/// One way of a connection: what has been read and waits for its moment.
struct Way {
    struct Piece {
        Clock::time_point due;
        // Empty for the end of the stream.
        std::string bytes;
    };

    int from = -1;
    int to = -1;
    std::deque<Piece> pieces;
    bool isRead = false;
    bool isPassedOn = false;

    bool isDue(Clock::time_point now) const { return !pieces.empty() && pieces.front().due <= now; }
};

}  // namespace

/// A client's connection and the one to the service that belongs to it.
class DelayProxy::Link {
  public:
    Link(Socket client, Socket service, Clock::duration roundTrip)
        : client_(std::move(client)), service_(std::move(service)), roundTrip_(roundTrip) {
        makeQuick(client_);
        makeQuick(service_);
        ask_.from = answer_.to = client_.get();
        ask_.to = answer_.from = service_.get();
    }

    bool isOver() const { return isBroken_ || (ask_.isPassedOn && answer_.isPassedOn); }

    std::optional<Clock::time_point> nextDue() const {
        std::optional<Clock::time_point> next;
        for (const Way* way : {&ask_, &answer_}) {
            if (!way->pieces.empty() && (!next || way->pieces.front().due < *next)) next = way->pieces.front().due;
        }
        return next;
    }

    void addTo(std::vector<pollfd>& polled, Clock::time_point now) const {
        for (const Way* way : {&ask_, &answer_}) {
            if (!way->isRead) polled.push_back({way->from, POLLIN, 0});
            if (way->isDue(now)) polled.push_back({way->to, POLLOUT, 0});
        }
    }

    void move(Clock::time_point now, Counts& counts) {
        const std::size_t asked = read(ask_, std::max(now, opened_ + roundTrip_) + roundTrip_ / 2);
        if (asked > 0 && std::exchange(isAnswered_, false)) ++counts.requests;
        const std::size_t answered = read(answer_, now + roundTrip_ / 2);
        if (answered > 0) isAnswered_ = true;
        counts.replyBytes += static_cast<std::int64_t>(answered);
        write(ask_, now);
        write(answer_, now);
    }

  private:
    std::size_t read(Way& way, Clock::time_point due) {
        std::array<char, 64 * 1024> buffer;
        std::size_t total = 0;
        while (!way.isRead && !isBroken_) {
            const ssize_t count = recv(way.from, buffer.data(), buffer.size(), 0);
            if (count < 0) {
                isBroken_ = !wouldBlock();
                break;
            }
            const auto size = static_cast<std::size_t>(count);
            way.pieces.push_back({due, std::string(buffer.data(), size)});
            way.isRead = size == 0;
            total += size;
        }
        return total;
    }

    void write(Way& way, Clock::time_point now) {
        while (way.isDue(now) && !isBroken_) {
            std::string& bytes = way.pieces.front().bytes;
            if (bytes.empty()) {
                shutdown(way.to, SHUT_WR);
                way.isPassedOn = true;
            } else {
                const ssize_t count = send(way.to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
                if (count < 0) {
                    isBroken_ = !wouldBlock();
                    return;
                }
                bytes.erase(0, static_cast<std::size_t>(count));
                if (!bytes.empty()) return;
            }
            way.pieces.pop_front();
        }
    }

    const Socket client_;
    const Socket service_;
    const Clock::duration roundTrip_;
    const Clock::time_point opened_ = Clock::now();
    Way ask_;
    Way answer_;
    bool isAnswered_ = true;
    bool isBroken_ = false;
};

class DelayProxy::Loop {
  public:
    Loop(std::uint16_t servicePort, Clock::duration roundTrip) : servicePort_(servicePort), roundTrip_(roundTrip) {
        const auto address = loopback(0);
        const auto* raw = reinterpret_cast<const sockaddr*>(&address);
        constexpr int backlog = 128;
        if (bind(listener_.get(), raw, sizeof(address)) != 0 || listen(listener_.get(), backlog) != 0) return;
        fcntl(listener_.get(), F_SETFL, O_NONBLOCK);
        sockaddr_in bound{};
        socklen_t length = sizeof(bound);
        getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&bound), &length);
        port_ = ntohs(bound.sin_port);
        thread_ = std::thread([this] { run(); });
    }

    ~Loop() {
        if (!thread_.joinable()) return;
        eventfd_write(stop_.get(), 1);
        thread_.join();
    }

    std::uint16_t port() const { return port_; }

    Counts counts() const {
        const std::lock_guard lock(mutex_);
        return counts_;
    }

    void reset() {
        const std::lock_guard lock(mutex_);
        counts_ = Counts();
        counts_.mostOpen = static_cast<int>(links_.size());
    }

  private:
    void run() {
        while (waitForWork()) {
            const std::lock_guard lock(mutex_);
            accept();
            const auto now = Clock::now();
            for (auto& link : links_) link->move(now, counts_);
            std::erase_if(links_, [](const auto& link) { return link->isOver(); });
        }
    }

    /// False when the proxy is to stop.
    bool waitForWork() {
        const auto now = Clock::now();
        std::vector<pollfd> polled{{stop_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
        std::optional<Clock::time_point> next;
        for (const auto& link : links_) {
            link->addTo(polled, now);
            const auto due = link->nextDue();
            if (due && *due > now && (!next || *due < *next)) next = due;
        }
        timespec wait{};
        if (next) {
            const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(*next - now).count();
            wait = {left / 1'000'000'000, left % 1'000'000'000};
        }
        ppoll(polled.data(), polled.size(), next ? &wait : nullptr, nullptr);
        return polled.front().revents == 0;
    }

    void accept() {
        for (;;) {
            Socket client(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!client.isOpen()) return;
            ++counts_.connections;
            Socket service = newSocket();
            const auto address = loopback(servicePort_);
            if (connect(service.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) continue;
            links_.push_back(std::make_unique<Link>(std::move(client), std::move(service), roundTrip_));
            counts_.mostOpen = std::max(counts_.mostOpen, static_cast<int>(links_.size()));
        }
    }

    const std::uint16_t servicePort_;
    const Clock::duration roundTrip_;
    const Socket listener_ = newSocket();
    const Socket stop_{eventfd(0, EFD_CLOEXEC)};
    std::uint16_t port_ = 0;
    mutable std::mutex mutex_;
    Counts counts_;
    // Changed by the thread alone, under the lock.
    std::vector<std::unique_ptr<Link>> links_;
    std::thread thread_;
};

DelayProxy::DelayProxy(std::uint16_t servicePort, std::chrono::milliseconds roundTrip)
    : loop_(std::make_unique<Loop>(servicePort, roundTrip)) {}

DelayProxy::~DelayProxy() = default;

std::string DelayProxy::url() const {
    return loop_->port() ? "http://127.0.0.1:" + std::to_string(loop_->port()) : std::string();
}

DelayProxy::Counts DelayProxy::counts() const {
    return loop_->counts();
}

void DelayProxy::reset() {
    loop_->reset();
}

}  // namespace korvane
