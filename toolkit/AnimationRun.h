#pragma once

#include <QAbstractAnimation>
#include <functional>
#include <memory>
#include <vector>

#include "base/Scheduler.h"

namespace korvane {

class AnimatedValue;

/// One animate() on its way: which values it moves, and what to call at its end. It keeps itself alive until then.
class AnimationRun final : public QAbstractAnimation, public std::enable_shared_from_this<AnimationRun> {
  public:
    enum class Curve { EaseInOut, Linear };

    static std::shared_ptr<AnimationRun> make(std::shared_ptr<Scheduler> scheduler, double seconds, Curve curve,
                                              std::function<void(bool)> finish);

    /// Moves `value` from what is seen of it to `target`.
    void take(AnimatedValue& value, double target);

    /// Forgets `value`. When that was the last one, gives what is to be called at the end, once.
    std::function<void()> release(AnimatedValue& value);

    /// The body has run: what it set begins to move.
    void begin();

    /// Ends an animation that has nothing to move any more, on the next turn of the main loop.
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
