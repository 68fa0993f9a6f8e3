#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace korvane {

/// Counts of a row of boxes, from which the box of a number and the sum before a box come in steps of halves (a Fenwick
/// tree).
class CountTree {
  public:
    struct Place {
        std::size_t box = 0;
        std::uint32_t rest = 0;
    };

    CountTree() = default;

    explicit CountTree(const std::vector<std::uint32_t>& counts) : sums_(counts.size() + 1, 0) {
        for (std::size_t i = 1; i < sums_.size(); ++i) {
            sums_[i] += counts[i - 1];
            if (const std::size_t parent = i + lowestBit(i); parent < sums_.size()) sums_[parent] += sums_[i];
        }
    }

    /// Adds `count`, which may be negative, to the count of `box`.
    void add(std::size_t box, std::int32_t count) {
        for (std::size_t i = box + 1; i < sums_.size(); i += lowestBit(i)) {
            sums_[i] += static_cast<std::uint32_t>(count);
        }
    }

    std::uint64_t sumBefore(std::size_t box) const {
        std::uint64_t sum = 0;
        for (std::size_t i = box; i > 0; i -= lowestBit(i)) sum += sums_[i];
        return sum;
    }

    /// The box that holds the `number`th thing, from 0, and its number within that box. Empty boxes are passed over.
    /// Precondition: there is such a thing.
    Place find(std::uint64_t number) const {
        Place place{0, static_cast<std::uint32_t>(number)};
        for (std::size_t step = std::bit_floor(sums_.size() - 1); step > 0; step /= 2) {
            const std::size_t next = place.box + step;
            if (next < sums_.size() && sums_[next] <= place.rest) {
                place.box = next;
                place.rest -= sums_[next];
            }
        }
        return place;
    }

  private:
    static std::size_t lowestBit(std::size_t i) { return i & (~i + 1); }

    std::vector<std::uint32_t> sums_;
};

}  // namespace korvane
