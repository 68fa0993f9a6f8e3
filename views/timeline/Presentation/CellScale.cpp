#include "korvane/views/timeline/Presentation/CellScale.h"

#include <cmath>

#include "korvane/base/SaturatingTime.h"

namespace korvane {
namespace {

/// Whole seconds below this can be turned into ms without overflow.
constexpr double largestSecond = 9.0e15;

double roundToHalfPoint(double value) {
    return static_cast<double>(std::round(static_cast<float>(2 * value)) * 0.5F);
}

}  // namespace

TimeMs CellScale::positionAt(double offset) const {
    const auto spanSeconds = static_cast<double>(saturatingSubtract(end, start) / 1000);
    const double seconds = std::trunc(offset * spanSeconds / width + static_cast<double>(start / 1000));
    if (!(std::abs(seconds) < largestSecond)) return start;
    const TimeMs position = static_cast<TimeMs>(seconds) * 1000;
    return position < start || position > end ? start : position;
}

double CellScale::offsetOf(TimeMs position) const {
    if (end == start) return 0;
    const auto at = [this](TimeMs time) {
        TimeMs exact = 0;
        if (!__builtin_sub_overflow(time, start, &exact)) return static_cast<double>(exact);
        return static_cast<double>(time) - static_cast<double>(start);
    };
    return roundToHalfPoint(width / at(end) * at(position));
}

}  // namespace korvane
