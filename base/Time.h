#pragma once

#include <cstdint>

namespace korvane {

/// Milliseconds since the Unix epoch, UTC. Where a field or argument allows it, -1 is "unset" or "the present moment".
using TimeMs = std::int64_t;

/// Whole seconds since the Unix epoch, UTC. Each place that converts from or to TimeMs says so.
using TimeSec = std::int64_t;

}  // namespace korvane
