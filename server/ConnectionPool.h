#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "korvane/server/Database.h"

namespace korvane {

/// Connections to one data base, each lent to one thread at a time. May be used from any thread.
class ConnectionPool {
  public:
    explicit ConnectionPool(std::vector<std::unique_ptr<Database>> connections);

    /// Goes back to the pool at the end, which must outlive it.
    class Lease {
      public:
        Lease(ConnectionPool& pool, std::unique_ptr<Database> connection)
            : pool_(pool), connection_(std::move(connection)) {}
        ~Lease() { pool_.giveBack(std::move(connection_)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

        Database& operator*() const { return *connection_; }

      private:
        ConnectionPool& pool_;
        std::unique_ptr<Database> connection_;
    };

    /// Waits until one is free.
    Lease take();
    /// Throws DatabaseBusy when none gets free in time.
    Lease takeWithin(std::chrono::milliseconds patience);

  private:
    std::unique_ptr<Database> pop();
    void giveBack(std::unique_ptr<Database> connection);

    std::mutex mutex_;
    std::condition_variable freed_;
    std::vector<std::unique_ptr<Database>> free_;
};

}  // namespace korvane
