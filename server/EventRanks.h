#pragma once

#include <cstdint>
#include <string>

#include "korvane/base/Time.h"

namespace korvane {

class Database;

/// Positions of a camera's events in order of time, without walking them: a table beside the events counts them for
/// each quarter of an hour, each day and each 64 days that has any, by name and for all names together (name "").
/// Triggers keep the counts.
class EventRanks {
  public:
    /// The width of the smallest buckets, level 0; bucket n begins at n times that.
    static constexpr TimeMs quarter = 900'000;

    /// SQL that makes the table of counts, and the triggers over a table events(camera, time, name).
    static const char* createTable();
    static const char* createTriggers();
    static const char* dropTriggers();

    /// Counts all events of a camera anew, for when they were added without triggers.
    static void recount(Database& database, std::int64_t camera);

    EventRanks(Database& database, std::int64_t camera, std::string name)
        : database_(database), camera_(camera), name_(std::move(name)) {}

    /// Number of events at or before `time`; none before 0.
    std::int64_t countUpTo(TimeMs time) const;

    /// A quarter of an hour that an event lies in.
    struct Place {
        TimeMs begin = 0;
        TimeMs end = 0;
        /// Number of events before it, and up to its end.
        std::int64_t before = 0;
        std::int64_t through = 0;
    };

    /// Where the event at `position` lies, 0 being the oldest. Precondition: there are more events than `position`.
    Place placeOf(std::int64_t position) const;

  private:
    std::int64_t sum(int level, std::int64_t firstBucket, std::int64_t endBucket) const;

    Database& database_;
    std::int64_t camera_;
    std::string name_;
};

}  // namespace korvane
