#include "korvane/toolkit/TapRecognizer.h"

#include <cmath>
#include <string>

#include "korvane/base/Log.h"

namespace korvane {
namespace {

constexpr double tapDistance = 10;   // points
constexpr double tapDuration = 500;  // ms

}  // namespace

void TapRecognizer::setNumberOfTapsRequired(int taps) {
    if (taps != 1) logError("TapRecognizer", std::to_string(taps) + " taps are refused, only single ones are found");
}

void TapRecognizer::touchBegan(Point at, double time) {
    state_ = StatePossible;
    location_ = at;
    press_ = Press{at, time};
}

void TapRecognizer::touchMoved(Point at) {
    location_ = at;
    if (press_ && std::hypot(at.x - press_->at.x, at.y - press_->at.y) > tapDistance) touchCancelled();
}

void TapRecognizer::touchEnded(Point at, double time) {
    touchMoved(at);
    if (!press_) return;
    if (time - press_->time > tapDuration) return touchCancelled();
    press_.reset();
    state_ = StateEnded;
    const Action action = action_;  // it may set another one
    if (action) action(*this);
}

void TapRecognizer::touchCancelled() {
    if (press_) state_ = StateFailed;
    press_.reset();
}

}  // namespace korvane
