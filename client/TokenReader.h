#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "korvane/base/Time.h"
#include "korvane/client/Reply.h"

namespace korvane {

/// What KorvaneHelpers::parseToken() found.
struct TokenReading {
    /// Null when the token is bad.
    Reply token;
    std::string baseUrl;
    bool isPathIncluded = false;
    /// A Status, and a sentence that never quotes the token.
    std::int32_t code = 0;
    std::string message;
};

/// Reads a whole token: base64url of a JSON object, with or without padding, white space around it allowed. `now`
/// decides whether it has expired. Any thread.
TokenReading readToken(std::string_view text, const std::string& defaultProtocol, std::int32_t defaultPort, TimeMs now);

}  // namespace korvane
