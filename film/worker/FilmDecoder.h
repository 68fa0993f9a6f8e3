#pragma once

#include <memory>

#include "korvane/base/Time.h"
#include "korvane/film/worker/AvSource.h"
#include "korvane/film/worker/FrameConverter.h"
#include "korvane/film/worker/SoundDecoder.h"

namespace korvane {

/// Takes a film apart: its pictures, one after the other, and its sound. Used by one thread.
class FilmDecoder {
  public:
    using Step = FilmStep;

    /// `source` and `converter` outlive the object. `sound` gets the film's sound as it is read; empty for none.
    FilmDecoder(const AvSource& source, FrameConverter& converter, SoundDecoder::Sink sound);
    ~FilmDecoder();

    FilmDecoder(const FilmDecoder&) = delete;
    FilmDecoder& operator=(const FilmDecoder&) = delete;

    /// Once, before all else. False for what is no film. A film without a picture opens, and is at its end.
    bool open();

    /// To the last key frame at or before `position` (ms). False when the film cannot be searched: it is read on.
    bool seek(TimeMs position);

    /// After a seek, a little of what makes the first picture come soon, by the times of packets and without decoding:
    /// the key frame is looked for where the container does not know it, and the film's end. End where the pictures end
    /// before `moment` (ms), at foundEnd(); a seek must follow. Picture where step() is to go on.
    Step approach(TimeMs moment);
    TimeMs foundEnd() const;

    /// A little work.
    Step step();

    /// What step() has found last, until the next seek; also after the end.
    bool hasPicture() const;
    /// When the picture begins and ends, ms from the film's beginning.
    TimeMs pictureBegin() const;
    TimeMs pictureEnd() const;
    /// The answer of FrameConverter for its points.
    FilmWords paint();

    /// The picture that came before it is what the four above tell of from now on. False when there is none.
    bool stepBack();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace korvane
