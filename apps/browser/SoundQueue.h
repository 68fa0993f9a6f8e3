#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <span>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/film/FilmMessages.h"

namespace korvane {

/// The sound of a film that lies before its player: two channels of 16 bits at one rate. All functions may be called
/// from any thread.
class SoundQueue {
  public:
    static constexpr int rate = filmSoundRate;
    static constexpr std::size_t channels = filmSoundChannels;

    /// Samples whose first one belongs to `position` (ms in the film).
    void add(TimeMs position, std::vector<std::int16_t> samples);

    /// Fills `into` with what is to be heard from `position` (ms) on, and with silence where there is nothing. Sound of
    /// moments that have passed is dropped.
    void take(double position, std::span<std::int16_t> into);

    void clear();

  private:
    struct Piece {
        double position = 0;
        std::size_t used = 0;
        std::vector<std::int16_t> samples;

        /// Of the first sample that is left, ms.
        double at() const;
    };

    void align(double position);

    std::mutex mutex_;
    std::deque<Piece> pieces_;
    bool isFlowing_ = false;  // the last take() ended within the sound
};

}  // namespace korvane
