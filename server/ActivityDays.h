#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "korvane/server/LocalDays.h"
#include "korvane/server/Storage.h"

namespace korvane {

class Database;

/// The days of a zone on which a camera has something within a range, "yyyy-MM-dd", ascending. For one use.
class ActivityDays {
  public:
    ActivityDays(Database& database, std::int64_t camera, TimeRange range, const std::string& zone);

    /// From the recordings, of which none is longer than `longest`.
    std::vector<std::string> ofRecords(TimeMs longest);
    /// From the counts that EventRanks keeps, in one scan; of the events of `type` when it is not empty.
    std::vector<std::string> ofEvents(const std::string& type);

  private:
    void add(TimeMs moment);
    bool addRecord(TimeMs start, TimeMs end);
    void addQuarter(TimeMs begin, TimeMs end, bool isWhole, const std::string& type);
    std::optional<TimeMs> firstEvent(TimeMs from, TimeMs to, const std::string& type);

    Database& database_;
    const std::int64_t camera_;
    const LocalDays calendar_;
    const TimeMs to_;
    /// What lies before is done: the end of the last day found.
    TimeMs next_;
    std::vector<std::string> days_;
};

}  // namespace korvane
