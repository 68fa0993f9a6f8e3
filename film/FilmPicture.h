#pragma once

#include <cstdint>
#include <optional>

#include "korvane/film/FilmTask.h"

namespace korvane {

/// A picture in the room of a film's process: four bytes a point, blue first, the last of no meaning.
struct FilmPicture {
    int width = 0;
    int height = 0;
    /// Bytes from row to row.
    int stride = 0;
    /// Clockwise, these stand it upright: 0, 90, 180 or 270.
    int degrees = 0;
    /// Valid until the next order.
    const std::uint8_t* points = nullptr;
};

/// What an answer says of the picture in the room. Absent when the room does not hold such a picture.
std::optional<FilmPicture> readPicture(FilmNews& answer, const FilmTask& task);

}  // namespace korvane
