#include "korvane/server/Database.h"

#include <sqlite3.h>

#include "korvane/base/Log.h"

namespace korvane {
namespace {

[[noreturn]] void fail(sqlite3* handle) {
    if (handle != nullptr && sqlite3_errcode(handle) == SQLITE_BUSY) throw DatabaseBusy(sqlite3_errmsg(handle));
    throw DatabaseError(handle != nullptr ? sqlite3_errmsg(handle) : "out of memory");
}

void check(int code, sqlite3_stmt* statement) {
    if (code != SQLITE_OK) fail(sqlite3_db_handle(statement));
}

}  // namespace

Query::~Query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

Query& Query::bind(std::int64_t value) {
    check(sqlite3_bind_int64(statement_, ++bound_, value), statement_);
    return *this;
}

Query& Query::bind(std::string_view text) {
    check(sqlite3_bind_text64(statement_, ++bound_, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8),
          statement_);
    return *this;
}

Query& Query::bindBlob(std::string_view bytes) {
    check(sqlite3_bind_blob64(statement_, ++bound_, bytes.data(), bytes.size(), SQLITE_TRANSIENT), statement_);
    return *this;
}

Query& Query::bind(const std::optional<std::int64_t>& value) {
    if (value) return bind(*value);
    check(sqlite3_bind_null(statement_, ++bound_), statement_);
    return *this;
}

bool Query::step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) fail(sqlite3_db_handle(statement_));
    return false;
}

void Query::run() {
    while (step()) {
    }
}

std::int64_t Query::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

std::string Query::text(int column) const {
    const void* bytes = sqlite3_column_blob(statement_, column);
    const int size = sqlite3_column_bytes(statement_, column);
    return bytes == nullptr ? std::string() : std::string(static_cast<const char*>(bytes), static_cast<size_t>(size));
}

bool Query::isNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

Database::Database(const std::string& file) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(file.c_str(), &handle_, flags, nullptr) != SQLITE_OK) {
        const std::string reason = handle_ != nullptr ? sqlite3_errmsg(handle_) : "out of memory";
        sqlite3_close(handle_);
        throw DatabaseError(reason);
    }
    try {
        setPatience(usualPatience);
        // What the file's own schema says is not trusted, and pages are looked at before they are used.
        sqlite3_db_config(handle_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(handle_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        execute("PRAGMA cell_size_check=ON; PRAGMA cache_size=-32000;");
    } catch (...) {
        sqlite3_close(handle_);
        throw;
    }
}

Database::~Database() {
    for (const auto& entry : statements_) sqlite3_finalize(entry.second);
    sqlite3_close(handle_);
}

void Database::useWriteAheadLog() {
    execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;");
}

void Database::allowReadingOnly() {
    execute("PRAGMA query_only=ON; PRAGMA cache_size=-8000;");
}

void Database::setPatience(std::chrono::milliseconds patience) {
    sqlite3_busy_timeout(handle_, static_cast<int>(patience.count()));
}

void Database::execute(const char* sql) {
    if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(handle_);
}

Query Database::query(const char* sql) {
    sqlite3_stmt*& statement = statements_[sql];
    if (statement == nullptr &&
        sqlite3_prepare_v3(handle_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
        fail(handle_);
    return Query(statement);
}

bool Database::isInTransaction() const {
    return sqlite3_get_autocommit(handle_) == 0;
}

std::int64_t Database::lastInsertId() const {
    return sqlite3_last_insert_rowid(handle_);
}

std::int64_t Database::changes() const {
    return sqlite3_changes64(handle_);
}

DatabaseTransaction::DatabaseTransaction(Database& database, Kind kind) : database_(database) {
    database_.execute(kind == Kind::Writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

DatabaseTransaction::~DatabaseTransaction() {
    // On some failures SQLite has ended the transaction already.
    if (!open_ || !database_.isInTransaction()) return;
    try {
        database_.execute("ROLLBACK");
    } catch (const DatabaseError& error) {
        logError("Database", error.what());
    }
}

void DatabaseTransaction::commit() {
    database_.execute("COMMIT");
    open_ = false;
}

}  // namespace korvane
