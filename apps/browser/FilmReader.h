#pragma once

#include <QImage>
#include <memory>
#include <mutex>
#include <optional>

#include "korvane/apps/browser/SoundQueue.h"
#include "korvane/base/Time.h"
#include "korvane/film/FilmHelper.h"
#include "korvane/film/FilmTask.h"
#include "korvane/net/MediaStream.h"

namespace korvane {

/// Takes a film apart, in a process of its own: its pictures, upright, one after the other, and its sound. A film that
/// refers to other files is not opened, and neither are kinds that consist of such references. Used by one thread,
/// except for cancel(); blocks as its stream does.
class FilmReader {
  public:
    using Step = FilmStep;

    /// `sound` gets the film's sound as it is read; null for none. All outlive the reader.
    FilmReader(FilmHelper& helper, MediaStream& stream, SoundQueue* sound);
    ~FilmReader();

    FilmReader(const FilmReader&) = delete;
    FilmReader& operator=(const FilmReader&) = delete;

    /// Once, before all else. A film without a picture opens, and is at its end.
    MediaFault open();

    /// To the last key frame at or before `position` (ms). False when the film cannot be searched: it is read on.
    bool seek(TimeMs position);

    /// After a seek, a little of the way to its first picture, which costs no decoding. End where the film's pictures
    /// end before `moment` (ms), at foundEnd(); a seek must follow. Picture where step() is to go on.
    Step approach(TimeMs moment);
    TimeMs foundEnd() const { return foundEnd_; }

    /// A little work. After Failed, fault() tells why.
    Step step();
    MediaFault fault() const { return fault_; }

    /// What step() has found last, until the next seek; also after the end.
    bool hasPicture() const { return hasPicture_; }
    /// When the picture begins and ends, ms from the film's beginning.
    TimeMs pictureBegin() const { return pictureBegin_; }
    TimeMs pictureEnd() const { return pictureEnd_; }
    /// Its points; a null image where there is no memory for it.
    QImage picture();

    /// The picture that came before it is what the four above tell of from now on. False when there is none.
    bool stepBack();

    /// Breaks off what is under way, and all that comes later. Any thread.
    void cancel();

  private:
    std::optional<FilmNews> ask(const FilmWords& order);
    void notePicture(FilmNews& answer);

    FilmHelper& helper_;
    MediaStream& stream_;
    SoundQueue* const sound_;
    std::mutex mutex_;  // the task comes to be while another thread may cancel
    std::unique_ptr<FilmTask> task_;
    bool isCancelled_ = false;
    MediaFault fault_ = MediaFault::None;
    TimeMs foundEnd_ = 0;
    bool hasPicture_ = false;
    TimeMs pictureBegin_ = 0;
    TimeMs pictureEnd_ = 0;
};

}  // namespace korvane
