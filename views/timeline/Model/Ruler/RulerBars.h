#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "korvane/client/Timeline.h"
#include "korvane/views/timeline/Model/Ruler/RulerWindow.h"

namespace korvane {

/// From `x0` to `x1` in points from the ruler's left edge, `x0` <= `x1`, both finite.
struct RulerBar {
    float x0 = 0;
    float x1 = 0;
    bool operator==(const RulerBar&) const = default;
};

/// The bars that show the recordings of one sector, handed out one by one from left to right. A recording is a bar of
/// its own, but where a sector has more of them in view than they take points, and more than 64, bars that touch come
/// as one, so that the work follows the points. Allocates nothing. Reads the sector, which must outlive it and stay as
/// it is.
///
/// A bar begins a leading margin after its time and ends at its time; where that leaves nothing, it is a point wide. A
/// recording that begins exactly at the left edge and lasts to the right edge or longer has no bar, nor has one that
/// began earlier and ends exactly at the right edge. Periods out of order or overlapping may be shown wrongly, but harm
/// nothing.
class RulerBars {
  public:
    /// `sector` is in seconds; null and one without periods have no bars. With `trackFillMode` 1 bars end at `knobX`
    /// and none begins after it; a `knobX` of 0 or below leaves no bar.
    RulerBars(const Timeline* sector, const RulerWindow& window, std::int32_t trackFillMode, float knobX);

    /// The next bar, or nothing when there are no more.
    std::optional<RulerBar> next();

  private:
    using Index = std::int32_t;

    const TimelinePair& period(Index index) const { return (*periods_)[static_cast<std::size_t>(index)]; }
    /// As the window's `knobX` and `trackX`, without working out its left edge for each of a great many periods.
    float along(TimeSec time) const { return static_cast<float>(saturatingSubtract(time, left_)) / scale_; }
    float trackX(TimeSec time) const { return RulerWindow::leadingMargin + along(time); }
    void findJoined();
    std::optional<RulerBar> barOf(Index index) const;
    std::optional<RulerBar> nextJoined();
    std::optional<RulerBar> played(std::optional<RulerBar> bar) const;
    Index lastBeginningBy(float x) const;

    float scale_ = 0;
    TimeSec left_ = 0;
    TimeSec right_ = 0;
    float drawable_ = 0;
    std::int32_t trackFillMode_ = 0;
    float knobX_ = 0;
    const std::vector<TimelinePair>* periods_ = nullptr;
    /// The period that comes next and the last one.
    Index index_ = 0;
    Index last_ = -1;
    /// The periods from the first to before the second lie within the view and are joined.
    Index joinedBegin_ = 0;
    Index joinedEnd_ = 0;
};

}  // namespace korvane
