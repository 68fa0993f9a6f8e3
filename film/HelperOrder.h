#pragma once

#include <cstdint>

namespace korvane {

/// Where the helper program finds the connection to its caller.
inline constexpr int helperControl = 3;

/// What the caller writes there for each film. With it come the film's connection, its room, and the file if there is
/// one.
struct HelperOrder {
    std::int64_t bytesOfMemory = 0;
    std::int64_t seconds = 0;
    std::int64_t isEachOrder = 0;
};

}  // namespace korvane
