#pragma once

#include <cstdint>

#include "korvane/film/worker/FilmRoom.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// Writes decoded frames into the room that is shared with the caller, as points of four bytes. Used by one thread.
class FrameConverter {
  public:
    struct Size {
        int width = 0;
        int height = 0;
    };

    /// `room` outlives the object.
    explicit FrameConverter(FilmRoom& room) : room_(room) {}

    /// Gives the answer that tells of the picture; Failed for a frame that has no points, or for want of room.
    FilmWords convert(const AVFrame& frame, Size size, int degrees);

  private:
    FilmRoom& room_;
    AvScaler scaler_;
};

}  // namespace korvane
