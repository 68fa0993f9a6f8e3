#pragma once

#include "korvane/server/sample/Daylight.h"
#include "korvane/server/sample/Picture.h"

namespace korvane {

/// Size of the film's pictures.
constexpr int filmWidth = 640;
constexpr int filmHeight = 360;

/// Draws all that does not move: sky, house, drive, garden and street.
void drawYard(Picture& picture, const Daylight& light);

}  // namespace korvane
