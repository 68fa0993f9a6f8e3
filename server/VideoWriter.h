#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

struct VideoFormat {
    /// Even numbers.
    int width = 640;
    int height = 360;
    int framesPerSecond = 8;
    int keyFrameEvery = 16;
    /// x264's constant rate factor: less is better and larger.
    int rateFactor = 25;
    /// Written into the container when set.
    std::optional<TimeMs> created;
};

/// Writes an H.264 film; the container follows the file's extension, and an MP4 has its index in front. Used by one
/// thread.
class VideoWriter {
  public:
    static Result<std::unique_ptr<VideoWriter>> create(const std::filesystem::path& file, const VideoFormat& format);
    /// A film that was not finished stays as it is.
    ~VideoWriter();

    /// 8-bit RGB, row by row, of the format's size. Gives it as the next frame.
    Failure add(const std::vector<std::uint8_t>& rgb);
    /// The last picture once more.
    Failure repeat();
    Failure finish();

  private:
    explicit VideoWriter(const VideoFormat& format) : format_(format) {}
    Failure open(const std::filesystem::path& file);
    Failure send(AVFrame* frame);

    struct OutputDeleter {
        void operator()(AVFormatContext* context) const;
    };

    VideoFormat format_;
    std::unique_ptr<AVFormatContext, OutputDeleter> output_;
    AvCodec encoder_;
    AvFrame frame_;
    AvPacket packet_;
    AvScaler scaler_;
    std::int64_t frames_ = 0;
};

}  // namespace korvane
