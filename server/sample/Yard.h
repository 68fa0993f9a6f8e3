#pragma once

#include "server/sample/Daylight.h"
#include "server/sample/Picture.h"

namespace korvane {

/// Size of the film's pictures.
constexpr int kFilmWidth = 640;
constexpr int kFilmHeight = 360;

/// Draws all that does not move: sky, house, drive, garden and street.
void drawYard(Picture& picture, const Daylight& light);

}  // namespace korvane
