#pragma once

#include "korvane/film/worker/LibAv.h"
#include "korvane/film/worker/MotionDetector.h"

namespace korvane {

/// Takes the coarse brightness of video frames of any size and format. Used by one thread.
class BrightnessGrid {
  public:
    /// False for a frame that cannot be read; `image` is then as before.
    bool sample(const AVFrame& frame, CellImage& image);

  private:
    bool convert(const AVFrame& frame, CellImage& image);

    AvScaler scaler_;
};

}  // namespace korvane
