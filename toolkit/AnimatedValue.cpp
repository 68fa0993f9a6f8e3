#include "korvane/toolkit/AnimatedValue.h"

#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/base/TaskGuard.h"
#include "korvane/toolkit/AnimationRun.h"
#include "korvane/toolkit/ToolkitContext.h"

namespace korvane {
namespace {

/// Animations that report their end together.
struct Group {
    std::shared_ptr<Group> outer;
    std::function<void()> completion;
    int pending = 1;  // commit() counts as one

    void leave() {
        if (--pending > 0) return;
        if (auto done = std::exchange(completion, nullptr)) detail::runGuarded(std::move(done), "Transaction");
        if (outer) outer->leave();
    }
};

std::shared_ptr<Group> currentGroup;

// The animation whose body runs; null outside, and within one that applies at once.
std::shared_ptr<AnimationRun> currentRun;

void runBody(const std::function<void()>& body, std::shared_ptr<AnimationRun> run) {
    const auto outer = std::exchange(currentRun, std::move(run));
    detail::runGuarded(body, "AnimatedValue");
    currentRun = outer;
}

void runAnimation(double duration, AnimationRun::Curve curve, const std::function<void()>& body,
                  Completion completion) {
    const auto scheduler = ToolkitContext::current()->scheduler;
    if (currentGroup) ++currentGroup->pending;
    auto finish = [completion = std::move(completion), group = currentGroup](bool finished) {
        if (completion) detail::runGuarded([&] { completion(finished); }, "AnimatedValue");
        if (group) group->leave();
    };
    if (duration > 0) {
        const auto run = AnimationRun::make(scheduler, duration, curve, std::move(finish));
        runBody(body, run);
        run->begin();
    } else {
        runBody(body, nullptr);
        scheduler->post([finish = std::move(finish)] { finish(true); });
    }
}

}  // namespace

AnimatedValue::AnimatedValue(double value, std::function<void()> seenChanged)
    : value_(value), seen_(value), seenChanged_(std::move(seenChanged)) {}

AnimatedValue::~AnimatedValue() {
    if (const auto run = std::exchange(run_, nullptr)) run->post(run->release(*this));
}

void AnimatedValue::setValue(double value) {
    if (!currentRun) {
        setValueAtOnce(value);
        return;
    }
    const auto before = std::exchange(run_, currentRun);
    if (before && before != currentRun) before->post(before->release(*this));
    value_ = value;
    run_->take(*this, value);
}

void AnimatedValue::setValueAtOnce(double value) {
    if (const auto run = std::exchange(run_, nullptr)) run->post(run->release(*this));
    value_ = value;
    show(value);
}

void AnimatedValue::shift(double delta) {
    value_ += delta;
    seen_ += delta;
    if (run_) run_->shift(*this, delta);
}

std::function<void()> AnimatedValue::stopWhereSeen() {
    value_ = seen_;
    const auto run = std::exchange(run_, nullptr);
    return run ? run->release(*this) : nullptr;
}

void AnimatedValue::show(double seen) {
    if (seen == seen_) return;
    seen_ = seen;
    // A copy, because the call may destroy this value.
    if (const auto changed = seenChanged_) changed();
}

void animate(double duration, const std::function<void()>& body, Completion completion) {
    runAnimation(duration, AnimationRun::Curve::EaseInOut, body, std::move(completion));
}

void animateKeyframes(double duration, const std::function<void()>& body, Completion completion) {
    runAnimation(duration, AnimationRun::Curve::Linear, body, std::move(completion));
}

void Transaction::begin() {
    if (currentGroup) ++currentGroup->pending;
    currentGroup = std::make_shared<Group>(Group{currentGroup, nullptr});
}

void Transaction::setCompletionBlock(std::function<void()> completion) {
    if (currentGroup) {
        currentGroup->completion = std::move(completion);
    } else {
        logError("Transaction", "setCompletionBlock: no transaction has begun");
    }
}

void Transaction::commit() {
    if (!currentGroup) {
        logError("Transaction", "commit: no transaction has begun");
        return;
    }
    const auto group = std::exchange(currentGroup, currentGroup->outer);
    if (group->pending > 1) {
        group->leave();
    } else {
        ToolkitContext::current()->scheduler->post([group] { group->leave(); });
    }
}

}  // namespace korvane
