#include "korvane/toolkit/Control.h"

#include <cmath>
#include <utility>

#include "korvane/toolkit/TapRecognizer.h"

namespace korvane {
namespace {

constexpr double dragDistance = 4;  // points

}  // namespace

Control::Control(QQuickItem* parent) : PointerInput(parent) {}

Control::~Control() = default;

bool Control::beginTrackingWithTouch(Point /*at*/) {
    return true;
}

bool Control::continueTrackingWithTouch(Point /*at*/) {
    return true;
}

void Control::endTrackingWithTouch(Point /*at*/) {}

void Control::cancelTrackingWithEvent() {}

void Control::sendActionsForControlEvents(int controlEvents) {
    if ((controlEvents & ControlEventValueChanged) != 0) emit valueChanged();
}

void Control::addGestureRecognizer(std::shared_ptr<TapRecognizer> recognizer) {
    if (recognizer) recognizers_.push_back(std::move(recognizer));
}

void Control::removeGestureRecognizer(const std::shared_ptr<TapRecognizer>& recognizer) {
    const auto kept = recognizer;  // the argument may be the one in the list
    if (std::erase(recognizers_, kept) > 0) kept->touchCancelled();
}

void Control::pointerBegan(Point at, double time) {
    isDragged_ = false;
    pressed_ = at;
    for (const auto& recognizer : recognizers_) recognizer->touchBegan(at, time);
    isTracking_ = beginTrackingWithTouch(at);
}

void Control::pointerMoved(Point at, double /*time*/) {
    for (const auto& recognizer : recognizers_) recognizer->touchMoved(at);
    if (!isTracking_) return;
    isDragged_ = isDragged_ || std::hypot(at.x - pressed_.x, at.y - pressed_.y) > dragDistance;
    if (!continueTrackingWithTouch(at)) isTracking_ = false;
}

void Control::pointerEnded(Point at, double time, bool isForChild) {
    if (std::exchange(isTracking_, false)) endTrackingWithTouch(at);
    // One that an action removes has its touch cancelled, so it finds no tap any more.
    const auto recognizers = recognizers_;
    for (const auto& recognizer : recognizers) {
        isForChild ? recognizer->touchCancelled() : recognizer->touchEnded(at, time);
    }
}

void Control::pointerCancelled() {
    for (const auto& recognizer : recognizers_) recognizer->touchCancelled();
    if (std::exchange(isTracking_, false)) cancelTrackingWithEvent();
}

Control::Claim Control::pointerClaim() const {
    if (!isTracking_) return Claim::Shared;
    return isDragged_ ? Claim::Taken : Claim::Kept;
}

void Control::wheelTurned(double /*delta*/, Point /*at*/) {}

void Control::wheelEnded() {}

}  // namespace korvane
