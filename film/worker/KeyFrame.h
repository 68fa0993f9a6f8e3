#pragma once

#include "korvane/film/worker/AvSource.h"
#include "korvane/film/worker/FrameConverter.h"

namespace korvane {

/// Decodes the film's first key frame and gives it as FrameConverter does, scaled in proportion until it just covers
/// `bound` if it is larger; a bound without points is none.
FilmWords firstKeyFrame(const AvSource& source, FrameConverter::Size bound, FrameConverter& converter);

}  // namespace korvane
