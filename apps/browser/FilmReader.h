#pragma once

#include <QImage>
#include <functional>
#include <memory>
#include <string>

#include "korvane/apps/browser/SoundQueue.h"
#include "korvane/base/Time.h"
#include "korvane/client/http/MediaStream.h"

namespace korvane {

/// Takes a film apart: its pictures, upright, one after the other, and its sound. A film that refers to other files is
/// not opened, and neither are kinds that consist of such references. Used by one thread; blocks as its stream does.
class FilmReader {
  public:
    enum class Step {
        /// The next picture is there.
        Picture,
        /// Some way has been made.
        Nothing,
        End,
        Failed,
    };

    /// `sound` gets the film's sound as it is read; null for none. Both outlive the reader.
    FilmReader(MediaStream& stream, SoundQueue* sound);
    ~FilmReader();

    FilmReader(const FilmReader&) = delete;
    FilmReader& operator=(const FilmReader&) = delete;

    /// Once, before all else. A film without a picture opens, and is at its end.
    MediaFault open();

    /// To the last key frame at or before `position` (ms). False when the film cannot be searched: it is read on.
    bool seek(TimeMs position);

    /// A little work. After Failed, fault() tells why.
    Step step();
    MediaFault fault() const;

    /// What step() has found last, until the next seek; also after the end.
    bool hasPicture() const;
    /// When the picture begins and ends, ms from the film's beginning.
    TimeMs pictureBegin() const;
    TimeMs pictureEnd() const;
    /// Its points; a null image where there is no memory for it.
    QImage picture();

    /// The picture that came before it is what the four above tell of from now on. False when there is none.
    bool stepBack();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace korvane
