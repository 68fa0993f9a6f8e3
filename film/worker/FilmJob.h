#pragma once

#include "korvane/film/FilmChannel.h"
#include "korvane/film/HelperOrder.h"

namespace korvane {

/// Carries out the orders for one film, until the caller closes the connection. `room` is the memory shared with it,
/// `file` the film, or -1 where the caller hands its bytes out.
void serveFilm(FilmChannel& channel, int room, int file, const HelperOrder& limits);

}  // namespace korvane
