#pragma once

#include <string_view>

namespace korvane {

/// Whether any two servers read the head of a request, from its first byte to the empty line, alike. Not so: line ends
/// but CR LF, control characters, names with a blank or continued lines, and lengths that contradict one another. Nor
/// is a Range of more than 200 bytes, which the library cannot read safely.
bool isUnambiguousHead(std::string_view head);

/// Whether `text`, a part of a head, has a line end that is not CR LF. One at its very edge may still be.
bool hasBareLineEnd(std::string_view text);

}  // namespace korvane
