#pragma once

#include <QRectF>
#include <QSize>
#include <QTransform>

#include "korvane/base/Geometry.h"

namespace korvane {

/// Where device pixels lie under a transform from points to them. Under one that turns or shears, nothing is moved.
class DevicePixels {
  public:
    explicit DevicePixels(const QTransform& toDevice);

    /// The nearest borders between pixels; edges that touch stay together.
    double edgeX(double x) const { return x_.edge(x); }
    double edgeY(double y) const { return y_.edge(y); }
    QRectF rect(const Rect& rect) const;

    /// The nearest place of a line's middle at which it covers whole pixels.
    double lineX(double x, double width) const { return x_.line(x, width); }
    double lineY(double y, double width) const { return y_.line(y, width); }
    /// The nearest whole number of pixels, at least one; in points.
    double lineWidth(double width) const;

    /// The nearest place of a picture, whose size in pixels does not depend on where it lies.
    QRectF pictureRect(const Rect& rect) const;
    QSize pixelSize(const QRectF& rect) const;

  private:
    struct Axis {
        double scale = 1;
        double offset = 0;
        bool isSnapped = true;

        double edge(double value) const;
        double line(double middle, double width) const;
        double pixels(double length) const;
    };
    Axis x_;
    Axis y_;
};

}  // namespace korvane
