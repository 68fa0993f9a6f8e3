#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEvent.h"

namespace korvane {

/// What an entry of a list is searched by. All that is set must hold.
struct ScrubberEventQuery {
    /// Where the search begins; below 0 counts as 0.
    std::int64_t fromIndex = 0;
    /// Bounds of the entry's moment, ms, both included.
    TimeMs notBefore = std::numeric_limits<TimeMs>::min();
    TimeMs notAfter = std::numeric_limits<TimeMs>::max();
    /// The entry's id; an entry without one, or with 0, never fits then.
    std::optional<std::int64_t> identificator;
    /// This very object, where an entry has nothing else by which to know it; not owned.
    const ScrubberEvent* object = nullptr;

    static ScrubberEventQuery at(TimeMs timeAsValue, std::int64_t fromIndex = 0) {
        return {fromIndex, timeAsValue, timeAsValue, std::nullopt, nullptr};
    }

    bool fits(const ScrubberEvent& event) const {
        if (object && object != &event) return false;
        const TimeMs moment = event.timeAsValue();
        if (moment < notBefore || moment > notAfter) return false;
        return !identificator || (*identificator != 0 && event.identificator() == identificator);
    }
};

/// Where a moment lies in a list whose entries cover spans of time.
struct ScrubberEventPlace {
    /// -1 when no entry stands for the moment.
    std::int64_t index = -1;
    /// Whether the entry is of that moment or covers it, and not only the nearest after it.
    bool isPositionExist = false;
};

}  // namespace korvane
