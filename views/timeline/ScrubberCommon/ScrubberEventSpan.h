#pragma once

#include <cstdint>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventType.h"

namespace korvane {

/// What the neighbours of an entry need to know of it. The fields are those of ScrubberEvent, ms.
struct ScrubberEventSpan {
    std::int32_t type = ScrubberEventTypePending;
    TimeMs timeAsValue = -1;
    TimeMs start = 0;
    TimeMs end = 0;

    /// Whether the entry covers a span of time at all; head, live and pending entries do not.
    bool hasSpan() const { return start >= 0 && end > 0; }

    /// Whether `time`, ms, lies in that span.
    bool covers(TimeMs time, bool endIncluded) const {
        return hasSpan() && start <= time && (endIncluded ? time <= end : time < end);
    }
};

}  // namespace korvane
