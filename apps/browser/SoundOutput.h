#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "korvane/apps/browser/SoundQueue.h"
#include "korvane/base/Scheduler.h"

namespace korvane {

/// The sound device, if there is one. It follows the player's time; the player never waits for it. Main thread only.
class SoundOutput {
  public:
    /// Looks for a device in the background; `found` runs on a later turn of the main loop if there is one.
    /// `scheduler` outlives the output.
    SoundOutput(Scheduler& scheduler, std::function<void()> found);
    ~SoundOutput();

    SoundOutput(const SoundOutput&) = delete;
    SoundOutput& operator=(const SoundOutput&) = delete;

    bool hasDevice() const;
    /// Whether there is a device is not known yet.
    bool isLooking() const;

    /// Plays a film's sound so that its position 0 is heard at `zero`, on the scheduler's monotonic clock. Null stops.
    void play(std::shared_ptr<SoundQueue> sound, std::chrono::microseconds zero);
    void stop() { play(nullptr, {}); }

    bool isMuted() const;
    void setMuted(bool muted);

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace korvane
