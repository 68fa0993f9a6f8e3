#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "korvane/client/Reply.h"

namespace korvane {

/// Objects and arrays within each other, above which a text is refused: a value's destruction and printing recurse.
inline constexpr std::size_t maxJsonDepth = 64;

/// Members of one object, above which a text is refused: keys that keep their order are searched one after the other.
inline constexpr int maxJsonMembers = 256;

/// Elements, members, objects and arrays in all, above which a text is refused: each takes many times its text's
/// memory.
inline constexpr int maxJsonParts = 1'000'000;

/// The value that `text` holds, or nothing when it is not one whole JSON value in UTF-8 or goes beyond the limits
/// above. Of a key that comes twice, the last value counts. Any thread; throws nothing.
std::optional<Reply> readJson(std::string_view text);

}  // namespace korvane
