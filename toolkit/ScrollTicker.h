#pragma once

#include <QAbstractAnimation>
#include <functional>
#include <utility>

namespace korvane {

/// Calls its handler with each frame, with the milliseconds since start(), until stop().
class ScrollTicker final : public QAbstractAnimation {
  public:
    explicit ScrollTicker(std::function<void(double elapsed)> tick) : tick_(std::move(tick)) {}

    int duration() const override { return -1; }

    /// Stops for good: the handler is not called again.
    void detach() {
        tick_ = nullptr;
        stop();
    }

  protected:
    void updateCurrentTime(int time) override {
        // A copy, because the call may detach.
        if (const auto tick = tick_) tick(time);
    }

  private:
    std::function<void(double)> tick_;
};

}  // namespace korvane
