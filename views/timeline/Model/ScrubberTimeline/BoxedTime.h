#pragma once

#include <limits>

#include "korvane/base/Time.h"

namespace korvane {

/// A moment that is kept as a floating-point number, as an integer: without its fraction, held at the ends of the
/// range, 0 for what is no number.
constexpr TimeMs longLongValue(double boxed) {
    constexpr double limit = 0x1p63;
    if (boxed != boxed) return 0;
    if (boxed >= limit) return std::numeric_limits<TimeMs>::max();
    if (boxed < -limit) return std::numeric_limits<TimeMs>::min();
    return static_cast<TimeMs>(boxed);
}

}  // namespace korvane
