#include "korvane/server/EventRanks.h"

#include <array>
#include <limits>

#include "korvane/server/Database.h"

namespace korvane {
namespace {

// The triggers below repeat the widths. Each is a multiple of the one before.
constexpr std::array<TimeMs, 3> widths = {EventRanks::quarter, 86'400'000, 5'529'600'000};

}  // namespace

const char* EventRanks::createTable() {
    return R"(CREATE TABLE event_counts(
        camera INTEGER NOT NULL, name TEXT NOT NULL COLLATE NOCASE, level INTEGER NOT NULL, bucket INTEGER NOT NULL,
        n INTEGER NOT NULL, PRIMARY KEY(camera, name, level, bucket)) WITHOUT ROWID;)";
}

const char* EventRanks::createTriggers() {
    return R"(
        CREATE TRIGGER event_added AFTER INSERT ON events BEGIN
            INSERT INTO event_counts(camera, name, level, bucket, n) VALUES
                (new.camera, '', 0, new.time / 900000, 1), (new.camera, new.name, 0, new.time / 900000, 1),
                (new.camera, '', 1, new.time / 86400000, 1), (new.camera, new.name, 1, new.time / 86400000, 1),
                (new.camera, '', 2, new.time / 5529600000, 1), (new.camera, new.name, 2, new.time / 5529600000, 1)
            ON CONFLICT DO UPDATE SET n = n + 1;
        END;
        CREATE TRIGGER event_removed AFTER DELETE ON events BEGIN
            UPDATE event_counts SET n = n - 1 WHERE camera = old.camera AND name IN ('', old.name)
                AND level = 0 AND bucket = old.time / 900000;
            UPDATE event_counts SET n = n - 1 WHERE camera = old.camera AND name IN ('', old.name)
                AND level = 1 AND bucket = old.time / 86400000;
            UPDATE event_counts SET n = n - 1 WHERE camera = old.camera AND name IN ('', old.name)
                AND level = 2 AND bucket = old.time / 5529600000;
        END;)";
}

const char* EventRanks::dropTriggers() {
    return "DROP TRIGGER event_added; DROP TRIGGER event_removed;";
}

void EventRanks::recount(Database& database, std::int64_t camera) {
    database.query("DELETE FROM event_counts WHERE camera = ?").bind(camera).run();
    for (std::size_t level = 0; level < widths.size(); ++level) {
        const auto number = static_cast<std::int64_t>(level);
        database
            .query(
                "INSERT INTO event_counts(camera, name, level, bucket, n) "
                "SELECT camera, name, ?, time / ?, count(*) FROM events WHERE camera = ? GROUP BY name, 4")
            .bind(number)
            .bind(widths[level])
            .bind(camera)
            .run();
        database
            .query(
                "INSERT INTO event_counts(camera, name, level, bucket, n) "
                "SELECT camera, '', level, bucket, sum(n) FROM event_counts WHERE camera = ? AND level = ? "
                "GROUP BY bucket")
            .bind(camera)
            .bind(number)
            .run();
    }
}

std::int64_t EventRanks::sum(int level, std::int64_t firstBucket, std::int64_t endBucket) const {
    Query query = database_.query(
        "SELECT coalesce(sum(n), 0) FROM event_counts "
        "WHERE camera = ? AND name = ? AND level = ? AND bucket >= ? AND bucket < ?");
    query.bind(camera_).bind(name_).bind(std::int64_t{level}).bind(firstBucket).bind(endBucket);
    query.step();
    return query.integer(0);
}

std::int64_t EventRanks::countUpTo(TimeMs time) const {
    if (time < 0) return 0;
    std::int64_t count = 0;
    TimeMs from = 0;
    for (std::size_t level = widths.size(); level-- > 0;) {
        const TimeMs to = time / widths[level] * widths[level];
        count += sum(static_cast<int>(level), from / widths[level], to / widths[level]);
        from = to;
    }
    Query query = database_.query(
        name_.empty() ? "SELECT count(*) FROM events WHERE camera = ? AND time >= ? AND time <= ?"
                      : "SELECT count(*) FROM events WHERE camera = ? AND time >= ? AND time <= ? AND name = ?");
    query.bind(camera_).bind(from).bind(time);
    if (!name_.empty()) query.bind(name_);
    query.step();
    return count + query.integer(0);
}

EventRanks::Place EventRanks::placeOf(std::int64_t position) const {
    Place place{0, std::numeric_limits<TimeMs>::max(), 0, 0};
    for (std::size_t level = widths.size(); level-- > 0;) {
        const TimeMs width = widths[level];
        Query query = database_.query(
            "SELECT bucket, n FROM event_counts "
            "WHERE camera = ? AND name = ? AND level = ? AND bucket >= ? AND bucket < ? ORDER BY bucket");
        query.bind(camera_).bind(name_).bind(static_cast<std::int64_t>(level));
        query.bind(place.begin / width).bind(place.end / width);
        while (query.step()) {
            place.through = place.before + query.integer(1);
            if (place.through > position) {
                place.begin = query.integer(0) * width;
                place.end = place.begin + width;
                break;
            }
            place.before = place.through;
        }
    }
    return place;
}

}  // namespace korvane
