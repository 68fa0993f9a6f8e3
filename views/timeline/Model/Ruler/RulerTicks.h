#pragma once

#include <cstdint>
#include <optional>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"

namespace korvane {

/// How a ruler sets its ticks and their labels.
struct RulerTickStyle {
    /// Points from tick to tick. Below 1 or not finite, there are no ticks.
    float strokeStepWidth = 0;
    /// 1 labels every other tick, from the first on; all others label every tick.
    std::int32_t strokeTextNamingType = 0;
    /// 0 sets labels below and above in turn, 2 all below, others all above.
    std::int32_t strokeTextPositionType = 0;
};

struct RulerTick {
    /// Counts from 1.
    int index = 0;
    double x = 0;
    /// A multiple of the ticks' step, counted from the epoch.
    TimeSec time = 0;
    /// Whether the tick stands on the axis and its line is drawn.
    bool hasLine = false;
    bool hasLabel = false;
    bool isLabelBelow = false;
};

/// The ticks of a ruler from left to right. There are at most two more than the drawable width has points, and none
/// where a tick is less than a second. A plain value; allocates nothing.
class RulerTicks {
  public:
    RulerTicks(const RulerWindow& window, const RulerTickStyle& style);

    /// Ticks whose place or time would not fit their type are left out.
    int count() const { return count_; }

    /// `index` is from 1 to `count()`; others give a tick at 0 with neither line nor label.
    RulerTick tick(int index) const;

    /// The left edge of the label of a tick at `x` whose text is `textWidth` points wide, moved inside the axis.
    /// Nothing where the tick stands at the axis' end or beyond: neither it nor a later one has a label. Nor has a text
    /// whose width is negative or not finite.
    std::optional<double> labelX(double x, double textWidth) const;

    /// The top edge of a label in a ruler of `height` points.
    static double labelY(bool isLabelBelow, double height) { return isLabelBelow ? height * 3 * 0.25 + 2.0 : 0; }

  private:
    std::optional<TimeSec> timeOf(int index) const;
    float placeOf(int index) const;

    RulerTickStyle style_;
    double drawable_ = 0;
    TimeSec step_ = 0;
    TimeSec quotient_ = 0;
    TimeSec shift_ = 0;
    int count_ = 0;
};

}  // namespace korvane
