#include "korvane/server/AddressShares.h"

#include <algorithm>

namespace korvane {

bool AddressShares::take(Connection& connection) {
    Account& account = accounts_[connection.peer];
    connection.hasShare = account.taken < each_;
    if (connection.hasShare) {
        ++account.taken;
    } else {
        account.line.push_back(&connection);
    }
    return connection.hasShare;
}

Connection* AddressShares::giveBack(Connection& connection) {
    const auto found = accounts_.find(connection.peer);
    connection.hasShare = false;
    Account& account = found->second;
    if (!account.line.empty()) {
        Connection* next = account.line.front();
        account.line.pop_front();
        next->hasShare = true;
        return next;
    }
    if (--account.taken == 0) accounts_.erase(found);
    return nullptr;
}

void AddressShares::leaveLine(Connection& connection) {
    auto& line = accounts_[connection.peer].line;
    line.erase(std::find(line.begin(), line.end(), &connection));
}

}  // namespace korvane
