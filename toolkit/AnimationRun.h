#pragma once

#include <QAbstractAnimation>
#include <functional>
#include <memory>
#include <vector>

#include "korvane/base/Scheduler.h"

namespace korvane {

class AnimatedValue;

/// A running animate(): the values that it moves, and its completion. Keeps itself alive until it ends. Main thread
/// only.
class AnimationRun final : public QAbstractAnimation, public std::enable_shared_from_this<AnimationRun> {
  public:
    enum class Curve { EaseInOut, Linear };

    static std::shared_ptr<AnimationRun> make(std::shared_ptr<Scheduler> scheduler, double seconds, Curve curve,
                                              std::function<void(bool)> finish);

    /// Animates `value` from its seen() to `target`.
    void take(AnimatedValue& value, double target);

    /// Adds `delta` to both ends of the animation of `value`.
    void shift(AnimatedValue& value, double delta);

    /// Stops animating `value`. When it was the last one, gives the completion, which the caller runs.
    std::function<void()> release(AnimatedValue& value);

    /// Called when the body has run; starts the animation.
    void begin();

    /// Runs a completion that release() has given, on the next turn of the main loop; empty ones are ignored.
    void post(std::function<void()> finish);

    int duration() const override { return duration_; }

  protected:
    void updateCurrentTime(int time) override;
    void updateState(State newState, State oldState) override;

  private:
    struct Track {
        AnimatedValue* value;
        double from;
        double to;
    };

    AnimationRun(std::shared_ptr<Scheduler> scheduler, int duration, Curve curve, std::function<void(bool)> finish);
    void dropTracks();
    std::function<void()> abandon();
    void end();
    static std::vector<std::shared_ptr<AnimationRun>>& running();

    std::shared_ptr<Scheduler> scheduler_;
    int duration_;
    Curve curve_;
    std::function<void(bool)> finish_;
    std::vector<Track> tracks_;
    bool hasMoved_ = false;
    bool hasBegun_ = false;
};

}  // namespace korvane
