#pragma once

#include <cstdint>

namespace korvane {

/// Bits of CalendarConfig::controls(): what a calendar shows beside its days. Other bits show nothing.
enum CalendarControls : std::int32_t {
    CalendarControlMonths = 1,  ///< the month's name, and the buttons of the previous and the next month
    CalendarControlClose = 16,  ///< the button that closes the calendar; Escape does the same
};

/// The settings of a calendar. Main thread only.
class CalendarConfig {
  public:
    /// Bits of CalendarControls; months and close at first, which is 17.
    std::int32_t controls() const { return controls_; }
    void setControls(std::int32_t controls) { controls_ = controls; }

    /// The loading mark is on from applyConfig() on, until showLoading(false). Off at first.
    bool showLoadingOnStart() const { return showLoadingOnStart_; }
    void setShowLoadingOnStart(bool isOn) { showLoadingOnStart_ = isOn; }

  private:
    std::int32_t controls_ = CalendarControlMonths | CalendarControlClose;
    bool showLoadingOnStart_ = false;
};

}  // namespace korvane
