#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace korvane {

/// `value` without its fraction, held at the ends of the range; 0 for NaN.
constexpr std::int64_t truncated(double value) {
    constexpr double beyond = 9223372036854775808.0;
    if (value >= beyond) return std::numeric_limits<std::int64_t>::max();
    if (value < -beyond) return std::numeric_limits<std::int64_t>::min();
    return value == value ? static_cast<std::int64_t>(value) : 0;
}

/// `value` in single precision, held at the ends of the range; NaN stays NaN.
constexpr float narrowed(double value) {
    constexpr double most = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -most, most));
}

}  // namespace korvane
