#include "korvane/fuzz/FedTransport.h"

#include "korvane/client/http/HttpTransport.h"
#include "korvane/fuzz/Law.h"

namespace korvane {
namespace {

std::string_view fed;

HttpResponse nextResponse() {
    if (fed.empty()) return {HttpResponse::End::Complete, 404, {}};
    const std::string_view text = fuzz::takeLine(fed);
    const fuzz::Input line(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    const std::string body(line.text);
    switch (line.choice) {
        case '1':
            return {HttpResponse::End::Complete, 204, body};
        case '2':
            return {HttpResponse::End::Complete, 302, body};
        case '3':
            return {HttpResponse::End::Complete, 503, body};
        case '4':
            return {HttpResponse::End::CutShort, 200, body};
        case '5':
            return {HttpResponse::End::TimedOut, 0, body};
        default:
            return {HttpResponse::End::Complete, 200, body};
    }
}

}  // namespace

void fuzz::feed(std::string_view lines) {
    fed = lines;
}

// In place of the network's: a program that links this has no other.
class HttpTransport::Worker {};

HttpTransport::HttpTransport(Scheduler& scheduler, HttpOptions) : scheduler_(scheduler) {}

HttpTransport::~HttpTransport() {
    end();
}

std::optional<HttpResponse::End> HttpTransport::start(Groups, HttpRequest, Arrival arrival) {
    arrival(nextResponse());
    return std::nullopt;
}

void HttpTransport::cancel(Group) {}

void HttpTransport::end() {
    static_cast<void>(scheduler_);
}

}  // namespace korvane
