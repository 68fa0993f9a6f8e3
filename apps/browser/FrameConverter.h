#pragma once

#include <QImage>

#include "korvane/apps/browser/FilmTypes.h"

namespace korvane {

/// Turns decoded frames into upright images. Used by one thread.
class FrameConverter {
  public:
    /// `degrees`, clockwise, stand the picture upright.
    void setRotation(double degrees) { degrees_ = degrees; }

    /// A null image for a frame that has no points, or for want of memory.
    QImage convert(const AVFrame& frame);

  private:
    FilmScaler scaler_;
    double degrees_ = 0;
};

}  // namespace korvane
