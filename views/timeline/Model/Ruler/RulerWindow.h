#pragma once

#include <optional>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/Ruler/RulerRange.h"

namespace korvane {

/// What a time ruler shows: which moment stands in its middle and how much time a point covers. A plain value without a
/// lock. Times are seconds since the epoch and stop at the ends of their type. A scale that is not finite or not above
/// 0 counts as 0: the axis then shows one moment, its centre. A width that is not finite counts as 0.
struct RulerWindow {
    /// Points left free at the ends of the axis.
    static constexpr float leadingMargin = 10;
    static constexpr float trailingMargin = 0;
    /// The place of what has none, as with a scale of 0.
    static constexpr float noPlace = -1;

    TimeSec center_time = 0;
    /// Seconds per point; more shows more time.
    float pix_scale = 0;
    /// Of the whole ruler, in points.
    double width = 0;

    /// `pix_scale`, or 0 where that is no scale.
    float scale() const;
    /// The width without the margins, from 0 to 1,000,000 points.
    double drawableWidth() const;
    /// The seconds that a full drawable width shows.
    TimeSec sector() const;
    /// The times at the edges of the drawable width, each the same distance from the centre.
    TimeSec left() const;
    TimeSec right() const;

    /// The time under a finger at `x` points from the ruler's left edge; the centre for NaN.
    TimeSec timeAt(double x) const;
    /// Where the tick of `time` stands and a recording from then on begins, or `noPlace`.
    float trackX(TimeSec time) const;
    /// Where the knob of `time` stands and a recording until then ends, a leading margin before its tick, or `noPlace`.
    float knobX(TimeSec time) const;

    /// The centre that shows all of `range`, or where it does not fit, its beginning at the left edge.
    TimeSec centerFor(const RulerRange& range) const;
    /// The centre a sector later or earlier, where the view then stays within the range. Nothing, and the ruler stands,
    /// where the view reaches past that end of the range already.
    std::optional<TimeSec> nextSector(const std::optional<RulerRange>& range) const;
    std::optional<TimeSec> prevSector(const std::optional<RulerRange>& range) const;

    bool operator==(const RulerWindow&) const = default;

  private:
    TimeSec half() const;
};

}  // namespace korvane
