#pragma once

#include <QImage>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "korvane/apps/browser/SoundQueue.h"
#include "korvane/base/Scheduler.h"
#include "korvane/base/Time.h"
#include "korvane/film/FilmHelper.h"
#include "korvane/net/MediaFault.h"

namespace korvane {

/// A film at an address, opened, searched and decoded on a thread of its own, which works ahead of the player by a few
/// pictures and sleeps then. Times are ms from the film's beginning. Main thread only.
class Film {
  public:
    struct Picture {
        TimeMs begin = 0;
        TimeMs end = 0;
        /// The moment sought lies behind it, where the film has nothing more.
        bool isLast = false;
        QImage image;
    };

    /// So far behind the film's end (ms) its last picture is shown.
    static constexpr TimeMs lastPictureLasts = 2'000;

    enum class Seek {
        /// The picture of the moment and those after it. None where the film ends well before the moment.
        Exact,
        /// The key frame before the moment, then the picture of the moment, and no more.
        Glimpse,
    };

    /// `news` runs on the film's thread whenever there is something to look at; it returns at once. `scheduler` and
    /// `helper` outlive the film. `hasSound` false leaves the sound out.
    Film(Scheduler& scheduler, FilmHelper& helper, std::string url, const MediaOptions& options, bool hasSound,
         std::function<void()> news);
    /// As cancel(), and waits for the thread, which takes no longer than a picture takes to decode.
    ~Film();

    Film(const Film&) = delete;
    Film& operator=(const Film&) = delete;

    /// After an Exact one pictures come of it alone, and what is on its way gives up at once. A Glimpse lets a Glimpse
    /// before it come to its key frame, so that a finger that never rests sees something.
    void seek(TimeMs position, Seek how);

    /// The pictures wait in order. The first one, if there is any.
    const Picture* front();
    std::optional<Picture> take();

    /// All pictures after the last seek have been taken: the film ends here. After a Glimpse, never.
    bool isAtEnd() const;
    /// Where the film has turned out to end, 0 for one without a picture. Absent until that is seen.
    std::optional<TimeMs> end() const;
    /// Stays for good.
    MediaFault fault() const;
    const std::shared_ptr<SoundQueue>& sound() const;

    /// Breaks off all work, and returns at once. The film is of no use any more.
    void cancel();
    /// After cancel(): destruction waits no longer.
    bool isOver() const;

  private:
    struct State;
    std::shared_ptr<State> state_;
    std::unique_ptr<Thread> thread_;
    std::optional<Picture> front_;
};

}  // namespace korvane
