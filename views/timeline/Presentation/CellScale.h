#pragma once

#include "korvane/base/Time.h"

namespace korvane {

/// Ties points to time in a cell: the span from `start` to `end` (ms) lies over `width` points.
struct CellScale {
    TimeMs start = 0;
    TimeMs end = 0;
    double width = 0;

    /// The moment at `offset` points: a whole second, or `start` where that would lie outside of the span or the width
    /// is 0.
    TimeMs positionAt(double offset) const;

    /// The point of `position`, a multiple of 0.5; 0 for an empty span.
    double offsetOf(TimeMs position) const;
};

}  // namespace korvane
