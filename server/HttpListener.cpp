#include "korvane/server/HttpListener.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string_view>

#include "korvane/base/Log.h"
#include "korvane/server/SocketStream.h"

namespace korvane {
namespace {

constexpr int backlog = 128;

bool bringsBody(const httplib::Request& request) {
    const std::string length = request.get_header_value("Content-Length");
    return request.has_header("Transfer-Encoding") || (!length.empty() && length != "0");
}

/// A request that two servers might read differently, which ends the connection.
void refuse(SocketStream& stream) {
    constexpr std::string_view body =
        R"({"error":{"code":400,"message":"the request can be read in more ways than one"}})";
    std::string reply = "HTTP/1.1 400 Bad Request\r\nConnection: close\r\nContent-Type: application/json\r\n";
    reply.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
    std::size_t sent = 0;
    while (sent < reply.size()) {
        const ssize_t count = stream.write(reply.data() + sent, reply.size() - sent);
        if (count < 0) return;
        sent += static_cast<std::size_t>(count);
    }
}

}  // namespace

HttpListener::HttpListener(std::size_t threads, std::chrono::milliseconds patience)
    : patience_(patience), stopEvent_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    set_tcp_nodelay(true);
    // Without the reuse of a port that another process listens on.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
}

HttpListener::~HttpListener() {
    if (stopEvent_ >= 0) ::close(stopEvent_);
}

int HttpListener::bind(const std::string& address, int port) {
    if (stopEvent_ < 0) return -1;
    const int bound = port == 0 ? bind_to_any_port(address) : (bind_to_port(address, port) ? port : -1);
    if (bound > 0) ::listen(svr_sock_, backlog);
    return bound;
}

void HttpListener::shutDown() {
    ::eventfd_write(stopEvent_, 1);
    stop();
}

bool HttpListener::process_and_close_socket(socket_t socket) {
    try {
        serve(socket);
    } catch (const std::exception& error) {
        logError("HttpListener", error.what());
    }
    ::shutdown(socket, SHUT_RDWR);
    ::close(socket);
    return true;
}

void HttpListener::serve(socket_t socket) {
    SocketStream stream(socket, stopEvent_, patience_);
    bool goOn = true;
    while (goOn && stream.awaitRequest()) {
        const SocketStream::Head head = stream.awaitHead();
        if (head == SocketStream::Head::Ambiguous) refuse(stream);
        if (head != SocketStream::Head::Clear) return;
        bool closed = false;
        const bool answered = process_request(stream, false, closed, [&goOn](httplib::Request& request) {
            request.ranges.clear();
            if (!bringsBody(request)) return;
            // The body stays unread, so nothing after it can be understood.
            goOn = false;
            request.headers.erase("Connection");
            request.set_header("Connection", "close");
        });
        goOn = goOn && answered && !closed;
    }
}

}  // namespace korvane
