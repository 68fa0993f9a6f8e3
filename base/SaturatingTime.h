#pragma once

#include <limits>

#include "korvane/base/Time.h"

namespace korvane {

/// `a` + `b`, held at the ends of the range: a service may date an event to any year.
constexpr TimeMs saturatingAdd(TimeMs a, TimeMs b) {
    TimeMs sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) return sum;
    return b > 0 ? std::numeric_limits<TimeMs>::max() : std::numeric_limits<TimeMs>::min();
}

/// `a` - `b`, held at the ends of the range.
constexpr TimeMs saturatingSubtract(TimeMs a, TimeMs b) {
    TimeMs difference = 0;
    if (!__builtin_sub_overflow(a, b, &difference)) return difference;
    return b < 0 ? std::numeric_limits<TimeMs>::max() : std::numeric_limits<TimeMs>::min();
}

/// `a` * `b`, held at the ends of the range: seconds become milliseconds.
constexpr TimeMs saturatingMultiply(TimeMs a, TimeMs b) {
    TimeMs product = 0;
    if (!__builtin_mul_overflow(a, b, &product)) return product;
    return (a < 0) != (b < 0) ? std::numeric_limits<TimeMs>::min() : std::numeric_limits<TimeMs>::max();
}

}  // namespace korvane
