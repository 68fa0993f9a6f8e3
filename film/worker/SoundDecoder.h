#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// Decodes a film's sound. What cannot be decoded is passed over. Used by one thread.
class SoundDecoder {
  public:
    /// Samples whose first one belongs to `position` (ms in the film), as FilmMessages.h has them.
    using Sink = std::function<void(TimeMs position, const std::vector<std::int16_t>& samples)>;

    /// Null when the stream cannot be decoded. `beginMs` is where the film begins on the stream's clock.
    static std::unique_ptr<SoundDecoder> open(const AVStream& stream, TimeMs beginMs, Sink sink);

    void decode(const AVPacket& packet);
    /// After a seek.
    void flush();

  private:
    SoundDecoder(AvCodec decoder, AVRational timeBase, TimeMs beginMs, Sink sink);
    // What the resampler was made for. A frame of another form would have it read beyond the frame.
    struct Form {
        int format = -1;
        int rate = 0;
        int channels = 0;
        bool operator==(const Form&) const = default;
    };

    void take(const AVFrame& frame);

    AvCodec decoder_;
    AvResampler resampler_;
    Form form_;
    AvFrame frame_;
    AVRational timeBase_;
    TimeMs beginMs_;
    Sink sink_;
};

}  // namespace korvane
