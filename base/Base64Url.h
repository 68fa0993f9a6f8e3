#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// RFC 4648 base64url without padding.
std::string encodeBase64Url(std::string_view bytes);

/// Nothing for padding, for other characters, and for a length that no encoding has.
std::optional<std::string> decodeBase64Url(std::string_view text);

}  // namespace korvane
