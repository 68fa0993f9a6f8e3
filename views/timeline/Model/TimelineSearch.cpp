#include "korvane/views/timeline/Model/TimelineSearch.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace korvane {

std::int32_t indexElement(const Timeline* timeline, std::int64_t byTime) {
    if (!timeline || !timeline->periods() || timeline->periods()->empty()) return -3;
    const auto& periods = *timeline->periods();
    const auto last =
        static_cast<std::int32_t>(std::min<std::size_t>(periods.size() - 1, std::numeric_limits<std::int32_t>::max()));
    if (byTime < timeline->start()) return 0;
    if (byTime > timeline->end()) return last;

    const auto period = [&](std::int32_t index) -> const TimelinePair& {
        return periods[static_cast<std::size_t>(index)];
    };
    std::int32_t left = 0;
    std::int32_t right = last;
    while (right - left >= 2) {
        const std::int32_t mid = left + (right - left) / 2;
        if (period(mid).end() < byTime) {
            left = mid;
        } else if (period(mid).start() > byTime) {
            right = mid;
        } else {
            return mid;
        }
    }
    return period(left).end() < byTime ? right : left;
}

}  // namespace korvane
