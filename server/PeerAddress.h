#pragma once

#include <sys/socket.h>

#include <array>
#include <cstdint>

namespace korvane {

/// Whose a connection is. Of an IPv6 address it is the network's half, since one peer has all of the other.
using PeerAddress = std::array<std::uint8_t, 9>;

PeerAddress peerAddress(const sockaddr_storage& address);

}  // namespace korvane
