#include "korvane/toolkit/AnimationRun.h"

#include <QCoreApplication>
#include <QEasingCurve>
#include <algorithm>
#include <utility>

#include "korvane/toolkit/AnimatedValue.h"
#include "korvane/toolkit/DeleteLater.h"

namespace korvane {
namespace {

double eased(AnimationRun::Curve curve, double progress) {
    static const QEasingCurve easeInOut(QEasingCurve::InOutSine);
    return curve == AnimationRun::Curve::Linear ? progress : easeInOut.valueForProgress(progress);
}

int milliseconds(double seconds) {
    constexpr double longest = 1e9;
    return std::max(1, static_cast<int>(std::min(seconds * 1000, longest) + 0.5));
}

}  // namespace

AnimationRun::AnimationRun(std::shared_ptr<Scheduler> scheduler, int duration, Curve curve,
                           std::function<void(bool)> finish)
    : scheduler_(std::move(scheduler)), duration_(duration), curve_(curve), finish_(std::move(finish)) {}

std::shared_ptr<AnimationRun> AnimationRun::make(std::shared_ptr<Scheduler> scheduler, double seconds, Curve curve,
                                                 std::function<void(bool)> finish) {
    std::shared_ptr<AnimationRun> run(
        new AnimationRun(std::move(scheduler), milliseconds(seconds), curve, std::move(finish)), DeleteLater());
    running().push_back(run);
    return run;
}

// Qt's animation timer goes away with the application object, so the runs are ended with it.
std::vector<std::shared_ptr<AnimationRun>>& AnimationRun::running() {
    static std::vector<std::shared_ptr<AnimationRun>> runs;
    static bool isWatching = false;
    if (!isWatching) {
        isWatching = true;
        qAddPostRoutine([] {
            isWatching = false;
            for (const auto& run : std::exchange(runs, {})) {
                run->dropTracks();
                run->finish_ = nullptr;
            }
        });
    }
    return runs;
}

void AnimationRun::take(AnimatedValue& value, double target) {
    hasMoved_ = true;
    const auto known = std::find_if(tracks_.begin(), tracks_.end(), [&](const Track& t) { return t.value == &value; });
    if (known == tracks_.end()) {
        tracks_.push_back({&value, value.seen(), target});
    } else {
        known->to = target;
    }
}

void AnimationRun::shift(AnimatedValue& value, double delta) {
    for (Track& track : tracks_) {
        if (track.value != &value) continue;
        track.from += delta;
        track.to += delta;
    }
}

std::function<void()> AnimationRun::release(AnimatedValue& value) {
    std::erase_if(tracks_, [&](const Track& track) { return track.value == &value; });
    return hasBegun_ && tracks_.empty() ? abandon() : nullptr;
}

void AnimationRun::begin() {
    hasBegun_ = true;
    if (hasMoved_ && tracks_.empty()) {
        post(abandon());
    } else {
        start();
    }
}

void AnimationRun::post(std::function<void()> finish) {
    if (finish) scheduler_->post(std::move(finish));
}

std::function<void()> AnimationRun::abandon() {
    const auto self = shared_from_this();
    auto finish = std::exchange(finish_, nullptr);
    std::erase(running(), self);
    stop();
    return finish ? [finish = std::move(finish)] { finish(false); } : std::function<void()>();
}

void AnimationRun::dropTracks() {
    for (const Track& track : std::exchange(tracks_, {})) track.value->run_ = nullptr;
}

// A callback may set other values or destroy this one, so the list may change in every step.
void AnimationRun::updateCurrentTime(int time) {
    const auto self = shared_from_this();
    const double progress = eased(curve_, std::min(1.0, static_cast<double>(time) / duration_));
    const auto moving = tracks_;
    for (const Track& each : moving) {
        const auto track =
            std::find_if(tracks_.begin(), tracks_.end(), [&](const Track& now) { return now.value == each.value; });
        if (track == tracks_.end()) continue;
        track->value->show(progress >= 1 ? track->to : track->from + (track->to - track->from) * progress);
    }
}

void AnimationRun::updateState(State newState, State /*oldState*/) {
    if (newState == Stopped && currentTime() >= duration_) end();
}

void AnimationRun::end() {
    const auto self = shared_from_this();
    std::erase(running(), self);
    dropTracks();
    if (const auto finish = std::exchange(finish_, nullptr)) finish(true);
}

}  // namespace korvane
