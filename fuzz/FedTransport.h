#pragma once

#include <string_view>

namespace korvane::fuzz {

/// What the service answers with from now on, a line a request: a digit, of 'complete', an error of the service, and so
/// on, then the body. After the last line it is not found.
void feed(std::string_view lines);

}  // namespace korvane::fuzz
