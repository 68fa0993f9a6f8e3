#pragma once

#include "korvane/apps/browser/FilmTypes.h"
#include "korvane/apps/browser/SoundQueue.h"

namespace korvane {

/// Decodes a film's sound into a queue. What cannot be decoded is passed over. Used by one thread.
class SoundDecoder {
  public:
    /// Null when the stream cannot be decoded. `beginMs` is where the film begins on the stream's clock.
    static std::unique_ptr<SoundDecoder> open(const AVStream& stream, TimeMs beginMs, SoundQueue& queue);

    void decode(const AVPacket& packet);
    /// After a seek.
    void flush();

  private:
    SoundDecoder(FilmDecoder decoder, AVRational timeBase, TimeMs beginMs, SoundQueue& queue);
    // What the resampler was made for. A frame of another form would have it read beyond the frame.
    struct Form {
        int format = -1;
        int rate = 0;
        int channels = 0;
        bool operator==(const Form&) const = default;
    };

    void take(const AVFrame& frame);

    FilmDecoder decoder_;
    FilmResampler resampler_;
    Form form_;
    FilmFrame frame_;
    AVRational timeBase_;
    TimeMs beginMs_;
    SoundQueue& queue_;
};

}  // namespace korvane
