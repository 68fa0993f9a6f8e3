#include "korvane/net/ByteCache.h"

#include <algorithm>

namespace korvane {

void ByteCache::put(std::int64_t position, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto within = static_cast<std::size_t>(position % blockSize);
        const auto count = std::min(bytes.size(), static_cast<std::size_t>(blockSize) - within);
        Block& block = blockFor(position / blockSize);
        // Of bytes that are partly there, only the rest is new.
        if (within <= block.bytes.size() && within + count > block.bytes.size()) {
            const auto known = static_cast<std::ptrdiff_t>(block.bytes.size() - within);
            block.bytes.insert(block.bytes.end(), bytes.begin() + known,
                               bytes.begin() + static_cast<std::ptrdiff_t>(count));
        }
        bytes = bytes.subspan(count);
        position += static_cast<std::int64_t>(count);
    }
}

std::size_t ByteCache::get(std::int64_t position, std::span<std::uint8_t> into) {
    const auto found = blocks_.find(position / blockSize);
    if (found == blocks_.end()) return 0;
    const auto within = static_cast<std::size_t>(position % blockSize);
    const auto& bytes = found->second.bytes;
    if (within >= bytes.size()) return 0;
    found->second.touched = ++touches_;
    const std::size_t count = std::min(into.size(), bytes.size() - within);
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(within), count, into.begin());
    return count;
}

std::int64_t ByteCache::missingFrom(std::int64_t position) const {
    const std::int64_t number = position / blockSize;
    const auto found = blocks_.find(number);
    const std::size_t there = found == blocks_.end() ? 0 : found->second.bytes.size();
    return number * blockSize + static_cast<std::int64_t>(there);
}

ByteCache::Block& ByteCache::blockFor(std::int64_t number) {
    if (!blocks_.contains(number) && blocks_.size() >= mostBlocks) {
        blocks_.erase(std::min_element(blocks_.begin(), blocks_.end(), [](const auto& a, const auto& b) {
            return a.second.touched < b.second.touched;
        }));
    }
    Block& block = blocks_[number];
    block.touched = ++touches_;
    return block;
}

}  // namespace korvane
