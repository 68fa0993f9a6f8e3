#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// `text` with what opens a camera blotted out: values of access= in URLs.
std::string redacted(std::string_view text);

/// From now on the toolkit's own messages, which quote URLs that cannot be played, go through redacted() to standard
/// error.
void redactToolkitMessages();

}  // namespace korvane
