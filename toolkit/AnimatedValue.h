#pragma once

#include <functional>
#include <memory>

#include "korvane/toolkit/IndexPath.h"

namespace korvane {

class AnimationRun;

/// A number that takes a new value at once and, when that was set within animate(), is seen to move there. A newer
/// value takes over from what is seen: within animate() it moves on from there, otherwise it is seen at once. Main
/// thread only.
class AnimatedValue {
  public:
    /// `seenChanged` is called after each change of seen(); it may destroy the value.
    explicit AnimatedValue(double value = 0, std::function<void()> seenChanged = {});
    /// Leaves its animation, whose completion runs with finished false when nothing else moves in it.
    ~AnimatedValue();

    AnimatedValue(const AnimatedValue&) = delete;
    AnimatedValue& operator=(const AnimatedValue&) = delete;

    double value() const { return value_; }
    double seen() const { return seen_; }
    bool isMoving() const { return run_ != nullptr; }

    void setValue(double value);

    /// As setValue() outside of animate(), wherever it is called.
    void setValueAtOnce(double value);

    /// Adds `delta` to value(), to seen() and to both ends of a running animation, without a callback.
    void shift(double delta);

    /// Gives up the rest of the way: value() becomes seen(). When nothing else moves in that animation, its completion
    /// is returned for the caller to run, and is empty otherwise.
    std::function<void()> stopWhereSeen();

  private:
    friend class AnimationRun;
    void show(double seen);

    double value_;
    double seen_;
    std::function<void()> seenChanged_;
    std::shared_ptr<AnimationRun> run_;
};

/// Runs `body` at once; what it sets in AnimatedValues (a collection view's content offset, a LayoutConstraint's
/// constant) is seen to move over `duration` seconds, slow at both ends. `completion` runs exactly once on the main
/// thread: with true when the time has passed, also when body moved nothing; with false, on the next turn of the main
/// loop, when newer values or destruction took everything that moved. A duration of 0 or below (or not a number)
/// applies at once, and completion runs with true on the next turn of the main loop. Scopes nest, each with its own
/// duration. `body` and `completion` may be empty. Main thread only.
void animate(double duration, const std::function<void()>& body, Completion completion = {});

/// As animate(), at constant speed.
void animateKeyframes(double duration, const std::function<void()>& body, Completion completion = {});

/// Groups animations: what was started between begin() and commit() reports its end together. Transactions nest.
/// Main thread only.
class Transaction {
  public:
    static void begin();

    /// Runs exactly once, after the completions of the group's animations; on the next turn of the main loop when there
    /// are none. Replaces the one set before. Without begin() it is refused with a log line.
    static void setCompletionBlock(std::function<void()> completion);

    /// Without begin() it is refused with a log line.
    static void commit();
};

}  // namespace korvane
