#pragma once

#include "korvane/film/worker/AvSource.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// Which kinds of file are opened. None of them is a playlist or the like, which names other files and hosts.
enum class FilmKinds {
    /// What a camera writes: containers with times.
    Containers,
    /// Bare coded pictures as well.
    AnyFilm,
    /// Still pictures as well.
    FilmOrPicture,
};

/// Opens a film and looks at its beginning for what it consists of: at no more than a service can send in a moment when
/// `isQuick`. Gives 0, or a code of libav. Nothing that the film refers to is opened. `source` outlives `film`.
int openContainer(const AvSource& source, FilmKinds kinds, bool isQuick, AvInput& film);

/// To the last key frame at or before `time`, in the stream's own time, or as further `flags` of libav say. False where
/// that cannot be searched.
bool seekContainer(const AvSource& source, AVFormatContext& film, int stream, std::int64_t time, int flags = 0);

/// When a packet's picture is shown or, where that is not said, decoded; AV_NOPTS_VALUE where neither is.
std::int64_t timeOf(const AVPacket& packet);

/// Clockwise, these stand the stream's pictures upright: 0, 90, 180 or 270.
int rotationOf(const AVStream& stream);

}  // namespace korvane
