#include "korvane/film/FilmPicture.h"

namespace korvane {

namespace {
constexpr int mostPoints = 1 << 20;
}

std::optional<FilmPicture> readPicture(FilmNews& answer, const FilmTask& task) {
    FilmPicture picture;
    picture.width = static_cast<int>(answer.number(0, mostPoints));
    picture.height = static_cast<int>(answer.number(0, mostPoints));
    picture.stride = static_cast<int>(answer.number(0, 4LL * mostPoints));
    const std::int64_t turn = answer.number();
    picture.degrees = turn == 90 || turn == 180 || turn == 270 ? static_cast<int>(turn) : 0;
    picture.points = task.room().data();
    const bool isThere =
        picture.width > 0 && picture.height > 0 && picture.stride >= 4 * picture.width && picture.stride % 4 == 0;
    const auto bytes = static_cast<std::uint64_t>(picture.stride) * static_cast<std::uint64_t>(picture.height);
    if (!isThere || bytes > task.room().size()) return std::nullopt;
    return picture;
}

}  // namespace korvane
