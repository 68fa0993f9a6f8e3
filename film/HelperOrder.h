#pragma once

#include <cstdint>

namespace korvane {

/// Where the helper program finds the connection to its caller.
inline constexpr int helperControl = 3;

/// How FilmMessage::Ended tells of an end that no signal has brought.
inline constexpr int endForMemory = -1;
inline constexpr int endWithoutSandbox = -2;
inline constexpr int endWithoutProcess = -3;

/// What the caller writes there for each film. With it come the film's connection, its room, and the file if there is
/// one.
struct HelperOrder {
    /// The two are installed together, but one may be replaced while the other runs.
    static constexpr std::int64_t current = 2;

    std::int64_t version = current;
    std::int64_t bytesOfMemory = 0;
    std::int64_t seconds = 0;
    std::int64_t isEachOrder = 0;
};

}  // namespace korvane
