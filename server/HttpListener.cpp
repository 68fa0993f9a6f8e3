#include "korvane/server/HttpListener.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "korvane/server/RequestStream.h"

namespace korvane {
namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char one) { return one >= 'A' && one <= 'Z' ? static_cast<char>(one + 32) : one; });
    return text;
}

/// Whether a list's entry is `member`, whose weight is not zero if it has one.
bool isMember(std::string_view entry, std::string_view member) {
    const std::size_t nameEnd = std::min(entry.find(';'), entry.size());
    std::string_view name = entry.substr(0, nameEnd);
    const std::string_view weight = entry.substr(nameEnd);
    name.remove_prefix(std::min(name.find_first_not_of(" \t"), name.size()));
    name = name.substr(0, name.find_last_not_of(" \t") + 1);
    const bool isZero =
        weight.find("q=0") != std::string_view::npos && weight.find_first_of("123456789") == std::string_view::npos;
    return name == member && !isZero;
}

/// Whether a field that is a list has `member`, which is in small letters.
bool lists(const httplib::Request& request, const char* field, std::string_view member) {
    const auto [first, last] = request.headers.equal_range(field);
    return std::any_of(first, last, [&](const auto& header) {
        const std::string all = lowerCase(header.second);
        for (std::string_view rest = all; !rest.empty();) {
            const std::size_t end = std::min(rest.find(','), rest.size());
            if (isMember(rest.substr(0, end), member)) return true;
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        return false;
    });
}

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

void replaceHeader(httplib::Headers& headers, const char* name, const std::string& value) {
    headers.erase(name);
    headers.emplace(name, value);
}

/// The best of the other encodings would take a worker for half a minute.
void leaveFastEncodings(httplib::Request& request) {
    const bool takesGzip = lists(request, "Accept-Encoding", "gzip");
    request.headers.erase("Accept-Encoding");
    if (takesGzip) request.set_header("Accept-Encoding", "gzip");
}

/// Moves a content of known size to `reply`, so that it is not written into memory.
bool takeContent(const httplib::Response& response, OutgoingReply& reply) {
    if (!response.content_provider_ || response.content_length_ == 0) return false;
    reply.setContent(response.content_provider_, response.content_length_);
    return true;
}

}  // namespace

HttpListener::HttpListener(ConnectionLimits limits)
    : keepAlive_("timeout=" + std::to_string(std::chrono::floor<std::chrono::seconds>(limits.patience).count())),
      loop_(std::move(limits), [this](int socket, RequestBuffer::Head head, const std::string& bytes) {
          return answer(socket, head, bytes);
      }) {
    set_tcp_nodelay(true);
    // Without the reuse of a port that another process listens on.
    set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    set_post_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        const bool isRefused = !request.response_handler;
        if (!isRefused && request.response_handler(response)) response.content_provider_ = nullptr;
        if (isRefused) replaceHeader(response.headers, "Connection", "close");
        const bool closes = response.has_header("Connection");
        response.headers.erase("Keep-Alive");
        if (!closes) response.set_header("Keep-Alive", keepAlive_);
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
    // What is refused before it comes to the setting up may have a body that nobody has seen.
    bool goesOn = false;
    bool closed = false;
    const bool answered = process_request(stream, false, closed, [&](httplib::Request& request) {
        request.ranges.clear();
        leaveFastEncodings(request);
        // The handler after routing gets nothing of ours but the request, in which a server does not use this field.
        request.response_handler = [&reply, isHead = request.method == "HEAD"](const httplib::Response& response) {
            return !isHead && takeContent(response, reply);
        };
        // A body stays unread, so nothing after it can be understood.
        goesOn = head == RequestBuffer::Head::Clear && !bringsBody(request) && !closed &&
                 !lists(request, "Connection", "close");
        if (!goesOn) replaceHeader(request.headers, "Connection", "close");
    });
    reply.setBytes(stream.takeWritten());
    reply.closes = !(goesOn && answered);
    return reply;
}

}  // namespace korvane
