#pragma once

#include <algorithm>
#include <cstddef>

namespace korvane {

/// The first place of which `isBefore` does not hold, as std::ranges::partition_point() finds it, sought from `guess`
/// outwards: each step of a search through the whole would wait for memory, and a good guess takes one or two.
template <typename Sorted, typename IsBefore>
std::size_t searchNear(const Sorted& sorted, std::size_t guess, const IsBefore& isBefore) {
    std::size_t low = std::min(guess, sorted.size());
    std::size_t high = low;
    for (std::size_t step = 1; high < sorted.size() && isBefore(sorted[high]); step *= 2) {
        low = high + 1;
        high = low + std::min(step, sorted.size() - low);
    }
    for (std::size_t step = 1; low > 0 && !isBefore(sorted[low - 1]); step *= 2) {
        high = low - 1;
        low = high - std::min(step, high);
    }
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (isBefore(sorted[middle])) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

}  // namespace korvane
