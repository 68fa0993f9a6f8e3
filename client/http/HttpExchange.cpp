#include "korvane/client/http/HttpExchange.h"

#include <string>
#include <utility>

#include "korvane/base/Log.h"
#include "korvane/client/JsonReader.h"
#include "korvane/client/Status.h"
#include "korvane/client/http/ReplyAddresses.h"

namespace korvane {
namespace {

HttpResult readErrorBody(const HttpResponse& response) {
    std::string message = "The service answered with status " + std::to_string(response.httpStatus) + ".";
    if (const auto body = readJson(response.body)) {
        const Reply* error = findMember(*body, "error");
        const Reply* text = error ? findMember(*error, "message") : nullptr;
        if (text && text->is_string()) message = text->get<std::string>();
    }
    return {std::move(message), response.httpStatus};
}

HttpResult readCompleteResponse(const HttpResponse& response) {
    constexpr std::int32_t noContent = 204;
    if (response.httpStatus >= 400) return readErrorBody(response);
    if (response.httpStatus == noContent) return {nullptr, StatusSuccess};
    if (response.httpStatus < 200 || response.httpStatus >= 300) {
        return {"The service answered with a redirection, which is not followed.", StatusUnexpectedReply};
    }
    auto reply = readJson(response.body);
    if (!reply) return {"The reply is no whole JSON text, or has too many parts.", StatusMalformedReply};
    if (const std::size_t dropped = dropForeignAddresses(*reply); dropped > 0) {
        logError("HttpExchange",
                 "a reply names addresses that are neither http nor https, left out: " + std::to_string(dropped));
    }
    return {std::move(*reply), StatusSuccess};
}

}  // namespace

HttpResult readResponse(const HttpResponse& response) {
    using End = HttpResponse::End;
    switch (response.end) {
        case End::Complete:
            return readCompleteResponse(response);
        case End::BadRequest:
            return {"The request could not be made.", StatusBadCall};
        case End::TransportFailed:
            return {"The service could not be reached, or the connection broke.", StatusTransportFailed};
        case End::TimedOut:
            return {"The service did not answer in time.", StatusTimedOut};
        case End::Insecure:
            return {"The service's certificate or encryption was refused.", StatusInsecure};
        case End::CutShort:
            return {"The reply was cut short or is no HTTP.", StatusMalformedReply};
        case End::TooLarge:
            return {"The reply is larger than the client takes.", StatusReplyTooLarge};
        case End::Cancelled:
            break;
    }
    return {"The connection was closed.", StatusClosed};
}

}  // namespace korvane
