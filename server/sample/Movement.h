#pragma once

#include <cstdint>

#include "korvane/server/sample/Daylight.h"
#include "korvane/server/sample/Picture.h"

namespace korvane {

/// Somebody or something that crosses the picture.
struct Movement {
    enum class Kind { Passer, Jogger, Dog, Car, Cyclist, Comer, Leaver, Courier };

    Kind kind = Kind::Passer;
    /// Seconds from the film's begin.
    float start = 0;
    /// Chooses colors and the direction.
    std::uint32_t look = 0;

    /// Seconds in the picture.
    float duration() const { return durationOf(kind); }
    float end() const { return start + duration(); }

    static float durationOf(Kind kind);
    /// When a courier, seen from its start, stands before the door.
    static constexpr float courierRings = 6.2F;
};

/// Rows that drawings of movements may touch.
constexpr int movementTop = 170;

/// Draws `movement` as it is `time` seconds into the film; nothing before and after it.
void drawMovement(Picture& picture, const Movement& movement, float time, const Daylight& light);

}  // namespace korvane
