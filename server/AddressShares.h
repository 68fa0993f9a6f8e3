#pragma once

#include <cstddef>
#include <deque>
#include <map>

#include "korvane/server/Connections.h"

namespace korvane {

/// Sees to it that few connections of one address are answered at a time, and fewer by workers. The others stand in
/// line, each address in its own. Used by one thread.
class AddressShares {
  public:
    /// Each address gets at most `each` shares, and `workers` workers.
    AddressShares(std::size_t each, std::size_t workers) : each_(each), workers_(workers) {}

    /// Gives the connection a share, or a place at the end of the line.
    bool take(Connection& connection);

    /// Gives a share back. Returns the connection that has got it, or null.
    Connection* giveBack(Connection& connection);

    /// Gives a connection that has a share a worker, or a place at the end of the line for workers.
    bool takeWorker(Connection& connection);

    /// Gives a worker back. Returns the connection that has got it, or null.
    Connection* giveWorkerBack(Connection& connection);

    /// Takes a connection out of the line that it stands in.
    void leaveLine(Connection& connection);

    /// Lets those pass that stand behind it.
    void goToEndOfLine(Connection& connection);

    /// Whether others wait for the shares of an address.
    bool hasLine(const PeerAddress& peer) const;
    bool hasLines() const { return inLines_ > 0; }

  private:
    struct Account {
        std::size_t taken = 0;
        std::deque<Connection*> line;
        std::size_t working = 0;
        std::deque<Connection*> workerLine;
    };
    static Connection* next(std::deque<Connection*>& line);
    std::deque<Connection*>& lineOf(Connection& connection);

    std::size_t each_;
    std::size_t workers_;
    /// Who waits for a share.
    std::size_t inLines_ = 0;
    std::map<PeerAddress, Account> accounts_;
};

}  // namespace korvane
