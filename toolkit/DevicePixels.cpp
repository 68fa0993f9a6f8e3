#include "korvane/toolkit/DevicePixels.h"

#include <algorithm>
#include <cmath>

namespace korvane {
namespace {

// A little more than one half, so that two edges that touch round alike in spite of rounding errors.
constexpr double roundsUp = 0.5001;

}  // namespace

DevicePixels::DevicePixels(const QTransform& toDevice) {
    const bool isSnapped = toDevice.type() <= QTransform::TxScale && toDevice.m11() > 0 && toDevice.m22() > 0;
    if (!isSnapped) {
        x_.isSnapped = y_.isSnapped = false;
        return;
    }
    x_ = {toDevice.m11(), toDevice.dx(), true};
    y_ = {toDevice.m22(), toDevice.dy(), true};
}

double DevicePixels::Axis::edge(double value) const {
    if (!isSnapped) return value;
    return (std::floor(value * scale + offset + roundsUp) - offset) / scale;
}

double DevicePixels::Axis::pixels(double length) const {
    return isSnapped ? std::max(1.0, std::floor(length * scale + roundsUp)) : length;
}

// A line on the border of two cells is drawn by both, each its own half. Of an odd number of pixels the one in the
// middle belongs to the left cell: were it drawn by both, the line would be thicker than the others.
double DevicePixels::Axis::line(double middle, double width) const {
    if (!isSnapped) return middle;
    const double place = middle * scale + offset;
    const bool isOdd = std::fmod(pixels(width), 2.0) == 1.0;
    const double snapped = isOdd ? std::ceil(place - (roundsUp - 0.5)) - 0.5 : std::floor(place + roundsUp);
    return (snapped - offset) / scale;
}

QRectF DevicePixels::rect(const Rect& rect) const {
    return {QPointF(edgeX(rect.x), edgeY(rect.y)), QPointF(edgeX(rect.right()), edgeY(rect.bottom()))};
}

double DevicePixels::lineWidth(double width) const {
    return x_.isSnapped ? x_.pixels(width) / x_.scale : width;
}

QRectF DevicePixels::pictureRect(const Rect& rect) const {
    if (!x_.isSnapped) return {rect.x, rect.y, rect.width, rect.height};
    return {edgeX(rect.x), edgeY(rect.y), x_.pixels(rect.width) / x_.scale, y_.pixels(rect.height) / y_.scale};
}

QSize DevicePixels::pixelSize(const QRectF& rect) const {
    return QSizeF(rect.width() * x_.scale, rect.height() * y_.scale).toSize();
}

}  // namespace korvane
