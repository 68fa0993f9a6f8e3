#include "korvane/server/ConnectionPool.h"

namespace korvane {

ConnectionPool::ConnectionPool(std::vector<std::unique_ptr<Database>> connections) : free_(std::move(connections)) {}

ConnectionPool::Lease ConnectionPool::take() {
    std::unique_lock lock(mutex_);
    freed_.wait(lock, [this] { return !free_.empty(); });
    return {*this, pop()};
}

ConnectionPool::Lease ConnectionPool::takeWithin(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    if (!freed_.wait_for(lock, patience, [this] { return !free_.empty(); })) throw DatabaseBusy("it is written to");
    return {*this, pop()};
}

std::unique_ptr<Database> ConnectionPool::pop() {
    auto connection = std::move(free_.back());
    free_.pop_back();
    return connection;
}

void ConnectionPool::giveBack(std::unique_ptr<Database> connection) {
    {
        const std::lock_guard lock(mutex_);
        free_.push_back(std::move(connection));
    }
    freed_.notify_one();
}

}  // namespace korvane
