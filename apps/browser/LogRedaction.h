#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// `text` without the values of access= in URLs, which open a camera.
std::string redacted(std::string_view text);

/// From now on Qt's own messages go through redacted() to standard error, since they quote URLs that cannot be played.
void redactToolkitMessages();

}  // namespace korvane
