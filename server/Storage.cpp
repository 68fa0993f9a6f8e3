#include "korvane/server/Storage.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "korvane/film/VideoAnalysis.h"
#include "korvane/server/ActivityDays.h"
#include "korvane/server/ConnectionPool.h"
#include "korvane/server/DataPlace.h"
#include "korvane/server/Database.h"
#include "korvane/server/EventRanks.h"
#include "korvane/server/Schema.h"
#include "korvane/server/SourceEvents.h"

namespace korvane {
namespace {

constexpr TimeMs mergeGap = 1000;
constexpr int readerCount = 4;
// A person waits for a deletion, and is told soon when it has to be tried again.
constexpr std::chrono::milliseconds deletionPatience(1500);
constexpr TimeMs sameMotion = 1000;
// What the camera of a folder's own data base has in place of a path.
constexpr std::string_view homeFolder = ".";
constexpr TimeMs forever = std::numeric_limits<TimeMs>::max();

TimeMs openEnd(TimeMs end) {
    return end == -1 ? forever : end;
}
TimeMs openStart(TimeMs start) {
    return std::max<TimeMs>(start, 0);
}

StoredRecord readRecord(const Query& query) {
    return {query.integer(0), query.integer(1), query.integer(2), query.text(3), !query.isNull(4)};
}

/// How far before a moment a recording may start and still be running: the length of the longest.
TimeMs longestRecord(Database& database, std::int64_t camera) {
    Query query = database.query("SELECT end - start FROM records WHERE camera = ? ORDER BY end - start DESC LIMIT 1");
    query.bind(camera);
    return query.step() ? query.integer(0) : 0;
}

/// The bounds that every query for overlapping recordings binds: earliest start, latest start, earliest end.
struct RecordBounds {
    TimeMs from;
    TimeMs to;
    TimeMs end;
};

RecordBounds boundsOf(Database& database, std::int64_t camera, TimeRange range) {
    const TimeMs start = openStart(range.start);
    return {start - std::min(start, longestRecord(database, camera)), openEnd(range.end), start};
}

Page<StoredRecord> recordPage(Database& database, std::int64_t camera, const PageQuery& wanted, bool withThumbnail) {
    const RecordBounds bounds = boundsOf(database, camera, wanted.range);
    const std::int64_t needThumbnail = withThumbnail ? 1 : 0;
    Page<StoredRecord> page;
    {
        Query count = database.query(
            "SELECT count(*) FROM records WHERE camera = ? AND start >= ? AND start <= ? AND end >= ? "
            "AND (0 = ? OR thumbnail IS NOT NULL)");
        count.bind(camera).bind(bounds.from).bind(bounds.to).bind(bounds.end).bind(needThumbnail).step();
        page.totalCount = count.integer(0);
    }
    Query rows = database.query(
        wanted.oldestFirst
            ? "SELECT r.id, r.start, r.end, s.path, r.thumbnail FROM records r JOIN sources s ON s.id = r.source "
              "WHERE r.camera = ? AND r.start >= ? AND r.start <= ? AND r.end >= ? "
              "AND (0 = ? OR r.thumbnail IS NOT NULL) ORDER BY r.start, r.id LIMIT ? OFFSET ?"
            : "SELECT r.id, r.start, r.end, s.path, r.thumbnail FROM records r JOIN sources s ON s.id = r.source "
              "WHERE r.camera = ? AND r.start >= ? AND r.start <= ? AND r.end >= ? "
              "AND (0 = ? OR r.thumbnail IS NOT NULL) ORDER BY r.start DESC, r.id DESC LIMIT ? OFFSET ?");
    rows.bind(camera).bind(bounds.from).bind(bounds.to).bind(bounds.end).bind(needThumbnail);
    rows.bind(wanted.limit).bind(wanted.offset);
    while (rows.step()) page.rows.push_back(readRecord(rows));
    return page;
}

std::optional<StoredRecord> findRecord(Database& database, std::int64_t camera, std::int64_t id) {
    Query query = database.query(
        "SELECT r.id, r.start, r.end, s.path, r.thumbnail FROM records r JOIN sources s ON s.id = r.source "
        "WHERE r.id = ? AND r.camera = ?");
    query.bind(id).bind(camera);
    if (!query.step()) return std::nullopt;
    return readRecord(query);
}

/// Rows of events from `place` on, `skip` of them passed over.
std::vector<StoredEvent> eventRows(Database& database, std::int64_t camera, const PageQuery& wanted, TimeMs from,
                                   TimeMs to, std::int64_t limit, std::int64_t skip) {
    std::string sql = "SELECT id, time, name, thumbnail FROM events WHERE camera = ? AND time >= ? AND time <= ?";
    if (!wanted.type.empty()) sql += " AND name = ?";
    sql += wanted.oldestFirst ? " ORDER BY time, id" : " ORDER BY time DESC, id DESC";
    sql += " LIMIT ? OFFSET ?";
    Query query = database.query(sql.c_str());
    query.bind(camera).bind(from).bind(to);
    if (!wanted.type.empty()) query.bind(wanted.type);
    query.bind(limit).bind(skip);
    std::vector<StoredEvent> rows;
    while (query.step()) rows.push_back({query.integer(0), query.integer(1), query.text(2), !query.isNull(3)});
    return rows;
}

/// Leaves out what is longer than an import stores: a folder may bring its own data base.
std::optional<std::string> thumbnailBytes(Database& database, const char* sql, std::int64_t camera, std::int64_t id) {
    Query query = database.query(sql);
    query.bind(id).bind(camera).bind(static_cast<std::int64_t>(longestPicture));
    if (!query.step()) return std::nullopt;
    return query.text(0);
}

/// Runs at the end of a scope.
template <typename Work>
class ScopeEnd {
  public:
    explicit ScopeEnd(Work work) : work_(std::move(work)) {}
    ~ScopeEnd() { work_(); }
    ScopeEnd(const ScopeEnd&) = delete;
    ScopeEnd& operator=(const ScopeEnd&) = delete;

  private:
    Work work_;
};

/// The result of `work`, or the Error of what it throws.
template <typename Work>
auto guarded(Work work) -> Result<decltype(work())> {
    try {
        return work();
    } catch (const DatabaseBusy& error) {
        return Error{std::string("data base: ") + error.what(), true};
    } catch (const std::exception& error) {
        return Error{std::string("data base: ") + error.what()};
    }
}

/// Runs `work` with a connection that sees one state of the data base.
template <typename Work>
auto reading(ConnectionPool& pool, Work work) -> Result<decltype(work(std::declval<Database&>()))> {
    return guarded([&] {
        const ConnectionPool::Lease lease = pool.take();
        DatabaseTransaction transaction(*lease, DatabaseTransaction::Kind::Reading);
        auto found = work(*lease);
        transaction.commit();
        return found;
    });
}

/// Runs `work` with the connection for writing, in one transaction.
template <typename Work>
Failure writing(ConnectionPool& pool, Work work) {
    const auto result = guarded([&] {
        const ConnectionPool::Lease lease = pool.take();
        DatabaseTransaction transaction(*lease);
        work(*lease);
        transaction.commit();
        return true;
    });
    if (!result) return result.error();
    return std::nullopt;
}

/// Connections for reading, opened before anything else can come into the file's place.
std::vector<std::unique_ptr<Database>> openReaders(const std::string& file) {
    std::vector<std::unique_ptr<Database>> connections;
    for (int i = 0; i < readerCount; ++i) {
        connections.push_back(std::make_unique<Database>(file));
        connections.back()->allowReadingOnly();
    }
    return connections;
}

}  // namespace

Storage::Storage(const DataPlace& place, std::unique_ptr<Database> database)
    : file_(place.file), home_(place.home.string()) {
    adoptHome(*database);
    readers_ = std::make_unique<ConnectionPool>(openReaders(file_.string()));
    std::vector<std::unique_ptr<Database>> writer;
    writer.push_back(std::move(database));
    writer_ = std::make_unique<ConnectionPool>(std::move(writer));
}
Storage::~Storage() = default;

Result<std::unique_ptr<Storage>> Storage::open(const std::filesystem::path& file) {
    const auto place = DataPlace::of(file);
    if (!place) return place.error();
    try {
        return std::unique_ptr<Storage>(new Storage(*place, Schema::open(*place)));
    } catch (const std::exception& error) {
        return Error{"cannot open data base " + file.string() + ": " + error.what()};
    }
}

Camera Storage::readCamera(const Query& query) const {
    const std::string stored = query.text(3);
    const bool isHome = !home_.empty() && stored == homeFolder;
    const bool isElsewhere = home_.empty() && stored.starts_with('/');
    return {query.integer(0), query.text(1), query.text(2), isHome ? home_ : isElsewhere ? stored : ""};
}

std::string Storage::storedFolder(const std::string& folder) const {
    if (home_.empty() || folder.empty()) return folder;
    if (folder != home_)
        throw DatabaseError(file_.string() + " is the data base of " + home_ + " alone: name another file");
    return std::string(homeFolder);
}

std::optional<Camera> Storage::findCamera(Database& database, const std::string& folder) const {
    Query query = database.query("SELECT id, name, timezone, folder FROM cameras WHERE folder = ?");
    query.bind(storedFolder(folder));
    if (!query.step()) return std::nullopt;
    return readCamera(query);
}

// Earlier data bases keep the folder's path, which may be one that it has moved away from.
void Storage::adoptHome(Database& database) const {
    if (home_.empty() || findCamera(database, home_)) return;
    std::vector<std::int64_t> cameras;
    {
        Query query = database.query("SELECT id, folder FROM cameras WHERE folder LIKE '/%'");
        while (query.step()) {
            cameras.push_back(query.integer(0));
            if (query.text(1) != home_) continue;
            cameras = {query.integer(0)};
            break;
        }
    }
    if (cameras.size() != 1) return;
    database.query("UPDATE cameras SET folder = ? WHERE id = ?").bind(homeFolder).bind(cameras[0]).run();
}

Result<ChangeMark> Storage::changeMark() {
    return guarded([this] {
        // The writer's connection counts what this object writes, and tells it from what others write.
        const ConnectionPool::Lease lease = writer_->take();
        Query query = (*lease).query("SELECT total_changes(), data_version FROM pragma_data_version");
        query.step();
        return ChangeMark{query.integer(0), query.integer(1)};
    });
}

Result<std::vector<Camera>> Storage::cameras() {
    return reading(*readers_, [this](Database& database) {
        std::vector<Camera> cameras;
        Query query = database.query("SELECT id, name, timezone, folder FROM cameras ORDER BY id");
        while (query.step()) cameras.push_back(readCamera(query));
        return cameras;
    });
}

Result<std::optional<Camera>> Storage::camera(std::int64_t id) {
    return reading(*readers_, [this, id](Database& database) -> std::optional<Camera> {
        Query query = database.query("SELECT id, name, timezone, folder FROM cameras WHERE id = ?");
        query.bind(id);
        if (!query.step()) return std::nullopt;
        return readCamera(query);
    });
}

Result<Camera> Storage::cameraForFolder(const std::string& folder, const std::string& name,
                                        const std::string& timezone) {
    const auto keeps = [](const std::string& wanted, const std::string& has) {
        return wanted.empty() || wanted == has;
    };
    // A folder that is looked at again and again is not written to each time.
    auto known = reading(*readers_, [&](Database& database) { return findCamera(database, folder); });
    if (!known) return known.error();
    if (*known && keeps(name, (*known)->name) && keeps(timezone, (*known)->timezone)) return **known;
    const Failure failure = writing(*writer_, [&](Database& database) {
        database
            .query(
                "INSERT INTO cameras(folder, name, timezone) VALUES(?1, ?2, ?3) ON CONFLICT(folder) DO UPDATE SET "
                "name = iif(?2 = '', name, ?2), timezone = iif(?3 = '', timezone, ?3)")
            .bind(storedFolder(folder))
            .bind(name)
            .bind(timezone)
            .run();
        known = findCamera(database, folder);
    });
    if (failure) return *failure;
    return known->value();
}

Result<std::optional<Camera>> Storage::markedCamera(const std::string& mark) {
    return reading(*readers_, [&](Database& database) -> std::optional<Camera> {
        Query query = database.query(
            "SELECT id, name, timezone, folder FROM cameras JOIN camera_marks ON camera = id WHERE mark = ?");
        query.bind(mark);
        if (!query.step()) return std::nullopt;
        return readCamera(query);
    });
}

Failure Storage::moveToFolder(const std::string& folder, const std::string& mark) {
    return writing(*writer_, [&](Database& database) {
        database
            .query(
                "UPDATE cameras SET folder = '?' || id WHERE folder = ?1 AND id IN "
                "(SELECT camera FROM camera_marks WHERE mark <> ?2)")
            .bind(folder)
            .bind(mark)
            .run();
        database
            .query(
                "UPDATE OR IGNORE cameras SET folder = ?1 WHERE id = (SELECT camera FROM camera_marks WHERE mark = ?2)")
            .bind(folder)
            .bind(mark)
            .run();
    });
}

Failure Storage::markCamera(std::int64_t camera, const std::string& mark) {
    return writing(*writer_, [&](Database& database) {
        database.query("INSERT OR REPLACE INTO camera_marks(camera, mark) VALUES(?, ?)").bind(camera).bind(mark).run();
    });
}

Result<Page<StoredEvent>> Storage::events(std::int64_t camera, const PageQuery& query) {
    return reading(*readers_, [&](Database& database) {
        const EventRanks ranks(database, camera, query.type);
        const TimeMs from = openStart(query.range.start);
        const TimeMs to = openEnd(query.range.end);
        const std::int64_t before = ranks.countUpTo(from - 1);
        const std::int64_t through = std::max(before, ranks.countUpTo(to));
        Page<StoredEvent> page;
        page.totalCount = through - before;
        const std::int64_t limit = std::min(query.limit, page.totalCount - std::min(query.offset, page.totalCount));
        if (limit <= 0) return page;
        const std::int64_t first = query.oldestFirst ? before + query.offset : through - 1 - query.offset;
        const EventRanks::Place place = ranks.placeOf(first);
        page.rows = query.oldestFirst
                        ? eventRows(database, camera, query, place.begin, to, limit, first - place.before)
                        : eventRows(database, camera, query, from, place.end - 1, limit, place.through - 1 - first);
        return page;
    });
}

Result<Page<StoredRecord>> Storage::records(std::int64_t camera, const PageQuery& query) {
    return reading(*readers_, [&](Database& database) { return recordPage(database, camera, query, false); });
}

Result<Page<StoredRecord>> Storage::thumbnails(std::int64_t camera, const PageQuery& query,
                                               const std::vector<std::int64_t>& ids) {
    if (ids.empty())
        return reading(*readers_, [&](Database& database) { return recordPage(database, camera, query, true); });
    return reading(*readers_, [&](Database& database) {
        const RecordBounds bounds = boundsOf(database, camera, query.range);
        Page<StoredRecord> page;
        for (const std::int64_t id : ids) {
            const std::optional<StoredRecord> record = findRecord(database, camera, id);
            if (record && record->hasThumbnail && record->start <= bounds.to && record->end >= bounds.end)
                page.rows.push_back(*record);
        }
        const auto byStart = [](const StoredRecord& a, const StoredRecord& b) {
            return std::pair(a.start, a.id) < std::pair(b.start, b.id);
        };
        const auto sameId = [](const StoredRecord& a, const StoredRecord& b) { return a.id == b.id; };
        std::sort(page.rows.begin(), page.rows.end(), byStart);
        page.rows.erase(std::unique(page.rows.begin(), page.rows.end(), sameId), page.rows.end());
        if (!query.oldestFirst) std::reverse(page.rows.begin(), page.rows.end());
        page.totalCount = static_cast<std::int64_t>(page.rows.size());
        if (page.totalCount > query.limit) page.rows.resize(static_cast<std::size_t>(query.limit));
        return page;
    });
}

Result<std::optional<StoredRecord>> Storage::record(std::int64_t camera, std::int64_t id) {
    return reading(*readers_, [&](Database& database) { return findRecord(database, camera, id); });
}

Result<std::optional<std::string>> Storage::recordThumbnail(std::int64_t camera, std::int64_t id) {
    return reading(*readers_, [&](Database& database) {
        return thumbnailBytes(database,
                              "SELECT t.jpeg FROM records r JOIN thumbnails t ON t.id = r.thumbnail "
                              "WHERE r.id = ? AND r.camera = ? AND length(t.jpeg) <= ?",
                              camera, id);
    });
}

Result<std::optional<std::string>> Storage::eventThumbnail(std::int64_t camera, std::int64_t id) {
    return reading(*readers_, [&](Database& database) {
        return thumbnailBytes(database,
                              "SELECT t.jpeg FROM events e JOIN thumbnails t ON t.id = e.thumbnail "
                              "WHERE e.id = ? AND e.camera = ? AND length(t.jpeg) <= ?",
                              camera, id);
    });
}

Result<std::vector<Period>> Storage::timeline(std::int64_t camera, TimeRange range) {
    return reading(*readers_, [&](Database& database) {
        const RecordBounds bounds = boundsOf(database, camera, range);
        const TimeMs windowEnd = bounds.to;
        Query query = database.query(
            "SELECT start, end FROM records WHERE camera = ? AND start >= ? AND start <= ? AND end >= ? ORDER BY "
            "start");
        query.bind(camera).bind(bounds.from).bind(bounds.to).bind(bounds.end);
        std::vector<Period> periods;
        while (query.step()) {
            const Period next{std::max(query.integer(0), bounds.end), std::min(query.integer(1), windowEnd)};
            if (next.start >= next.end) continue;
            if (!periods.empty() && next.start - periods.back().end <= mergeGap)
                periods.back().end = std::max(periods.back().end, next.end);
            else
                periods.push_back(next);
        }
        return periods;
    });
}

Result<std::vector<std::string>> Storage::recordedDays(std::int64_t camera, TimeRange range,
                                                       const std::string& timezone) {
    return reading(*readers_, [&](Database& database) {
        return ActivityDays(database, camera, range, timezone).ofRecords(longestRecord(database, camera));
    });
}

Result<std::vector<std::string>> Storage::eventDays(std::int64_t camera, TimeRange range, const std::string& type,
                                                    const std::string& timezone) {
    return reading(*readers_,
                   [&](Database& database) { return ActivityDays(database, camera, range, timezone).ofEvents(type); });
}

Result<bool> Storage::deleteEvent(std::int64_t camera, std::int64_t id) {
    return guarded([&] {
        const auto end = std::chrono::steady_clock::now() + deletionPatience;
        const ConnectionPool::Lease lease = writer_->takeWithin(deletionPatience);
        Database& database = *lease;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        database.setPatience(std::max(left, std::chrono::milliseconds(0)));
        const ScopeEnd usual([&database] { database.setPatience(Database::usualPatience); });
        DatabaseTransaction transaction(database);
        for (const char* sql :
             {"INSERT INTO deleted_events(id, camera, path, time, name) SELECT e.id, e.camera, s.path, e.time, e.name "
              "FROM events e JOIN sources s ON s.id = e.source WHERE e.id = ? AND e.camera = ?",
              "DELETE FROM thumbnails WHERE id = (SELECT thumbnail FROM events WHERE id = ? AND camera = ?)",
              "DELETE FROM events WHERE id = ? AND camera = ?"})
            database.query(sql).bind(id).bind(camera).run();
        const bool deleted = database.changes() > 0;
        transaction.commit();
        return deleted;
    });
}

Result<std::vector<SourceFile>> Storage::sources(std::int64_t camera) {
    return reading(*readers_, [&](Database& database) {
        std::vector<SourceFile> files;
        Query query =
            database.query("SELECT path, size, modified, rejection FROM sources WHERE camera = ? ORDER BY path");
        query.bind(camera);
        while (query.step()) files.push_back({query.text(0), query.integer(1), query.integer(2), query.text(3)});
        return files;
    });
}

Failure Storage::findPictured(std::int64_t camera, const std::string& path, std::vector<NewEvent>& events) {
    const auto done = reading(*readers_, [&](Database& database) {
        SourceEvents(database, camera, path).findPictured(events);
        return true;
    });
    return done ? std::nullopt : Failure(done.error());
}

Failure Storage::storeRecording(std::int64_t camera, const SourceFile& source, const std::optional<NewRecord>& record,
                                const std::vector<NewEvent>& events) {
    return writing(*writer_, [&](Database& database) {
        SourceEvents stored(database, camera, source.path);
        stored.describe(source);
        stored.replaceRecord(record);
        // A film's motion begins a little elsewhere when the film has changed; a list tells its times itself.
        stored.replaceEvents(events, record ? sameMotion : 0);
    });
}

Failure Storage::removeSource(std::int64_t camera, const std::string& path) {
    return writing(*writer_, [&](Database& database) { SourceEvents(database, camera, path).forget(); });
}

Failure Storage::addEvents(std::int64_t camera, std::int64_t count,
                           const std::function<NewEvent(std::int64_t number)>& event) {
    return writing(*writer_, [&](Database& database) {
        database.execute(EventRanks::dropTriggers());
        for (std::int64_t number = 0; number < count; ++number) {
            const NewEvent added = event(number);
            database.query("INSERT INTO events(camera, time, name) VALUES(?, ?, ?)")
                .bind(camera)
                .bind(added.time)
                .bind(added.name)
                .run();
        }
        EventRanks::recount(database, camera);
        database.execute(EventRanks::createTriggers());
    });
}

}  // namespace korvane
