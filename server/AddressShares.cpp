#include "korvane/server/AddressShares.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvane {

bool AddressShares::take(Connection& connection) {
    Account& account = accounts_[connection.peer];
    connection.hasShare = account.taken < each_;
    if (connection.hasShare) {
        ++account.taken;
    } else {
        account.line.push_back(&connection);
        ++inLines_;
    }
    return connection.hasShare;
}

Connection* AddressShares::giveBack(Connection& connection) {
    const auto found = accounts_.find(connection.peer);
    connection.hasShare = false;
    Account& account = found->second;
    if (Connection* first = next(account.line)) {
        --inLines_;
        first->hasShare = true;
        return first;
    }
    if (--account.taken == 0) accounts_.erase(found);
    return nullptr;
}

bool AddressShares::takeWorker(Connection& connection) {
    if (connection.hasWorker) return true;
    Account& account = accounts_[connection.peer];
    connection.hasWorker = account.working < workers_;
    if (connection.hasWorker) {
        ++account.working;
    } else {
        account.workerLine.push_back(&connection);
    }
    return connection.hasWorker;
}

Connection* AddressShares::giveWorkerBack(Connection& connection) {
    if (!std::exchange(connection.hasWorker, false)) return nullptr;
    Account& account = accounts_[connection.peer];
    Connection* first = next(account.workerLine);
    if (first != nullptr) {
        first->hasWorker = true;
    } else {
        --account.working;
    }
    return first;
}

void AddressShares::leaveLine(Connection& connection) {
    auto& line = lineOf(connection);
    line.erase(std::find(line.begin(), line.end(), &connection));
    if (!connection.hasShare) --inLines_;
}

void AddressShares::goToEndOfLine(Connection& connection) {
    auto& line = lineOf(connection);
    const auto place = std::find(line.begin(), line.end(), &connection);
    std::rotate(place, std::next(place), line.end());
}

bool AddressShares::hasLine(const PeerAddress& peer) const {
    const auto found = accounts_.find(peer);
    return found != accounts_.end() && !found->second.line.empty();
}

Connection* AddressShares::next(std::deque<Connection*>& line) {
    if (line.empty()) return nullptr;
    Connection* first = line.front();
    line.pop_front();
    return first;
}

std::deque<Connection*>& AddressShares::lineOf(Connection& connection) {
    Account& account = accounts_[connection.peer];
    return connection.hasShare ? account.workerLine : account.line;
}

}  // namespace korvane
