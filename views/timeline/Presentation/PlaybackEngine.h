#pragma once

#include <functional>
#include <memory>

#include "korvane/base/Scheduler.h"
#include "korvane/views/timeline/Presentation/PlaybackHost.h"
#include "korvane/views/timeline/Presentation/PlaybackTick.h"

namespace korvane {

/// The thread of a playing cell: about once a second it asks its host for the player's position, tells when playback
/// has started and finished, and has the cell advance. It never waits for the main thread, so the main thread may wait
/// for it. Made, used and destroyed on the main thread where nothing else is said.
class PlaybackEngine {
  public:
    /// Called on the run's thread with a new position in the range that is played, all ms.
    using Advance = std::function<void(TimeMs position, TimeMs startRange, TimeMs endRange)>;

    PlaybackEngine(std::shared_ptr<Scheduler> scheduler, const PlaybackRules& rules, Advance advance);
    ~PlaybackEngine();

    PlaybackEngine(const PlaybackEngine&) = delete;
    PlaybackEngine& operator=(const PlaybackEngine&) = delete;

    /// Begins a run, after stop(). The host may be null and must outlive the run. The entry is held weakly: once it has
    /// left its list the host is left alone, and the position counts as 0 in an empty range.
    void start(PlaybackHost* host, const std::shared_ptr<ScrubberEvent>& event);

    /// The run goes on with another object for the same entry, as after a list has been loaded anew.
    void setEvent(const std::shared_ptr<ScrubberEvent>& event);

    /// Ends the run and waits until its thread is through with the call it is in. Away from the main thread, as in a
    /// host's callback, it ends the run without the wait; the next stop() makes up for that.
    void stop();

    /// Cuts the wait for the next tick short; lost when the thread does not wait.
    void wake();

    /// From start() to stop().
    bool isRunning() const;

    /// Runs `work` on a later turn of the main loop if the run of now still lasts then. Also on the run's thread.
    void post(std::function<void()> work) const;

  private:
    class Run;

    const std::shared_ptr<Scheduler> scheduler_;
    const PlaybackRules rules_;
    const Advance advance_;
    // Changed only while no run has a thread, so that the thread may read them.
    std::shared_ptr<Run> run_;
    std::unique_ptr<Thread> thread_;
};

}  // namespace korvane
