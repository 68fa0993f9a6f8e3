#pragma once

#include <cstdint>

namespace korvane {

/// Result codes. 0 is success; an HTTP status of 400 and above comes as it is; what never got a status is negative.
/// The providers and the views pass them on unread.
enum Status : std::int32_t {
    StatusSuccess = 0,
    /// The call could not be made: no token, no camera, not open, an argument out of range.
    StatusBadCall = -1,
    /// The host was not found or refused the connection, or the connection broke.
    StatusTransportFailed = -2,
    /// No whole reply within the time-out.
    StatusTimedOut = -3,
    /// The certificate or the TLS handshake was refused.
    StatusInsecure = -4,
    /// The reply is not JSON, is cut short, is nested too deeply, or has too many parts.
    StatusMalformedReply = -5,
    /// The reply is JSON of the wrong kind for this request.
    StatusUnexpectedReply = -6,
    /// The reply is larger than the client takes.
    StatusReplyTooLarge = -7,
    /// The connection was closed before the reply came.
    StatusClosed = -8,
    /// A token that is empty or longer than any token is.
    StatusTokenSize = -20,
    /// A token that is not base64url.
    StatusTokenEncoding = -21,
    /// A token whose content is not a JSON object.
    StatusTokenFormat = -22,
    /// A token that lacks a key, or has one of a wrong type.
    StatusTokenKeys = -23,
    /// A token whose expiry lies in the past.
    StatusTokenExpired = -24,
};

}  // namespace korvane
