#pragma once

#include <cstdint>

#include "korvane/client/Timeline.h"

namespace korvane {

/// The period of `timeline` that holds `byTime`, or else the one that comes next; the last one after all of them. A
/// time outside the window gives the first or the last period. -3 without a timeline or periods, and nothing else is
/// negative. `byTime` is in the timeline's unit. The caller tells a hit from a gap by the period's start. Any thread;
/// allocates nothing.
std::int32_t indexElement(const Timeline* timeline, std::int64_t byTime);

}  // namespace korvane
