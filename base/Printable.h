#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// `text` as a person may be shown it: what a terminal or a line of text would obey (control characters, changes of the
/// writing direction, invisible characters) and what is no UTF-8 becomes an escape such as \x1B or \u202E.
std::string printable(std::string_view text);

}  // namespace korvane
