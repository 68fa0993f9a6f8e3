#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace korvane {

/// Any failure of SQLite. Does not leave Storage.
class DatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Somebody else held a lock for too long.
class DatabaseBusy : public DatabaseError {
  public:
    using DatabaseError::DatabaseError;
};

/// One run of a prepared statement: bind in order, then step. The statement goes back to its Database at the end.
class Query {
  public:
    explicit Query(sqlite3_stmt* statement) : statement_(statement) {}
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    Query& bind(std::int64_t value);
    Query& bind(std::string_view text);
    Query& bindBlob(std::string_view bytes);
    /// Null for nothing.
    Query& bind(const std::optional<std::int64_t>& value);

    /// True while there is a row.
    bool step();
    /// For statements that give no row.
    void run();

    std::int64_t integer(int column) const;
    std::string text(int column) const;
    bool isNull(int column) const;

  private:
    sqlite3_stmt* statement_;
    int bound_ = 0;
};

/// One SQLite connection with its prepared statements. Used by one thread at a time.
class Database {
  public:
    /// Opens a file that is there, and whose path has no links; ":memory:" is one in memory.
    explicit Database(const std::string& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Readers and one writer at a time.
    void useWriteAheadLog();
    /// From now on every write fails.
    void allowReadingOnly();
    /// How long a lock of another connection is waited for.
    void setPatience(std::chrono::milliseconds patience);
    static constexpr std::chrono::milliseconds usualPatience{10'000};

    /// Runs statements that take and give nothing.
    void execute(const char* sql);

    /// `sql` is prepared once; at most one Query a text at a time.
    Query query(const char* sql);

    bool isInTransaction() const;
    std::int64_t lastInsertId() const;
    std::int64_t changes() const;

  private:
    sqlite3* handle_ = nullptr;
    std::unordered_map<std::string, sqlite3_stmt*> statements_;
};

/// Rolls back unless committed.
class DatabaseTransaction {
  public:
    enum class Kind { Writing, Reading };
    /// One for reading sees the data base as it is at its first query.
    explicit DatabaseTransaction(Database& database, Kind kind = Kind::Writing);
    ~DatabaseTransaction();
    DatabaseTransaction(const DatabaseTransaction&) = delete;
    DatabaseTransaction& operator=(const DatabaseTransaction&) = delete;

    void commit();

  private:
    Database& database_;
    bool open_ = true;
};

}  // namespace korvane
