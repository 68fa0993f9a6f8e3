#include "korvane/server/SocketStream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "korvane/server/RequestHead.h"

namespace korvane {
namespace {

using Clock = std::chrono::steady_clock;

// Far above what the client library sends, far below what hurts.
constexpr std::size_t longestRequest = 64 * 1024;

void readAddress(int (*look)(int, sockaddr*, socklen_t*), socket_t socket, std::string& ip, int& port) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (look(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return;
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> service{};
    if (getnameinfo(reinterpret_cast<sockaddr*>(&address), size, host.data(), host.size(), service.data(),
                    service.size(), NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return;
    ip = host.data();
    port = std::atoi(service.data());
}

}  // namespace

SocketStream::SocketStream(socket_t socket, int stopEvent, std::chrono::milliseconds patience)
    : socket_(socket), stopEvent_(stopEvent), patience_(patience), deadline_(Clock::now() + patience) {}

bool SocketStream::waitFor(short events, Clock::time_point deadline) const {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return false;
        std::array<pollfd, 2> wanted = {{{socket_, events, 0}, {stopEvent_, POLLIN, 0}}};
        const int count = ::poll(wanted.data(), wanted.size(), static_cast<int>(std::min<long>(left.count(), 60'000)));
        if (count < 0 && errno != EINTR) return false;
        if (count <= 0) continue;
        if (wanted[1].revents != 0) return false;
        // A hang-up counts: the read or write that follows tells.
        if (wanted[0].revents != 0) return true;
    }
}

bool SocketStream::receive(Clock::time_point deadline) {
    if (!waitFor(POLLIN, deadline)) return false;
    std::array<char, 4096> piece;
    ssize_t count = -1;
    do count = ::recv(socket_, piece.data(), piece.size(), 0);
    while (count < 0 && errno == EINTR);
    if (count <= 0) return false;
    buffer_.erase(0, std::exchange(begin_, 0));
    buffer_.append(piece.data(), static_cast<std::size_t>(count));
    return true;
}

bool SocketStream::awaitRequest() {
    if (isEmpty() && !receive(Clock::now() + patience_)) return false;
    deadline_ = Clock::now() + patience_;
    budget_ = longestRequest;
    return true;
}

SocketStream::Head SocketStream::awaitHead() {
    std::size_t seen = 0;
    while (true) {
        const std::string_view head = std::string_view(buffer_).substr(begin_, longestRequest);
        // The last three bytes may be the beginning of the end.
        const std::size_t from = seen - std::min<std::size_t>(seen, 3);
        const std::size_t end = head.find("\r\n\r\n", from);
        if (end != std::string_view::npos)
            return isUnambiguousHead(head.substr(0, end + 4)) ? Head::Clear : Head::Ambiguous;
        // One that is too long is cut off where it is read.
        if (head.size() == longestRequest) return Head::Clear;
        if (hasBareLineEnd(head.substr(from))) return Head::Ambiguous;
        seen = head.size();
        if (!receive(deadline_)) return Head::Missing;
    }
}

bool SocketStream::is_readable() const {
    return !isEmpty() || waitFor(POLLIN, deadline_);
}

bool SocketStream::is_writable() const {
    return waitFor(POLLOUT, Clock::now() + patience_);
}

ssize_t SocketStream::read(char* to, std::size_t size) {
    if (budget_ == 0 || (isEmpty() && !receive(deadline_))) return -1;
    const std::size_t count = std::min({size, buffer_.size() - begin_, budget_});
    std::copy_n(buffer_.data() + begin_, count, to);
    begin_ += count;
    budget_ -= count;
    return static_cast<ssize_t>(count);
}

ssize_t SocketStream::write(const char* from, std::size_t size) {
    while (true) {
        if (!is_writable()) return -1;
        const ssize_t count = ::send(socket_, from, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) return count;
        if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) return -1;
    }
}

void SocketStream::get_remote_ip_and_port(std::string& ip, int& port) const {
    readAddress(::getpeername, socket_, ip, port);
}

void SocketStream::get_local_ip_and_port(std::string& ip, int& port) const {
    readAddress(::getsockname, socket_, ip, port);
}

}  // namespace korvane
