#pragma once

#include <sys/socket.h>

#include <array>
#include <cstdint>

namespace korvane {

/// Whose a connection is. Of an IPv6 address it is the network's half, since one peer has all of the other; but all of
/// a link's neighbours share that half, so theirs counts whole.
using PeerAddress = std::array<std::uint8_t, 17>;

PeerAddress peerAddress(const sockaddr_storage& address);

}  // namespace korvane
