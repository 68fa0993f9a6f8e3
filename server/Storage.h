#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"

namespace korvane {

class ConnectionPool;
class Database;
class Query;
struct DataPlace;

struct Camera {
    std::int64_t id = 0;
    std::string name;
    /// IANA zone name.
    std::string timezone;
    /// Absolute path of the folder that holds its recordings; empty when it has no media. In a folder's own data base
    /// that is this folder, wherever it has moved to, or none.
    std::string folder;
};

struct StoredEvent {
    std::int64_t id = 0;
    TimeMs time = 0;
    std::string name;
    bool hasThumbnail = false;
};

struct StoredRecord {
    std::int64_t id = 0;
    TimeMs start = 0;
    TimeMs end = 0;
    /// Relative to the camera's folder.
    std::string path;
    bool hasThumbnail = false;
};

/// Both ends belong to the range; -1 leaves an end open.
struct TimeRange {
    TimeMs start = -1;
    TimeMs end = -1;
};

struct PageQuery {
    TimeRange range;
    /// Events only: the name to look for, compared without regard to ASCII case; empty for all.
    std::string type;
    bool oldestFirst = false;
    /// 0 and up.
    std::int64_t limit = 100;
    /// 0 and up.
    std::int64_t offset = 0;
};

template <typename Row>
struct Page {
    /// How many rows match the query without limit and offset.
    std::int64_t totalCount = 0;
    std::vector<Row> rows;
};

/// A stretch of recorded time.
struct Period {
    TimeMs start = 0;
    TimeMs end = 0;
    bool operator==(const Period&) const = default;
};

/// A file of a camera's folder as it was when it was imported.
struct SourceFile {
    /// Of a file that the next import is to read in any case.
    static constexpr std::int64_t sizeOfNone = -1;

    /// Relative to the camera's folder.
    std::string path;
    std::int64_t size = 0;
    TimeMs modified = 0;
    /// Why it could not be imported; empty when it could.
    std::string rejection;
};

struct NewEvent {
    TimeMs time = 0;
    std::string name;
    /// JPEG bytes, or empty.
    std::string thumbnail;
    /// One that is stored stays.
    bool keepsThumbnail = false;
};

struct NewRecord {
    TimeMs start = 0;
    TimeMs end = 0;
    /// JPEG bytes, or empty.
    std::string thumbnail;
};

struct ChangeMark {
    std::int64_t own = 0;
    std::int64_t foreign = 0;
    bool operator==(const ChangeMark&) const = default;
};

/// Cameras, their recordings and events, in SQLite. Every write is one transaction. All functions may be called from
/// any thread and block for the time of the query; none that only reads waits for one that writes. Several Storage
/// objects, in several processes too, may share a file.
class Storage {
  public:
    /// Opens `file`, making it and its folder when missing. Refuses a link, another user's file and a data base whose
    /// schema is not ours.
    static Result<std::unique_ptr<Storage>> open(const std::filesystem::path& file);
    ~Storage();

    /// Absolute.
    const std::filesystem::path& file() const { return file_; }

    /// Another value once somebody has written to the data base: by this object, or by another connection in this
    /// process or another.
    Result<ChangeMark> changeMark();

    /// All cameras in order of id.
    Result<std::vector<Camera>> cameras();
    Result<std::optional<Camera>> camera(std::int64_t id);
    /// The camera of `folder` (absolute), made when there is none. A name or zone that is not empty replaces the
    /// stored. A folder's own data base refuses other folders.
    Result<Camera> cameraForFolder(const std::string& folder, const std::string& name, const std::string& timezone);

    /// Whether it is the folder's own data base, FOLDER/.korvane/camera.db.
    bool isOwnOf(const std::filesystem::path& folder) const { return !home_.empty() && folder == home_; }
    /// The camera whose folder carries `mark`.
    Result<std::optional<Camera>> markedCamera(const std::string& mark);
    /// Remembers that `mark` is on `folder`: the camera of that mark moves there, and one that was there and has
    /// another mark is without a folder until its own is found.
    Failure moveToFolder(const std::string& folder, const std::string& mark);
    Failure markCamera(std::int64_t camera, const std::string& mark);

    /// Events with start <= time <= end, ordered by time, then id. Takes about as long at any offset.
    Result<Page<StoredEvent>> events(std::int64_t camera, const PageQuery& query);
    /// Recordings that overlap the range (start <= range.end, end >= range.start), ordered by start, then id.
    Result<Page<StoredRecord>> records(std::int64_t camera, const PageQuery& query);
    /// As records(), those that have a thumbnail only. With `ids`, just those of them, and the offset is not applied.
    Result<Page<StoredRecord>> thumbnails(std::int64_t camera, const PageQuery& query,
                                          const std::vector<std::int64_t>& ids);
    Result<std::optional<StoredRecord>> record(std::int64_t camera, std::int64_t id);

    /// JPEG bytes, or nothing.
    Result<std::optional<std::string>> recordThumbnail(std::int64_t camera, std::int64_t id);
    Result<std::optional<std::string>> eventThumbnail(std::int64_t camera, std::int64_t id);

    /// What is recorded within the range: ascending, merged where the gap is at most 1000 ms, clipped to the range.
    Result<std::vector<Period>> timeline(std::int64_t camera, TimeRange range);

    /// Days "yyyy-MM-dd" of `timezone` within the range that have a recording, ascending.
    Result<std::vector<std::string>> recordedDays(std::int64_t camera, TimeRange range, const std::string& timezone);
    /// Days that have an event, of `type` when it is not empty.
    Result<std::vector<std::string>> eventDays(std::int64_t camera, TimeRange range, const std::string& type,
                                               const std::string& timezone);

    /// False when the camera has no such event. Fails as busy when another writer takes longer than 1.5 s.
    Result<bool> deleteEvent(std::int64_t camera, std::int64_t id);

    /// Every file that was imported or rejected, in order of path.
    Result<std::vector<SourceFile>> sources(std::int64_t camera);
    /// Sets keepsThumbnail of those events of a list, in its order, that need no picture: they have one, or were
    /// deleted.
    Failure findPictured(std::int64_t camera, const std::string& path, std::vector<NewEvent>& events);
    /// Replaces what was stored for that path: one recording with its events, or the rejection alone. An event that is
    /// the same, the n-th of its moment and name, keeps its number and stays deleted when it was; of a recording's
    /// events, those are the same that have a name and lie within 1 s.
    Failure storeRecording(std::int64_t camera, const SourceFile& source, const std::optional<NewRecord>& record,
                           const std::vector<NewEvent>& events);
    /// Forgets a file with all that came from it, but for which events were deleted.
    Failure removeSource(std::int64_t camera, const std::string& path);

    /// Adds `count` events without a recording at once: the one that `event` gives for each number from 0. Made for
    /// millions of them.
    Failure addEvents(std::int64_t camera, std::int64_t count,
                      const std::function<NewEvent(std::int64_t number)>& event);

  private:
    Storage(const DataPlace& place, std::unique_ptr<Database> database);

    Camera readCamera(const Query& query) const;
    std::string storedFolder(const std::string& folder) const;
    std::optional<Camera> findCamera(Database& database, const std::string& folder) const;
    void adoptHome(Database& database) const;

    const std::filesystem::path file_;
    /// As DataPlace::home.
    const std::string home_;

    /// Apart, so that no reader waits for a writer.
    std::unique_ptr<ConnectionPool> writer_;
    std::unique_ptr<ConnectionPool> readers_;
};

}  // namespace korvane
