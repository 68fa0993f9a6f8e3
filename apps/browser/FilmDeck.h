#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "korvane/apps/browser/Film.h"
#include "korvane/apps/browser/RecordingCatalog.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

/// The film that a player plays, the one that is opened ahead, and those that are on their way out: closing a film
/// never holds the caller up. Moments are ms in UTC. Main thread only.
class FilmDeck {
  public:
    /// `news` runs on films' threads, whenever the current film has something to look at. `scheduler` outlives the
    /// deck.
    FilmDeck(Scheduler& scheduler, const MediaOptions& options, std::function<void()> news);
    /// Breaks off all films, and waits for them together.
    ~FilmDeck();

    FilmDeck(const FilmDeck&) = delete;
    FilmDeck& operator=(const FilmDeck&) = delete;

    void setHasSound(bool hasSound) { hasSound_ = hasSound; }

    /// Puts a recording on and goes to a moment in it. Where it has been prepared for that moment, its picture is
    /// there.
    void play(const Recording& recording, TimeMs moment, Film::Seek how);
    /// Opens a recording ahead of play().
    void prepare(const Recording& recording, TimeMs moment);
    void unprepare() { retire(prepared_); }
    /// Takes the film away.
    void clear();
    /// Lets go of films that have come to rest.
    void reap();

    /// Null for none.
    Film* film() const { return current_.film.get(); }

  private:
    struct Slot {
        Recording recording;
        TimeMs moment = 0;
        std::unique_ptr<Film> film;
    };

    Slot make(const Recording& recording, TimeMs moment, Film::Seek how);
    void retire(Slot& slot);

    Scheduler& scheduler_;
    const MediaOptions options_;
    const std::function<void()> news_;
    bool hasSound_ = false;
    FilmHelper helper_;
    Slot current_;
    Slot prepared_;
    std::vector<std::unique_ptr<Film>> retired_;
};

}  // namespace korvane
