#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "korvane/client/Reply.h"

namespace korvane {

/// The text under a key; nothing for a missing value (null pointer) or one of another kind.
std::optional<std::string> textValue(const Reply* value);

/// The integer under a key: an integer, a number without a fraction, or text that is one. Nothing for all else, and for
/// what 64 bits do not hold.
std::optional<std::int64_t> integerValue(const Reply* value);

/// What a page's reply says of all its service has, in "total_count" of "meta": 0 when it does not say, nothing when
/// that is no integer.
std::optional<std::int64_t> totalCount(const Reply& reply);

}  // namespace korvane
