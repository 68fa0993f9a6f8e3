#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "korvane/views/timeline/Model/Ruler/RulerRange.h"

namespace korvane {

/// The scales that a ruler offers, by row: 0 to 2 have a scale of their own, and 3 fits a range to the ruler.
class RulerScales {
  public:
    static constexpr std::array<std::string_view, 4> scaleTypes{"MIN", "HR", "12H", "RNG"};
    static constexpr std::int64_t rangeRow = 3;

    /// Seconds per point of `row`; `range_scale` for the range's. Nothing for other rows, which are to be ignored.
    static std::optional<float> scaleOf(std::int64_t row, float range_scale);

    /// The row to go back to after a range, when `row` has been taken: itself, or as it was for the range's row.
    static std::int64_t previousRow(std::int64_t row, std::int64_t prev_scale_row) {
        return row == rangeRow ? prev_scale_row : row;
    }

    /// What a request to toggle to `row` selects: 0 for all but 1 and 2.
    static std::int64_t toggled(std::int64_t row) { return row == 1 || row == 2 ? row : 0; }

    /// What the scale button selects after `scale_index`; never the range's row.
    static std::int64_t next(std::int64_t scale_index) { return scale_index >= 2 ? 0 : scale_index + 1; }

    /// Seconds per point at which `range` takes the whole ruler of `width` points. 0, which is no scale, for a range
    /// without length and for a width that is not finite or not above 0.
    static float rangeScale(const RulerRange& range, double width);
};

}  // namespace korvane
