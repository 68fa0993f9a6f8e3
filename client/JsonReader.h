#pragma once

#include <optional>
#include <string_view>

#include "client/Reply.h"

namespace korvane {

/// Objects and arrays within each other, above which a text is refused: a value's destruction and printing recurse.
inline constexpr int maxJsonDepth = 64;

/// The value that `text` holds, or nothing when it is not one whole JSON value in UTF-8 or is nested too deeply. Of a
/// key that comes twice, the last value counts. Any thread; throws nothing.
std::optional<Reply> readJson(std::string_view text);

}  // namespace korvane
