#include "korvane/server/PeerAddress.h"

#include <netinet/in.h>

#include <algorithm>
#include <cstring>

namespace korvane {

PeerAddress peerAddress(const sockaddr_storage& address) {
    PeerAddress peer{};
    if (address.ss_family == AF_INET) {
        sockaddr_in fourth{};
        std::memcpy(&fourth, &address, sizeof fourth);
        peer[0] = 4;
        std::memcpy(&peer[1], &fourth.sin_addr, sizeof fourth.sin_addr);
    } else if (address.ss_family == AF_INET6) {
        sockaddr_in6 sixth{};
        std::memcpy(&sixth, &address, sizeof sixth);
        const std::uint8_t* bytes = sixth.sin6_addr.s6_addr;
        const bool isFourth = IN6_IS_ADDR_V4MAPPED(&sixth.sin6_addr) != 0;
        peer[0] = isFourth ? 4 : 6;
        const int wholeOrHalf = IN6_IS_ADDR_LINKLOCAL(&sixth.sin6_addr) != 0 ? 16 : 8;
        std::copy_n(isFourth ? bytes + 12 : bytes, isFourth ? 4 : wholeOrHalf, &peer[1]);
    }
    return peer;
}

}  // namespace korvane
