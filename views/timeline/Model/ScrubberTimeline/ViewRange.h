#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace korvane {

/// Entries for which it is worth fetching, by their places in the list: those on screen, and one screen on either side.
struct ViewRange {
    std::int64_t first = 0;
    std::int64_t last = 0;

    /// About where the mark lies.
    std::int64_t middle() const { return first + (last - first) / 2; }

    /// Nothing when none of the list's `count` entries is among `visible`.
    static std::optional<ViewRange> around(const std::vector<std::int64_t>& visible, std::int64_t count) {
        std::optional<ViewRange> seen;
        for (const std::int64_t index : visible) {
            if (index < 0 || index >= count) continue;
            seen =
                seen ? ViewRange{std::min(seen->first, index), std::max(seen->last, index)} : ViewRange{index, index};
        }
        if (!seen) return seen;
        const std::int64_t screen = seen->last - seen->first + 1;
        return ViewRange{seen->first - screen, seen->last + screen};
    }

    bool holds(std::int64_t index) const { return first <= index && index <= last; }
};

}  // namespace korvane
