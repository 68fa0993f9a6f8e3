#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "korvane/base/Result.h"
#include "korvane/base/Time.h"
#include "korvane/film/worker/AvSource.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// A video file that is open for reading: its best video stream, the others are left out. Used by one thread.
class MediaFile {
  public:
    /// `descriptor` must outlive the object; several objects may read by it at a time. Only containers of video are
    /// read, and no other file that one names, whatever the file pretends to be.
    static Result<std::unique_ptr<MediaFile>> open(int descriptor);

    /// The next packet of the video stream; false at the end and where the file cannot be read on.
    bool readPacket(AVPacket& packet);

    /// Goes to the last key frame at or before `time`, in the stream's own time.
    void seek(std::int64_t time);

    /// A decoder for the stream, with one thread.
    Result<AvCodec> makeDecoder() const;

    /// Decodes from the current place on and gives each frame to `onFrame` until that returns false or packets end.
    /// `endTime` ends the reading of packets, in the stream's time.
    void decode(AVCodecContext& decoder, std::int64_t endTime, const std::function<bool(const AVFrame&)>& onFrame);

    /// Decodes the key frame at `time` alone. The decoder starts anew before and after.
    void decodeKeyFrame(AVCodecContext& decoder, std::int64_t time, const std::function<void(const AVFrame&)>& onFrame);

    /// Milliseconds of the stream's time, and back.
    TimeMs toMs(std::int64_t streamTime) const;
    std::int64_t fromMs(TimeMs ms) const;

    /// What the container says of when it was made.
    std::optional<TimeMs> creationTime() const;
    double frameRate() const;
    int width() const;
    int height() const;

  private:
    MediaFile(AvSource source, AvInput input, int stream)
        : source_(std::move(source)), input_(std::move(input)), stream_(stream) {}
    const AVStream& stream() const { return *input_->streams[stream_]; }

    AvSource source_;
    AvInput input_;
    int stream_;
};

}  // namespace korvane
