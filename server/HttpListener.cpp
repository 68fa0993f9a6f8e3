#include "korvane/server/HttpListener.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string_view>
#include <utility>

#include "korvane/server/RequestStream.h"

namespace korvane {
namespace {

bool bringsBody(const httplib::Request& request) {
    const std::string length = request.get_header_value("Content-Length");
    return request.has_header("Transfer-Encoding") || (!length.empty() && length != "0");
}

/// To a request that two servers might read differently, which ends the connection.
OutgoingReply refusal() {
    constexpr std::string_view body =
        R"({"error":{"code":400,"message":"the request can be read in more ways than one"}})";
    std::string bytes = "HTTP/1.1 400 Bad Request\r\nConnection: close\r\nContent-Type: application/json\r\n";
    bytes.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
    OutgoingReply reply;
    reply.setBytes(std::move(bytes));
    reply.closes = true;
    return reply;
}

/// Moves a content of known size to `reply`, so that it is not written into memory.
bool takeContent(const httplib::Response& response, OutgoingReply& reply) {
    if (!response.content_provider_ || response.content_length_ == 0) return false;
    reply.setContent(response.content_provider_, response.content_length_);
    return true;
}

}  // namespace

HttpListener::HttpListener(ConnectionLimits limits)
    : loop_(std::move(limits), [this](int socket, RequestBuffer::Head head, const std::string& bytes) {
          return answer(socket, head, bytes);
      }) {
    set_tcp_nodelay(true);
    // Without the reuse of a port that another process listens on.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    set_post_routing_handler([](const httplib::Request& request, httplib::Response& response) {
        if (request.response_handler && request.response_handler(response)) response.content_provider_ = nullptr;
    });
}

HttpListener::~HttpListener() {
    const socket_t listener = svr_sock_.exchange(INVALID_SOCKET);
    if (listener != INVALID_SOCKET) ::close(listener);
}

int HttpListener::bind(const std::string& address, int port) {
    if (!loop_.isUsable()) return -1;
    const int bound = port == 0 ? bind_to_any_port(address) : (bind_to_port(address, port) ? port : -1);
    if (bound <= 0) return -1;
    const int flags = ::fcntl(svr_sock_, F_GETFL);
    if (flags < 0 || ::fcntl(svr_sock_, F_SETFL, flags | O_NONBLOCK) != 0) return -1;
    return ::listen(svr_sock_, SOMAXCONN) == 0 ? bound : -1;
}

OutgoingReply HttpListener::answer(int socket, RequestBuffer::Head head, const std::string& bytes) {
    if (head == RequestBuffer::Head::Ambiguous) return refusal();
    OutgoingReply reply;
    RequestStream stream(socket, bytes);
    bool goesOn = head == RequestBuffer::Head::Clear;
    bool closed = false;
    const bool answered = process_request(stream, false, closed, [&](httplib::Request& request) {
        request.ranges.clear();
        // The handler after routing gets nothing of ours but the request, in which a server does not use this field.
        request.response_handler = [&reply, isHead = request.method == "HEAD"](const httplib::Response& response) {
            return !isHead && takeContent(response, reply);
        };
        if (!bringsBody(request)) return;
        // The body stays unread, so nothing after it can be understood.
        goesOn = false;
        request.headers.erase("Connection");
        request.set_header("Connection", "close");
    });
    reply.setBytes(stream.takeWritten());
    reply.closes = !(goesOn && answered && !closed);
    return reply;
}

}  // namespace korvane
