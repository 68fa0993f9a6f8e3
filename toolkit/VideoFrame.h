#pragma once

#include <QImage>
#include <QSize>
#include <functional>

#include "korvane/base/ByteSource.h"
#include "korvane/film/FilmHelper.h"
#include "korvane/film/FilmTask.h"

namespace korvane {

/// Outcome of firstKeyFrame(): 0 and an upright picture, or another code of FrameGrabber.
struct VideoFrame {
    int result = 0;
    QImage image;
};

/// Has the first key frame of a film decoded in a process of its own, and scaled in proportion until it just covers
/// `bound`, if it is larger (empty for no bound). The film is the open file, or, where that is -1, what `bytes` hands
/// out. Blocks; `isOver` is asked often and breaks it off. Any thread.
VideoFrame firstKeyFrame(FilmHelper& helper, int file, ByteSource* bytes, QSize bound,
                         const std::function<bool()>& isOver);

/// The picture of which an answer tells, upright, with points of its own; null for none.
QImage toImage(FilmNews& answer, const FilmTask& task);

}  // namespace korvane
