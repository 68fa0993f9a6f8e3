#pragma once

#include <cstdint>
#include <string>

#include "korvane/client/Reply.h"

namespace korvane {

enum class HttpMethod { Get, Delete };

struct HttpRequest {
    HttpMethod method = HttpMethod::Get;
    std::string url;
    /// Goes into the Authorization header: printable ASCII without blanks. Empty sends none.
    std::string bearer;
};

/// What came of a request, before anybody has looked into the body.
struct HttpResponse {
    enum class End {
        /// `httpStatus` and `body` are whole.
        Complete,
        BadRequest,
        TransportFailed,
        TimedOut,
        Insecure,
        CutShort,
        TooLarge,
        Cancelled,
    };

    End end = End::Cancelled;
    std::int32_t httpStatus = 0;
    std::string body;
};

struct HttpResult {
    /// With a status other than 0, a sentence.
    Reply reply;
    std::int32_t status = 0;
};

/// Reads a response: any JSON with success is passed on as it is, without addresses that are neither http nor https, of
/// which a line is logged. An error's text is the service's own where it gives one.
HttpResult readResponse(const HttpResponse& response);

}  // namespace korvane
