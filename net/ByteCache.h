#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace korvane {

/// The bytes of a file that were read last, in blocks that fill up from their beginning. Of at most `mostBlocks` the
/// one that nobody has touched for longest goes first. Used by one thread.
class ByteCache {
  public:
    static constexpr std::int64_t blockSize = std::int64_t{256} * 1024;

    /// Takes bytes in whose place in the file is `position`. What would leave a hole in a block is dropped.
    void put(std::int64_t position, std::span<const std::uint8_t> bytes);

    /// Copies what is there from `position` on, up to the end of the block; gives how much.
    std::size_t get(std::int64_t position, std::span<std::uint8_t> into);

    /// Where the block that holds `position` goes on: its beginning when nothing of it is there.
    std::int64_t missingFrom(std::int64_t position) const;

  private:
    static constexpr std::size_t mostBlocks = 16;

    struct Block {
        std::vector<std::uint8_t> bytes;
        std::uint64_t touched = 0;
    };

    Block& blockFor(std::int64_t number);

    std::map<std::int64_t, Block> blocks_;
    std::uint64_t touches_ = 0;
};

}  // namespace korvane
