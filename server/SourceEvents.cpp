#include "korvane/server/SourceEvents.h"

#include <algorithm>
#include <map>

#include "korvane/server/Database.h"

namespace korvane {
namespace {

std::string folded(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return name;
}

}  // namespace

struct SourceEvents::Known {
    std::int64_t id = 0;
    TimeMs time = 0;
    std::string name;
    std::optional<std::int64_t> thumbnail;
    bool isDeleted = false;
};

/// The known events that have not been found again.
class SourceEvents::Matching {
  public:
    /// In order of number, which is the order among those of one moment and name.
    explicit Matching(std::vector<Known> known) {
        for (Known& one : known) left_.emplace(std::pair(folded(one.name), one.time), std::move(one));
    }

    /// The nearest within `tolerance`, the first of equals.
    std::optional<Known> take(const NewEvent& event, TimeMs tolerance) {
        const std::string name = folded(event.name);
        auto best = left_.end();
        const auto distance = [&event](auto place) { return std::abs(place->first.second - event.time); };
        for (auto place = left_.lower_bound({name, event.time - tolerance});
             place != left_.end() && place->first.first == name && place->first.second <= event.time + tolerance;
             ++place)
            if (best == left_.end() || distance(place) < distance(best)) best = place;
        if (best == left_.end()) return std::nullopt;
        Known found = std::move(best->second);
        left_.erase(best);
        return found;
    }

    const auto& left() const { return left_; }

  private:
    std::multimap<std::pair<std::string, TimeMs>, Known> left_;
};

void SourceEvents::findPictured(std::vector<NewEvent>& events) {
    if (!find()) return;
    Matching matching(known());
    for (NewEvent& event : events) {
        const auto known = matching.take(event, 0);
        event.keepsThumbnail = known && (known->thumbnail || known->isDeleted);
    }
}

bool SourceEvents::find() {
    Query query = database_.query("SELECT id FROM sources WHERE camera = ? AND path = ?");
    query.bind(camera_).bind(path_);
    const bool isThere = query.step();
    if (isThere) source_ = query.integer(0);
    return isThere;
}

void SourceEvents::describe(const SourceFile& source) {
    database_
        .query(
            "INSERT INTO sources(camera, path, size, modified, rejection) VALUES(?, ?, ?, ?, ?) "
            "ON CONFLICT(camera, path) DO UPDATE SET size = excluded.size, modified = excluded.modified, "
            "rejection = excluded.rejection")
        .bind(camera_)
        .bind(path_)
        .bind(source.size)
        .bind(source.modified)
        .bind(source.rejection)
        .run();
    find();
}

void SourceEvents::replaceRecord(const std::optional<NewRecord>& record) {
    for (const char* sql : {"DELETE FROM thumbnails WHERE id IN (SELECT thumbnail FROM records WHERE source = ?)",
                            "DELETE FROM records WHERE source = ?"})
        database_.query(sql).bind(source_).run();
    if (!record) return;
    const auto thumbnail = storeThumbnail(record->thumbnail);
    database_.query("INSERT INTO records(camera, start, end, source, thumbnail) VALUES(?, ?, ?, ?, ?)")
        .bind(camera_)
        .bind(record->start)
        .bind(record->end)
        .bind(source_)
        .bind(thumbnail)
        .run();
    // The lists of events that lie in it are read again, for their pictures.
    database_
        .query(
            "UPDATE sources SET size = ? WHERE id IN "
            "(SELECT source FROM events e WHERE camera = ? AND time BETWEEN ? AND ? AND thumbnail IS NULL "
            "AND NOT EXISTS(SELECT 1 FROM records WHERE source = e.source))")
        .bind(SourceFile::sizeOfNone)
        .bind(camera_)
        .bind(record->start)
        .bind(record->end)
        .run();
}

void SourceEvents::replaceEvents(const std::vector<NewEvent>& events, TimeMs tolerance) {
    Matching matching(known());
    std::vector<std::optional<Known>> matches;
    for (const NewEvent& event : events) matches.push_back(matching.take(event, 0));
    for (std::size_t i = 0; i < events.size(); ++i)
        if (!matches[i] && tolerance > 0) matches[i] = matching.take(events[i], tolerance);
    for (const auto& entry : matching.left())
        if (!entry.second.isDeleted) remove(entry.second);
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (matches[i])
            keep(*matches[i], events[i]);
        else
            add(events[i], std::nullopt, storeThumbnail(events[i].thumbnail));
    }
}

std::vector<SourceEvents::Known> SourceEvents::known() {
    Query query = database_.query(
        "SELECT id, time, name, thumbnail, 0 FROM events WHERE source = ? UNION ALL "
        "SELECT id, time, name, NULL, 1 FROM deleted_events WHERE camera = ? AND path = ? ORDER BY id");
    query.bind(source_).bind(camera_).bind(path_);
    std::vector<Known> all;
    while (query.step()) {
        const auto thumbnail = query.isNull(3) ? std::nullopt : std::optional(query.integer(3));
        all.push_back({query.integer(0), query.integer(1), query.text(2), thumbnail, query.integer(4) != 0});
    }
    return all;
}

void SourceEvents::keep(const Known& known, const NewEvent& event) {
    if (known.isDeleted) {
        if (known.time == event.time) return;
        database_.query("UPDATE deleted_events SET time = ? WHERE id = ?").bind(event.time).bind(known.id).run();
        return;
    }
    const auto thumbnail = event.keepsThumbnail ? known.thumbnail : changeThumbnail(known.thumbnail, event.thumbnail);
    if (known.time != event.time || known.name != event.name) {
        // The counts beside the events follow rows that come and go.
        database_.query("DELETE FROM events WHERE id = ?").bind(known.id).run();
        add(event, known.id, thumbnail);
    } else if (thumbnail != known.thumbnail) {
        database_.query("UPDATE events SET thumbnail = ? WHERE id = ?").bind(thumbnail).bind(known.id).run();
    }
}

void SourceEvents::add(const NewEvent& event, const std::optional<std::int64_t>& id,
                       const std::optional<std::int64_t>& thumbnail) {
    database_.query("INSERT INTO events(id, camera, time, name, source, thumbnail) VALUES(?, ?, ?, ?, ?, ?)")
        .bind(id)
        .bind(camera_)
        .bind(event.time)
        .bind(event.name)
        .bind(source_)
        .bind(thumbnail)
        .run();
}

void SourceEvents::remove(const Known& known) {
    if (known.thumbnail) database_.query("DELETE FROM thumbnails WHERE id = ?").bind(*known.thumbnail).run();
    database_.query("DELETE FROM events WHERE id = ?").bind(known.id).run();
}

std::optional<std::int64_t> SourceEvents::changeThumbnail(const std::optional<std::int64_t>& known,
                                                          const std::string& jpeg) {
    if (known && !jpeg.empty()) {
        database_.query("UPDATE thumbnails SET jpeg = ? WHERE id = ?").bindBlob(jpeg).bind(*known).run();
        return known;
    }
    if (known) database_.query("DELETE FROM thumbnails WHERE id = ?").bind(*known).run();
    return storeThumbnail(jpeg);
}

std::optional<std::int64_t> SourceEvents::storeThumbnail(const std::string& jpeg) {
    if (jpeg.empty()) return std::nullopt;
    database_.query("INSERT INTO thumbnails(jpeg) VALUES(?)").bindBlob(jpeg).run();
    return database_.lastInsertId();
}

void SourceEvents::forget() {
    if (!find()) return;
    for (const char* sql : {"DELETE FROM thumbnails WHERE id IN (SELECT thumbnail FROM events WHERE source = ?)",
                            "DELETE FROM thumbnails WHERE id IN (SELECT thumbnail FROM records WHERE source = ?)",
                            "DELETE FROM events WHERE source = ?", "DELETE FROM records WHERE source = ?",
                            "DELETE FROM sources WHERE id = ?"})
        database_.query(sql).bind(source_).run();
}

}  // namespace korvane
