#pragma once

#include <cstdint>
#include <optional>

#include "korvane/film/FilmMessages.h"
#include "korvane/film/worker/AvSource.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// Looks by the times of a film's packets, without decoding, whether its pictures end before a moment. Times are the
/// stream's own. Used by one thread.
class EndSearch {
  public:
    struct Place {
        int stream = -1;
        /// Up to there the film has pictures.
        std::int64_t time = 0;
    };

    /// `source` and `film` outlive the object, which leaves the film at any place. `first` is the packet of a picture
    /// before `moment` that has just been read.
    EndSearch(const AvSource& source, AVFormatContext& film, Place from, std::int64_t moment, const AVPacket& first);

    /// A little work. End where the pictures end before the moment, Picture where they do not or only decoding tells.
    FilmStep step();

    /// Where the last picture ends, after End.
    std::int64_t end() const { return end_.value_or(0); }

  private:
    bool goToIndexed();
    FilmStep look(const AVPacket& packet);
    FilmStep onEnd();

    const AvSource& source_;
    AVFormatContext& film_;
    const Place from_;
    const std::int64_t moment_;
    const std::int64_t first_;
    AvPacket packet_;
    bool isFromFirst_ = true;
    std::optional<std::int64_t> end_;
};

}  // namespace korvane
