#pragma once

#include <functional>
#include <string_view>

namespace korvane::detail {

/// Runs `task` and destroys it. An exception that leaves it is caught and logged with `place`. An empty task is
/// nothing.
void runGuarded(std::function<void()> task, std::string_view place) noexcept;

/// Logs the exception that is being handled, with `place`.
void logException(std::string_view place) noexcept;

/// Names the calling thread for debuggers; the system cuts long names to 15 bytes.
void nameThisThread(std::string_view name) noexcept;

}  // namespace korvane::detail
