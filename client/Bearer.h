#pragma once

#include <algorithm>
#include <string_view>

namespace korvane {

/// Printable ASCII without blanks, and not empty: anything else could break out of the header that carries it.
inline bool isBearer(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

}  // namespace korvane
