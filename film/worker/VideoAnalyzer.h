#pragma once

#include <functional>
#include <string>

#include "korvane/base/Result.h"
#include "korvane/film/VideoAnalysis.h"

namespace korvane {

/// Share of the file that is done, 0 to 1; from any of the threads, one call at a time.
using AnalysisProgress = std::function<void(double share)>;

/// Does the work of analyzeVideo(), with so many threads (1 and up).
Result<VideoAnalysis> searchVideo(int file, unsigned threads, const AnalysisProgress& onProgress);

/// Does the work of pictureAt().
std::string pictureIn(int file, TimeMs offset);

}  // namespace korvane
