#pragma once

#include <cstdint>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/film/worker/MediaFile.h"

namespace korvane {

/// One coded picture.
struct PacketInfo {
    /// In the stream's time.
    std::int64_t pts = 0;
    std::int64_t dts = 0;
    /// From the file's first picture.
    TimeMs offset = 0;
    int bytes = 0;
    bool key = false;
};

/// Pictures from one key frame to the next: what can be decoded without what comes before.
struct PictureGroup {
    /// In the stream's time: where to seek to, and where decoding may stop.
    std::int64_t seekTo = 0;
    std::int64_t endTime = 0;
    /// From the file's first picture.
    TimeMs begin = 0;
    TimeMs end = 0;
    /// Its pictures' sizes are even, and like those of its neighbours: what happens in it goes on all the time.
    bool steady = false;
    /// Its pictures are as small as those of the file's stillest stretches.
    bool usual = false;
};

/// Groups that follow one another.
using Stretch = std::vector<PictureGroup>;

/// The coded pictures of a file by time and size, read without decoding any.
class PacketMap {
  public:
    /// Reads all of `file`, up to where it is broken off.
    static PacketMap read(MediaFile& file);

    bool empty() const { return packets_.empty(); }
    /// From the first picture to the end of the last.
    TimeMs duration() const { return duration_; }
    std::int64_t firstPts() const { return firstPts_; }

    /// What has to be looked at to see all motion: everything but groups whose pictures hold next to nothing new. In
    /// pieces of about `pieceLength`, ascending.
    std::vector<Stretch> stretchesWithChange(TimeMs pieceLength) const;

  private:
    struct Group {
        std::size_t first = 0;
        std::size_t end = 0;
        /// Bytes in each half second, the key frame not counted.
        std::vector<std::int64_t> windows;
        std::int64_t mean = 0;
        std::int64_t loudest = 0;
        bool quiet = false;
        bool even = false;
    };
    std::vector<Group> groups() const;
    void measure(Group& group) const;
    std::int64_t stillWindow(const std::vector<Group>& groups) const;
    void markQuiet(std::vector<Group>& groups, std::int64_t still) const;
    PictureGroup describe(const std::vector<Group>& groups, std::size_t index, std::int64_t still) const;

    std::vector<PacketInfo> packets_;
    TimeMs duration_ = 0;
    std::int64_t firstPts_ = 0;
};

}  // namespace korvane
