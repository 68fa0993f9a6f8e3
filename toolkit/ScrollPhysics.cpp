#include "korvane/toolkit/ScrollPhysics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace korvane {
namespace {

constexpr double dragThreshold = 10;        // points
constexpr double decelerationRate = 0.998;  // of the velocity that is left after a millisecond
constexpr double springRate = 0.012;        // per ms, critically damped
constexpr double bandStiffness = 0.55;      // share of the pull that the strip follows at its end
constexpr double flickVelocity = 0.1;       // points per ms, below which a lifted finger just lets go
constexpr double restVelocity = 0.01;       // points per ms, at which a deceleration is over
constexpr double maximumVelocity = 10;      // points per ms
constexpr double settledDistance = 0.5;     // points
constexpr double velocityWindow = 80;       // ms of the drag that count for its velocity
constexpr double holdTime = 50;             // ms without motion after which a finger counts as still
constexpr double never = std::numeric_limits<double>::infinity();

const double decay = std::log(decelerationRate);

}  // namespace

void ScrollPhysics::setOffset(double offset) {
    offset_ = offset;
    if (phase_ == Phase::Decelerating || byWheel_) phase_ = Phase::Resting;
    byWheel_ = false;
    if (phase_ == Phase::Dragging) anchorDrag(dragX_);
}

ScrollPhysics::Change ScrollPhysics::setBounds(const ScrollBounds& bounds, std::optional<double> offset) {
    const double before = offset_;
    if (bounds == bounds_ && offset.value_or(before) == before) return {};
    const double kept = std::clamp(overshoot(offset_), -bounds_.viewport / 2, bounds_.viewport / 2);
    bounds_ = bounds;
    bounds_.maximum = std::max(bounds.minimum, bounds.maximum);
    const double velocity = phase_ == Phase::Decelerating ? velocityAt(elapsed_) : 0;
    if (offset) offset_ = *offset;
    switch (phase_) {
        case Phase::Resting:
        case Phase::Touched:
            if (offset) break;
            offset_ = std::clamp(offset_, bounds_.minimum + std::min(0.0, kept), bounds_.maximum + std::max(0.0, kept));
            break;
        case Phase::Dragging:
            if (byWheel_ && !offset) offset_ = std::clamp(offset_, bounds_.minimum, bounds_.maximum);
            anchorDrag(dragX_);
            break;
        case Phase::Decelerating: {
            const double over = overshoot(offset_);
            motion_ = {over != 0, elapsed_, offset_, velocity, offset_ - over};
            break;
        }
    }
    return {.scrolled = offset_ != before};
}

ScrollPhysics::Change ScrollPhysics::press(Point pointer, double time, bool isMoving) {
    sampleCount_ = 0;
    addSample(pointer.x, time);
    pressed_ = pointer;
    strayed_ = false;
    isAcross_ = false;
    if (phase_ == Phase::Dragging) {
        byWheel_ = false;
        anchorDrag(pointer.x);
        return {};
    }
    if (phase_ == Phase::Decelerating || isMoving) {
        beginDrag(pointer.x);
        return {.began = true};
    }
    phase_ = Phase::Touched;
    return {};
}

ScrollPhysics::Change ScrollPhysics::move(Point pointer, double time) {
    if (byWheel_ || (phase_ != Phase::Touched && phase_ != Phase::Dragging)) return {};
    addSample(pointer.x, time);
    Change change;
    if (phase_ == Phase::Touched) {
        const double dx = pointer.x - pressed_.x;
        const double dy = pointer.y - pressed_.y;
        if (std::hypot(dx, dy) > dragThreshold) strayed_ = true;
        isAcross_ = std::abs(dx) > std::abs(dy);
        if (std::abs(dx) <= dragThreshold || std::abs(dx) < std::abs(dy)) return {};
        beginDrag(pressed_.x + std::copysign(dragThreshold, dx));
        change.began = true;
    }
    const double before = offset_;
    rawOffset_ += dragX_ - pointer.x;
    dragX_ = pointer.x;
    offset_ = banded(rawOffset_);
    change.scrolled = offset_ != before;
    return change;
}

ScrollPhysics::Change ScrollPhysics::release(double time) {
    if (phase_ == Phase::Touched) {
        phase_ = Phase::Resting;
        return {.tapped = !strayed_};
    }
    if (phase_ != Phase::Dragging || byWheel_) return {};
    return startDeceleration(releaseVelocity(time));
}

ScrollPhysics::Change ScrollPhysics::cancel() {
    if (phase_ == Phase::Touched) phase_ = Phase::Resting;
    if (phase_ != Phase::Dragging || byWheel_) return {};
    return startDeceleration(0);
}

ScrollPhysics::Change ScrollPhysics::wheel(double delta) {
    Change change;
    if (phase_ == Phase::Touched || (phase_ == Phase::Dragging && !byWheel_)) return change;
    if (phase_ != Phase::Dragging) {
        phase_ = Phase::Dragging;
        byWheel_ = true;
        change.began = true;
    }
    const double before = offset_;
    offset_ = std::clamp(offset_ + delta, std::min(bounds_.minimum, offset_), std::max(bounds_.maximum, offset_));
    change.scrolled = offset_ != before;
    return change;
}

ScrollPhysics::Change ScrollPhysics::endWheel() {
    if (phase_ != Phase::Dragging || !byWheel_) return {};
    byWheel_ = false;
    return startDeceleration(0);
}

ScrollPhysics::Change ScrollPhysics::advance(double elapsed) {
    if (phase_ != Phase::Decelerating) return {};
    const double before = offset_;
    elapsed_ = std::max(elapsed, elapsed_);
    bool ended = false;
    for (double border = nextBorder(); !ended; border = nextBorder()) {
        const double end = motion_.isSpring ? never : freeEnd();
        if (elapsed_ < std::min(border, end)) break;
        if (border > end) {
            elapsed_ = end;
            ended = true;
        } else {
            const double velocity = velocityAt(border);
            const double edge = motion_.isSpring ? motion_.anchor : velocity < 0 ? bounds_.minimum : bounds_.maximum;
            motion_ = {!motion_.isSpring, border, edge, velocity, edge};
        }
    }
    offset_ = positionAt(elapsed_);
    if (motion_.isSpring && std::abs(offset_ - motion_.anchor) < settledDistance &&
        std::abs(velocityAt(elapsed_)) < 2 * restVelocity) {
        offset_ = motion_.anchor;
        ended = true;
    }
    if (ended) phase_ = Phase::Resting;
    return {.scrolled = offset_ != before, .ended = ended};
}

void ScrollPhysics::beginDrag(double x) {
    phase_ = Phase::Dragging;
    byWheel_ = false;
    anchorDrag(x);
}

// The pointer at x holds the strip as it lies now. The band is at least twice as long as what is pulled out already, so
// that any offset has a pull that explains it.
void ScrollPhysics::anchorDrag(double x) {
    band_ = std::max({bounds_.viewport, 2 * std::abs(overshoot(offset_)), 1.0});
    rawOffset_ = unbanded(offset_);
    dragX_ = x;
}

void ScrollPhysics::addSample(double x, double time) {
    if (sampleCount_ == maxSamples) {
        std::move(samples_.begin() + 1, samples_.end(), samples_.begin());
        --sampleCount_;
    }
    samples_[sampleCount_++] = {x, time};
}

double ScrollPhysics::releaseVelocity(double time) const {
    const Sample& last = samples_[sampleCount_ - 1];
    if (time - last.time > holdTime) return 0;
    const Sample* first = &last;
    for (std::size_t i = 0; i < sampleCount_; ++i) {
        if (last.time - samples_[i].time <= velocityWindow) {
            first = &samples_[i];
            break;
        }
    }
    const double duration = last.time - first->time;
    if (!(duration > 0)) return 0;
    return std::clamp((first->x - last.x) / duration, -maximumVelocity, maximumVelocity);
}

ScrollPhysics::Change ScrollPhysics::startDeceleration(double velocity) {
    const double over = overshoot(offset_);
    Change change{.ended = true, .willDecelerate = over != 0 || std::abs(velocity) >= flickVelocity};
    if (!change.willDecelerate) {
        phase_ = Phase::Resting;
        return change;
    }
    // Beyond the end the strip moves slower than the finger.
    if (over != 0) {
        const double pull = std::abs(unbanded(offset_) - (offset_ - over)) * bandStiffness / band_ + 1;
        velocity *= bandStiffness / (pull * pull);
    }
    phase_ = Phase::Decelerating;
    elapsed_ = 0;
    motion_ = {over != 0, 0, offset_, velocity, offset_ - over};
    return change;
}

// Negative before the first offset of rest, positive behind the last, 0 between.
double ScrollPhysics::overshoot(double offset) const {
    return offset - std::clamp(offset, bounds_.minimum, bounds_.maximum);
}

double ScrollPhysics::banded(double raw) const {
    const double over = overshoot(raw);
    if (over == 0) return raw;
    const double shown = (1 - 1 / (std::abs(over) * bandStiffness / band_ + 1)) * band_;
    return raw - over + std::copysign(shown, over);
}

double ScrollPhysics::unbanded(double offset) const {
    const double over = overshoot(offset);
    if (over == 0) return offset;
    const double pull = (1 / (1 - std::abs(over) / band_) - 1) * band_ / bandStiffness;
    return offset - over + std::copysign(pull, over);
}

double ScrollPhysics::positionAt(double time) const {
    const double t = time - motion_.start;
    if (!motion_.isSpring) return motion_.position + motion_.velocity * std::expm1(decay * t) / decay;
    const double out = motion_.position - motion_.anchor;
    return motion_.anchor + (out + (motion_.velocity + springRate * out) * t) * std::exp(-springRate * t);
}

double ScrollPhysics::velocityAt(double time) const {
    const double t = time - motion_.start;
    if (!motion_.isSpring) return motion_.velocity * std::exp(decay * t);
    const double out = motion_.position - motion_.anchor;
    const double slope = motion_.velocity + springRate * out;
    return (slope - springRate * (out + slope * t)) * std::exp(-springRate * t);
}

double ScrollPhysics::freeEnd() const {
    const double speed = std::abs(motion_.velocity);
    return speed <= restVelocity ? motion_.start : motion_.start + std::log(restVelocity / speed) / decay;
}

// When the motion leaves the bounds, or on a spring comes back into them.
double ScrollPhysics::nextBorder() const {
    if (motion_.isSpring) {
        const double out = motion_.position - motion_.anchor;
        const double slope = motion_.velocity + springRate * out;
        const bool crosses = out != 0 && slope != 0 && -out / slope > 0;
        return crosses ? motion_.start - out / slope : never;
    }
    if (motion_.velocity == 0) return never;
    const double way = (motion_.velocity < 0 ? bounds_.minimum : bounds_.maximum) - motion_.position;
    const double left = 1 + decay * way / motion_.velocity;  // share of the velocity when it gets there
    return left > 0 ? motion_.start + std::log(std::min(left, 1.0)) / decay : never;
}

}  // namespace korvane
