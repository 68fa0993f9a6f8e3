#include "korvane/server/ActivityDays.h"

#include <algorithm>

#include "korvane/film/VideoAnalysis.h"
#include "korvane/server/Database.h"
#include "korvane/server/EventRanks.h"

namespace korvane {
namespace {

// So many recordings of a day that is known are passed over one by one, the rest at once.
constexpr int mostPassedOver = 64;

}  // namespace

ActivityDays::ActivityDays(Database& database, std::int64_t camera, TimeRange range, const std::string& zone)
    : database_(database),
      camera_(camera),
      calendar_(zone),
      to_(range.end == -1 ? latestMoment : std::min(range.end, latestMoment)),
      next_(std::max<TimeMs>(range.start, 0)) {}

std::vector<std::string> ActivityDays::ofRecords(TimeMs longest) {
    TimeMs from = next_ - std::min(next_, longest);
    bool isAtEnd = false;
    while (!isAtEnd) {
        isAtEnd = true;
        Query rows = database_.query(
            "SELECT start, end FROM records WHERE camera = ? AND start >= ? AND start <= ? ORDER BY start");
        rows.bind(camera_).bind(from).bind(to_);
        int passed = 0;
        while (isAtEnd && rows.step()) {
            passed = addRecord(rows.integer(0), rows.integer(1)) ? 0 : passed + 1;
            if (passed < mostPassedOver || next_ - longest <= rows.integer(0)) continue;
            from = next_ - longest;
            isAtEnd = false;
        }
    }
    return std::move(days_);
}

std::vector<std::string> ActivityDays::ofEvents(const std::string& type) {
    constexpr TimeMs width = EventRanks::quarter;
    if (next_ > to_) return {};
    const TimeMs first = next_;
    Query rows = database_.query(
        "SELECT bucket FROM event_counts WHERE camera = ? AND name = ? AND level = 0 AND bucket >= ? AND bucket <= ? "
        "AND n > 0 ORDER BY bucket");
    rows.bind(camera_).bind(type).bind(first / width).bind(to_ / width);
    while (rows.step()) {
        const TimeMs begin = rows.integer(0) * width;
        const TimeMs last = begin + width - 1;
        if (last >= next_) addQuarter(std::max(begin, next_), std::min(last, to_), begin >= next_ && last <= to_, type);
    }
    return std::move(days_);
}

void ActivityDays::add(TimeMs moment) {
    days_.push_back(calendar_.dayOf(moment));
    next_ = calendar_.nextDay(moment);
}

/// False when it adds no day.
bool ActivityDays::addRecord(TimeMs start, TimeMs end) {
    const std::size_t before = days_.size();
    if (start >= next_) add(start);
    // What a folder's own data base tells may be made to take all memory.
    end = std::min(end, start + longestFilm);
    // One that ends with a day is not seen on the next.
    while (end > next_ && next_ <= to_) add(next_);
    return days_.size() > before;
}

/// A quarter of an hour with an event in it, `isWhole` or a part of one, from `begin` to `end`.
void ActivityDays::addQuarter(TimeMs begin, TimeMs end, bool isWhole, const std::string& type) {
    // Where a day of the zone ends within it, or only a part is asked for, the events themselves tell.
    const TimeMs next = isWhole ? calendar_.nextDay(begin) : begin;
    if (next > end) {
        days_.push_back(calendar_.dayOf(begin));
        next_ = next;
        return;
    }
    for (auto event = firstEvent(begin, end, type); event; event = firstEvent(next_, end, type)) add(*event);
}

std::optional<TimeMs> ActivityDays::firstEvent(TimeMs from, TimeMs to, const std::string& type) {
    if (from > to) return std::nullopt;
    Query query = database_.query(
        type.empty() ? "SELECT min(time) FROM events WHERE camera = ? AND time >= ? AND time <= ?"
                     : "SELECT min(time) FROM events WHERE camera = ? AND time >= ? AND time <= ? AND name = ?");
    query.bind(camera_).bind(from).bind(to);
    if (!type.empty()) query.bind(type);
    query.step();
    return query.isNull(0) ? std::nullopt : std::optional(query.integer(0));
}

}  // namespace korvane
