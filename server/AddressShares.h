#pragma once

#include <cstddef>
#include <deque>
#include <map>

#include "korvane/server/Connections.h"

namespace korvane {

/// Sees to it that few connections of one address are answered at a time. The others stand in line, each address in
/// its own. Used by one thread.
class AddressShares {
  public:
    explicit AddressShares(std::size_t each) : each_(each) {}

    /// Gives the connection a share, or a place at the end of the line.
    bool take(Connection& connection);

    /// Gives a share back. Returns the connection that has got it, or null.
    Connection* giveBack(Connection& connection);

    /// Takes a connection out of the line.
    void leaveLine(Connection& connection);

  private:
    struct Account {
        std::size_t taken = 0;
        std::deque<Connection*> line;
    };

    std::size_t each_;
    std::map<PeerAddress, Account> accounts_;
};

}  // namespace korvane
