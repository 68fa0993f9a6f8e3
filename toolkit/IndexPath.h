#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace korvane {

/// Place of an item in the one section of a collection view; nothing when there is no such place.
using IndexPath = std::optional<std::int64_t>;

/// Margins in points.
struct EdgeInsets {
    double top = 0;
    double left = 0;
    double bottom = 0;
    double right = 0;
    bool operator==(const EdgeInsets&) const = default;
};

/// What runs after an animation or a layout change. `finished` is false when something newer took over or the thing
/// that moved is gone.
using Completion = std::function<void(bool finished)>;

}  // namespace korvane
