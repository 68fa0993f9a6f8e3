#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Time.h"

namespace korvane {

/// A video file of the camera. Times are ms; both ends belong to it.
struct Recording {
    std::int64_t id = 0;
    TimeMs start = 0;
    TimeMs end = 0;
    std::string url;

    bool operator==(const Recording&) const = default;
};

/// What is known of a camera's recordings: the pages that were looked up so far. A plain value, no lock of its own.
class RecordingCatalog {
  public:
    enum class Kind {
        /// `recording` holds the moment.
        Inside,
        /// Nothing was recorded then; `recording` is the next one.
        Gap,
        /// Nobody has looked there yet.
        Unknown,
    };

    struct Answer {
        Kind kind = Kind::Unknown;
        Recording recording;
        /// Where in time playing begins: the moment asked for, or the start of the next recording.
        TimeMs position = 0;
    };

    /// Takes in a page: the first recordings that end at or after `from`, in order of their start. With `hasMore` the
    /// service has further ones after the page. Elements that end before they start are dropped.
    void add(TimeMs from, std::vector<Recording> page, bool hasMore);

    /// Of several recordings that hold the moment, the one that ends last.
    Answer find(TimeMs moment) const;

    /// The film of `told` has turned out to end before `end` (ms): what the service says of it counts no more, as long
    /// as it says the same. A film that ends where it begins counts as not recorded.
    void shorten(const Recording& told, TimeMs end);

    /// As it has turned out to be; absent where there is nothing of it.
    std::optional<Recording> asFound(const Recording& told) const;

    void clear();

  private:
    // A range in which all recordings are known: from <= moment < until.
    struct Stretch {
        TimeMs from = 0;
        TimeMs until = 0;
        std::vector<Recording> recordings;
    };

    static Answer findIn(const Stretch& stretch, TimeMs moment);

    struct Shortened {
        Recording told;
        TimeMs end = 0;
    };

    std::vector<Stretch> stretches_;
    std::vector<Shortened> shortened_;
};

}  // namespace korvane
