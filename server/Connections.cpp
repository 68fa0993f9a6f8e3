#include "korvane/server/Connections.h"

#include <cstddef>
#include <future>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace korvane {
namespace {

constexpr std::ptrdiff_t mostForOneThread = 2000;

}  // namespace

Connection& Connections::add(Descriptor socket, PeerAddress peer, Moment now) {
    auto& list = listOf(State::Idle);
    Connection& connection = list.emplace_back();
    connection.socket = std::move(socket);
    connection.peer = peer;
    connection.since = now;
    connection.place = std::prev(list.end());
    ++count_;
    return connection;
}

void Connections::move(Connection& connection, State state, Moment now) {
    auto& to = listOf(state);
    to.splice(to.end(), listOf(connection.state), connection.place);
    connection.state = state;
    connection.since = now;
}

void Connections::end(Connection& connection) {
    connection.socket = Descriptor();
    ended_.splice(ended_.end(), listOf(connection.state), connection.place);
    --count_;
}

bool Connections::bury() {
    const bool any = !ended_.empty();
    ended_.clear();
    return any;
}

void Connections::endAll() {
    // The system takes its time for each, so that one thread were too slow for many.
    std::vector<std::future<void>> others;
    for (auto& list : lists_) {
        while (std::ssize(list) > mostForOneThread) {
            const auto part = std::make_shared<std::list<Connection>>();
            part->splice(part->end(), list, list.begin(), std::next(list.begin(), mostForOneThread));
            others.push_back(std::async([part] { part->clear(); }));
        }
        list.clear();
    }
    count_ = 0;
}

Connection* Connections::oldest(std::span<const State> states) {
    Connection* found = nullptr;
    for (const State state : states) {
        auto& list = listOf(state);
        if (!list.empty() && (found == nullptr || list.front().since < found->since)) found = &list.front();
    }
    return found;
}

}  // namespace korvane
