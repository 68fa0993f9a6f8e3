#include "korvane/toolkit/LayoutConstraint.h"

#include <cmath>

#include "korvane/base/Log.h"

namespace korvane {

LayoutConstraint::LayoutConstraint(QObject* parent) : QObject(parent), value_(0, [this] { emit seenChanged(); }) {}

void LayoutConstraint::setConstant(double points) {
    if (!std::isfinite(points)) {
        logError("LayoutConstraint", "setConstant: not a finite length");
        return;
    }
    const bool isNew = points != value_.value();
    value_.setValue(points);
    if (isNew) emit constantChanged();
}

}  // namespace korvane
