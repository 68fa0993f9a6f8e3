#pragma once

#include <string>

#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// Makes small JPEG pictures of video frames. Used by one thread.
class JpegEncoder {
  public:
    /// Pictures are at most this wide, with the frame's proportions.
    explicit JpegEncoder(int width = 320) : width_(width) {}

    /// JPEG bytes; empty when the frame cannot be coded.
    std::string encode(const AVFrame& frame);

  private:
    bool prepare(const AVFrame& frame);

    int width_;
    AvScaler scaler_;
    AvCodec encoder_;
    AvFrame picture_;
    int sourceWidth_ = 0;
    int sourceHeight_ = 0;
    int sourceFormat_ = AV_PIX_FMT_NONE;
};

}  // namespace korvane
