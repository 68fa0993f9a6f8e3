#include "korvane/views/timeline/Model/Ruler/RulerScales.h"

#include <cmath>

#include "korvane/views/timeline/Model/Ruler/Truncated.h"

namespace korvane {

std::optional<float> RulerScales::scaleOf(std::int64_t row, float range_scale) {
    switch (row) {
        case 0:
            return 1.0F;
        case 1:
            return 20.0F;
        case 2:
            return 120.0F;
        case rangeRow:
            return range_scale;
        default:
            return std::nullopt;
    }
}

float RulerScales::rangeScale(const RulerRange& range, double width) {
    if (!std::isfinite(width) || width <= 0 || range.length() <= 0) return 0;
    return narrowed(static_cast<double>(range.length()) / width);
}

}  // namespace korvane
