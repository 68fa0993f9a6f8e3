#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/server/Storage.h"

namespace korvane {

class Database;

/// What came from one file of a camera's folder. An event that is found again, the n-th of its moment and name, keeps
/// its number, and stays deleted when it was. Runs inside of the caller's transaction.
class SourceEvents {
  public:
    SourceEvents(Database& database, std::int64_t camera, std::string path)
        : database_(database), camera_(camera), path_(std::move(path)) {}

    /// As Storage::findPictured().
    void findPictured(std::vector<NewEvent>& events);
    /// Stores how the file was; what came from it stays.
    void describe(const SourceFile& source);
    /// Precondition of both: the file was described.
    void replaceRecord(const std::optional<NewRecord>& record);
    /// Events of one name within `tolerance` are the same.
    void replaceEvents(const std::vector<NewEvent>& events, TimeMs tolerance);
    /// Forgets all but which events were deleted.
    void forget();

  private:
    struct Known;
    class Matching;

    bool find();
    std::vector<Known> known();
    std::optional<std::int64_t> storeThumbnail(const std::string& jpeg);
    std::optional<std::int64_t> changeThumbnail(const std::optional<std::int64_t>& known, const std::string& jpeg);
    void keep(const Known& known, const NewEvent& event);
    void add(const NewEvent& event, const std::optional<std::int64_t>& id,
             const std::optional<std::int64_t>& thumbnail);
    void remove(const Known& known);

    Database& database_;
    const std::int64_t camera_;
    const std::string path_;
    std::int64_t source_ = 0;
};

}  // namespace korvane
