#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"
#include "korvane/film/FilmHelper.h"

namespace korvane {

/// A film that is longer is refused.
constexpr TimeMs longestFilm = 7 * 86'400'000LL;
/// The end of the year 9999: no recording is later.
constexpr TimeMs latestMoment = 253'402'300'799'000;
/// Bytes of a picture that is taken of a film.
constexpr std::size_t longestPicture = 400'000;

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

/// Has the video file that is open as `file` read to its end and looked through for motion, in a process of its own.
/// Fails for a file that is not a video, holds no picture or takes more than a film may, and when cancelled; with an
/// error that is busy when there is no process to be had, which says nothing of the file.
Result<VideoAnalysis> analyzeVideo(FilmHelper& helper, int file, const VideoAnalysisOptions& options);

/// JPEG bytes of the picture shown at `offset` from the first. Fails as analyzeVideo() does.
Result<std::string> pictureAt(FilmHelper& helper, int file, TimeMs offset, const std::atomic<bool>* cancel = nullptr);

}  // namespace korvane
