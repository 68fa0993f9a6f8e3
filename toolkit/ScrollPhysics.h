#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "korvane/base/Geometry.h"

namespace korvane {

/// How far a strip scrolls: the offsets at which it may rest, and the width of what shows, all in points.
struct ScrollBounds {
    double minimum = 0;
    double maximum = 0;
    double viewport = 0;
    bool operator==(const ScrollBounds&) const = default;
};

/// How a strip follows a pointer along x: drag, flick, rubber band. A pure state machine over positions in points and
/// times in milliseconds; it reads no clock and calls nobody. Each input tells what came of it, and the caller tells
/// its delegate in this order: began, scrolled, ended.
class ScrollPhysics {
  public:
    enum class Phase { Resting, Touched, Dragging, Decelerating };

    struct Change {
        bool began = false;           ///< a drag has begun
        bool scrolled = false;        ///< the offset has changed
        bool ended = false;           ///< the drag, or for advance() the deceleration, is over
        bool willDecelerate = false;  ///< with ended of a drag: advance() goes on with it
        bool tapped = false;          ///< the finger was lifted where it came down
    };

    Phase phase() const { return phase_; }
    double offset() const { return offset_; }
    const ScrollBounds& bounds() const { return bounds_; }

    /// The finger drags, or is about to: what it has done so far goes along x.
    bool isHeadedAcross() const { return phase_ == Phase::Dragging || (phase_ == Phase::Touched && isAcross_); }

    /// Puts the strip somewhere, also outside the bounds. A finger's drag goes on from there; a deceleration and a
    /// burst of the wheel are over.
    void setOffset(double offset);

    /// A finger is down on the strip, whether it has moved or not.
    bool isHeld() const { return phase_ == Phase::Touched || (phase_ == Phase::Dragging && !byWheel_); }

    /// Content or viewport has changed. What moves goes on from where it is, towards the new bounds; what rests is
    /// brought in, but not nearer than setOffset() had put it. With `offset` the content has moved under the strip,
    /// which then lies there, also outside the bounds.
    Change setBounds(const ScrollBounds& bounds, std::optional<double> offset = std::nullopt);

    /// A finger comes down. On a strip that moves, by deceleration or as `isMoving` says, the drag begins at once.
    Change press(Point pointer, double time, bool isMoving);
    Change move(Point pointer, double time);
    Change release(double time);

    /// The finger was taken away by somebody else: a drag ends without a flick, and there is no tap.
    Change cancel();

    /// A turn of the wheel, by `delta` points of offset, within the bounds. The first of a burst begins a drag.
    Change wheel(double delta);
    /// The burst is over.
    Change endWheel();

    /// Goes on with a deceleration: `elapsed` is the time since release().
    Change advance(double elapsed);

  private:
    struct Sample {
        double x = 0;
        double time = 0;
    };
    /// A piece of deceleration in closed form, from `start` on: free, or on a spring towards `anchor`.
    struct Motion {
        bool isSpring = false;
        double start = 0;
        double position = 0;
        double velocity = 0;
        double anchor = 0;
    };

    void beginDrag(double x);
    void anchorDrag(double x);
    void addSample(double x, double time);
    double releaseVelocity(double time) const;
    Change startDeceleration(double velocity);
    double overshoot(double offset) const;
    double banded(double raw) const;
    double unbanded(double offset) const;
    double positionAt(double time) const;
    double velocityAt(double time) const;
    double freeEnd() const;
    double nextBorder() const;

    Phase phase_ = Phase::Resting;
    bool byWheel_ = false;
    bool strayed_ = false;
    bool isAcross_ = false;
    double offset_ = 0;
    ScrollBounds bounds_;
    Point pressed_;
    double dragX_ = 0;
    double rawOffset_ = 0;
    double band_ = 1;
    Motion motion_;
    double elapsed_ = 0;
    static constexpr std::size_t maxSamples = 16;
    std::array<Sample, maxSamples> samples_;
    std::size_t sampleCount_ = 0;
};

}  // namespace korvane
