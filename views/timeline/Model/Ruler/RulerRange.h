#pragma once

#include "korvane/base/SaturatingTime.h"
#include "korvane/base/Time.h"

namespace korvane {

/// The stretch of time that a ruler is held in, both ends inclusive. Nothing checks that the start does not exceed the
/// end; a range turned round holds no time.
struct RulerRange {
    TimeSec start_range = 0;
    TimeSec end_range = 0;

    TimeSec length() const { return saturatingSubtract(end_range, start_range); }
    bool contains(TimeSec time) const { return time >= start_range && time <= end_range; }
    bool operator==(const RulerRange&) const = default;
};

}  // namespace korvane
