#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/client/Reply.h"
#include "korvane/client/Timeline.h"

namespace korvane::test {

struct ScriptedEvent {
    std::int64_t id = 0;
    TimeMs time = 0;
    std::string name = "motion";
    /// Empty: the event has no thumbnail.
    std::string thumbUrl;
};

struct ScriptedRecord {
    std::int64_t id = 0;
    TimeMs start = 0;
    TimeMs end = 0;
    std::string url;
    /// Empty: the recording has no thumbnail.
    std::string thumbUrl;
};

/// A range of a query: -1 leaves a side open, order 0 is newest first.
struct ScriptedPage {
    TimeMs start = -1;
    TimeMs end = -1;
    int order = 0;
    std::int64_t limit = 100;
    std::int64_t offset = 0;
};

/// What a camera has stored, answered as the real service answers it. No lock of its own. A page out of a million
/// events without a filter costs the page.
class ScriptedFootage {
  public:
    std::int64_t camid = 7;
    std::string timezone = "UTC";

    void addEvent(ScriptedEvent event);
    void addRecord(ScriptedRecord record);
    /// False when there is no such event.
    bool removeEvent(std::int64_t id);
    void clear();

    Reply events(const ScriptedPage& page, const std::optional<std::string>& filter) const;
    Reply records(const ScriptedPage& page) const;
    Reply thumbnails(const ScriptedPage& page, const std::vector<std::string>& originIds) const;
    /// Recordings of the window, clipped and merged.
    Timeline timeline(TimeMs start, TimeMs end) const;
    /// Days of UTC on which something is recorded or happens.
    Reply activity(TimeMs start, TimeMs end, const std::optional<std::string>& filter) const;
    /// Days of UTC that recordings touch.
    std::set<std::string> recordedDays(TimeMs start, TimeMs end) const;

  private:
    std::vector<ScriptedRecord> recordsIn(TimeMs start, TimeMs end) const;

    // Both ascending in time.
    std::vector<ScriptedEvent> events_;
    std::vector<ScriptedRecord> records_;
};

}  // namespace korvane::test
