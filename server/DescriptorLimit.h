#pragma once

#include <cstddef>

namespace korvane {

/// How many connections this process may hold, at most `wanted`, so that descriptors are left for the films that are
/// sent over them and for the data base. Raises the soft limit of the process as far as they need and it may.
std::size_t affordableConnections(std::size_t wanted);

}  // namespace korvane
