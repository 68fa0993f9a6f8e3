#pragma once

#include <cstdint>

namespace korvane {

/// Controls of the time ruler, as bits of a set. A clear bit hides the control.
enum TimelineControls : std::int32_t {
    TimelineControlRightButton = 1,
    TimelineControlLeftButton = 2,
    TimelineControlCalendarButton = 4,
    TimelineControlScaleControl = 8,
};

/// Settings of the time ruler. A plain value; it takes effect when the ruler applies it.
class TimelineConfig {
  public:
    TimelineConfig() = default;

    void resetToDefault() { *this = TimelineConfig(); }

    std::int32_t controls() const { return controls_; }
    void setControls(std::int32_t controls) { controls_ = controls; }

    /// A new record with the values of `config`, or with the defaults for null.
    static TimelineConfig makeCopy(const TimelineConfig* config) { return config ? *config : TimelineConfig(); }

    bool operator==(const TimelineConfig&) const = default;

  private:
    std::int32_t controls_ = TimelineControlRightButton | TimelineControlLeftButton | TimelineControlCalendarButton |
                             TimelineControlScaleControl;
};

}  // namespace korvane
