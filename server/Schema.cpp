#include "korvane/server/Schema.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "korvane/server/EventRanks.h"

namespace korvane {
namespace {

constexpr std::int64_t applicationId = 0x4b52564e;

constexpr const char* firstTables = R"(
    CREATE TABLE cameras(
        id INTEGER PRIMARY KEY, name TEXT NOT NULL, timezone TEXT NOT NULL, folder TEXT NOT NULL UNIQUE);
    CREATE TABLE sources(
        id INTEGER PRIMARY KEY, camera INTEGER NOT NULL, path TEXT NOT NULL, size INTEGER NOT NULL,
        modified INTEGER NOT NULL, rejection TEXT NOT NULL, UNIQUE(camera, path));
    CREATE TABLE thumbnails(id INTEGER PRIMARY KEY, jpeg BLOB NOT NULL);
    CREATE TABLE records(
        id INTEGER PRIMARY KEY AUTOINCREMENT, camera INTEGER NOT NULL, start INTEGER NOT NULL CHECK(start >= 0),
        end INTEGER NOT NULL CHECK(end >= start), source INTEGER NOT NULL, thumbnail INTEGER);
    CREATE INDEX records_by_start ON records(camera, start, end);
    CREATE INDEX records_by_length ON records(camera, end - start);
    CREATE INDEX records_by_source ON records(source);
    CREATE TABLE events(
        id INTEGER PRIMARY KEY AUTOINCREMENT, camera INTEGER NOT NULL, time INTEGER NOT NULL CHECK(time >= 0),
        name TEXT NOT NULL COLLATE NOCASE CHECK(name <> ''), source INTEGER, thumbnail INTEGER);
    CREATE INDEX events_by_time ON events(camera, time);
    CREATE INDEX events_by_name ON events(camera, name, time);
    CREATE INDEX events_by_source ON events(source) WHERE source IS NOT NULL;)";

constexpr const char* deletionTable = R"(
    CREATE TABLE deleted_events(
        id INTEGER PRIMARY KEY, camera INTEGER NOT NULL, path TEXT NOT NULL, time INTEGER NOT NULL,
        name TEXT NOT NULL);
    CREATE INDEX deleted_events_by_path ON deleted_events(camera, path);)";

constexpr const char* markTable = "CREATE TABLE camera_marks(camera INTEGER PRIMARY KEY, mark TEXT NOT NULL UNIQUE)";

/// What each version adds to the one before; the first makes version 1.
std::vector<std::vector<const char*>> steps() {
    return {{firstTables, EventRanks::createTable(), EventRanks::createTriggers()}, {deletionTable}, {markTable}};
}

std::int64_t numberOf(Database& database, const char* pragma) {
    Query query = database.query(pragma);
    query.step();
    return query.integer(0);
}

/// Runs the steps after version `from` up to `to`.
void advance(Database& database, std::size_t from, std::size_t to) {
    const auto all = steps();
    for (std::size_t version = from; version < to; ++version)
        for (const char* sql : all[version]) database.execute(sql);
    database.execute(("PRAGMA user_version = " + std::to_string(to)).c_str());
    database.execute(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
}

/// Everything that the data base defines, with blanks made alike.
std::vector<std::string> definitions(Database& database) {
    Query query = database.query("SELECT type, name, tbl_name, sql FROM sqlite_schema ORDER BY type, name");
    std::vector<std::string> all;
    while (query.step()) {
        std::string text;
        for (int column = 0; column < 4; ++column)
            for (const char c : query.text(column) + '\n') {
                const bool blank = c == ' ' || c == '\n' || c == '\t';
                if (!blank) text += c;
                if (blank && !text.ends_with(' ')) text += ' ';
            }
        all.push_back(std::move(text));
    }
    return all;
}

std::vector<std::string> ownDefinitions(std::size_t version) {
    Database memory(":memory:");
    advance(memory, 0, version);
    return definitions(memory);
}

/// The version of a data base that is ours; everything else is an exception.
std::size_t checkedVersion(Database& database) {
    const std::size_t newest = steps().size();
    const std::int64_t mark = numberOf(database, "PRAGMA application_id");
    const std::int64_t version = numberOf(database, "PRAGMA user_version");
    // The first version left no mark.
    if (mark != applicationId && (mark != 0 || version != 1)) throw DatabaseError("another program has made it");
    if (version > static_cast<std::int64_t>(newest)) throw DatabaseError("a newer version of this program has made it");
    if (version < 1 || definitions(database) != ownDefinitions(static_cast<std::size_t>(version)))
        throw DatabaseError("its tables are not ours");
    return static_cast<std::size_t>(version);
}

/// Under a name of its own first, so that nobody ever sees half of it, and of two that make it one wins.
void makeFile(const std::string& file) {
    std::string draft = file + ".XXXXXX";
    if (!Descriptor(::mkostemp(draft.data(), O_CLOEXEC)))
        throw DatabaseError(std::string("it cannot be made: ") + std::strerror(errno));
    try {
        Database database(draft);
        DatabaseTransaction transaction(database);
        advance(database, 0, steps().size());
        transaction.commit();
        // Not before: a log that could not be written back at the end would stay behind with all that is in it.
        database.useWriteAheadLog();
    } catch (...) {
        // SQLite leaves these where the disk fails it.
        for (const char* suffix : {"", "-journal", "-wal", "-shm"}) ::unlink((draft + suffix).c_str());
        throw;
    }
    if (const Failure failure = publish(draft, file)) throw DatabaseError("it cannot be made: " + failure->message);
}

/// Before SQLite looks at the files: it would follow what a journal names.
void checkFiles(const std::string& file) {
    for (const char* suffix : {"", "-wal", "-shm"})
        if (const auto has = hasOwnFile(file + suffix); !has) throw DatabaseError(has.error().message);
    struct stat info {};
    if (::lstat((file + "-journal").c_str(), &info) == 0) throw DatabaseError("a journal lies beside it");
}

}  // namespace

std::unique_ptr<Database> Schema::open(const DataPlace& place) {
    const std::string file = place.file.string();
    const auto found = hasOwnFile(place.file);
    if (found && !*found) makeFile(file);
    try {
        checkFiles(file);
        auto database = std::make_unique<Database>(file);
        if (checkedVersion(*database) < steps().size() || numberOf(*database, "PRAGMA application_id") == 0) {
            DatabaseTransaction transaction(*database);
            advance(*database, checkedVersion(*database), steps().size());
            transaction.commit();
        }
        database->useWriteAheadLog();
        return database;
    } catch (const DatabaseError& error) {
        throw DatabaseError(std::string(error.what()) + "; " + wayOut(place));
    }
}

}  // namespace korvane
