#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <vector>

#include "base/Time.h"
#include "server/MediaFile.h"

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

/// Pictures from one key frame on, that is, what can be decoded without what comes before.
struct Stretch {
    /// In the stream's time: where to seek to, and where decoding may stop.
    std::int64_t seekTo = 0;
    std::int64_t endTime = 0;
    /// From the file's first picture.
    TimeMs begin = 0;
    TimeMs end = 0;
};

/// The coded pictures of a file by time and size, read without decoding any.
class PacketMap {
  public:
    /// Reads all of `file`. `onProgress` gets shares of 0 to 1.
    static PacketMap read(MediaFile& file, const std::atomic<bool>* cancel);

    bool empty() const { return packets_.empty(); }
    /// From the first picture to the end of the last.
    TimeMs duration() const { return duration_; }
    std::int64_t firstPts() const { return firstPts_; }

    /// What has to be decoded to see all motion: everything but stretches whose pictures hold next to nothing new. In
    /// pieces of about `pieceLength`, ascending.
    std::vector<Stretch> stretchesWithChange(TimeMs pieceLength) const;

  private:
    struct Group {
        std::size_t first;
        std::size_t end;
        bool quiet;
    };
    std::vector<Group> groups() const;
    void markQuiet(std::vector<Group>& groups) const;
    Stretch stretchOf(std::size_t first, std::size_t end) const;

    std::vector<PacketInfo> packets_;
    TimeMs duration_ = 0;
    std::int64_t firstPts_ = 0;
};

}  // namespace korvane
