#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/server/Result.h"

namespace korvane {

struct VideoMotion {
    /// From the file's first picture.
    TimeMs offset = 0;
    /// JPEG bytes; empty when no picture could be made.
    std::string thumbnail;
};

struct VideoAnalysis {
    TimeMs duration = 0;
    /// From the container.
    std::optional<TimeMs> created;
    /// JPEG bytes of the first picture.
    std::string thumbnail;
    /// Where something begins to move, ascending.
    std::vector<VideoMotion> motions;
};

struct VideoAnalysisOptions {
    /// 1 and up.
    unsigned threads = 1;
    const std::atomic<bool>* cancel = nullptr;
    /// Share of the file that is done, 0 to 1; from any of the threads, one call at a time.
    std::function<void(double)> onProgress;
};

/// Reads the video file that is open as `file` to its end and looks for motion. Fails for a file that is not a video or
/// holds no picture, and when cancelled.
Result<VideoAnalysis> analyzeVideo(int file, const VideoAnalysisOptions& options);

/// JPEG bytes of the picture shown at `offset` from the first; empty when there is none, and when cancelled.
std::string pictureAt(int file, TimeMs offset, const std::atomic<bool>* cancel = nullptr);

}  // namespace korvane
