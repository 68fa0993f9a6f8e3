#pragma once

#include <QImage>
#include <QSize>
#include <functional>
#include <string>

namespace korvane {

/// Outcome of firstKeyFrame(): 0 and an upright picture, or another code.
struct VideoFrame {
    int result = 0;
    QImage image;
};

/// Opens `url` (http, https or an absolute path of a file), decodes its first key frame and scales it in proportion
/// until it just covers `bound`, if it is larger (empty for no bound). Blocks; `isOver` is asked often and breaks it
/// off. Any thread. Results are the decoding library's negative codes, and FrameGrabber::noFrame for a file without a
/// picture.
VideoFrame firstKeyFrame(const std::string& url, QSize bound, const std::function<bool()>& isOver);

}  // namespace korvane
