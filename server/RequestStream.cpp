#include "korvane/server/RequestStream.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>

namespace korvane {
namespace {

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

ssize_t RequestStream::read(char* to, std::size_t size) {
    if (unread_.empty()) return -1;
    const std::size_t count = std::min(size, unread_.size());
    std::copy_n(unread_.data(), count, to);
    unread_.remove_prefix(count);
    return static_cast<ssize_t>(count);
}

ssize_t RequestStream::write(const char* from, std::size_t size) {
    written_.append(from, size);
    return static_cast<ssize_t>(size);
}

void RequestStream::get_remote_ip_and_port(std::string& ip, int& port) const {
    readAddress(::getpeername, socket_, ip, port);
}

void RequestStream::get_local_ip_and_port(std::string& ip, int& port) const {
    readAddress(::getsockname, socket_, ip, port);
}

}  // namespace korvane
