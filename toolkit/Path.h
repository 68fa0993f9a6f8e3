#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "korvane/base/Geometry.h"

namespace korvane {

/// The corners of a rectangle, as bits of a mask. The values are fixed.
enum RectCorner : std::uint64_t {
    RectCornerTopLeft = 1,
    RectCornerTopRight = 2,
    RectCornerBottomLeft = 4,
    RectCornerBottomRight = 8,
    RectCornerAll = 15,
};

/// What a Canvas fills or strokes: lines, rectangles and ellipses in the order in which they were added. A plain value,
/// in points; any thread. Numbers that are not finite are kept, and no canvas draws what has them.
class Path {
  public:
    struct Move {
        Point to;
        bool operator==(const Move&) const = default;
    };
    struct Line {
        Point to;
        bool operator==(const Line&) const = default;
    };
    struct RoundedRect {
        Rect rect;
        std::uint64_t corners = 0;
        Size radii;
        bool operator==(const RoundedRect&) const = default;
    };
    struct Ellipse {
        Rect rect;
        bool operator==(const Ellipse&) const = default;
    };
    using Element = std::variant<Move, Line, RoundedRect, Ellipse>;

    /// The closed outline of a rectangle that is round at the corners of a mask of RectCorner bits, and only there. A
    /// radius above half of a side counts as that half; other bits are ignored.
    static Path bezierPathWithRoundedRect(const Rect& rect, std::uint64_t byRoundingCorners, Size cornerRadii);

    /// Begins a line; nothing is drawn yet.
    void moveToPoint(Point point) { elements_.emplace_back(Move{point}); }
    /// A straight line from where the last one ended; without one before it begins here.
    void addLineToPoint(Point point);
    void addRect(const Rect& rect) { elements_.emplace_back(RoundedRect{rect, 0, {}}); }
    /// The ellipse that touches the four sides of `rect`.
    void addEllipseInRect(const Rect& rect) { elements_.emplace_back(Ellipse{rect}); }
    /// Adds the other path's lines and shapes. Its line width is not taken over.
    void appendPath(const Path& path);

    /// A note of the owner's, 1 at first: a canvas strokes with its own width and never reads this one.
    double lineWidth() const { return lineWidth_; }
    void setLineWidth(double points) { lineWidth_ = points; }

    const std::vector<Element>& elements() const { return elements_; }
    bool isEmpty() const { return elements_.empty(); }
    void clear() { elements_.clear(); }

  private:
    std::vector<Element> elements_;
    double lineWidth_ = 1;
};

}  // namespace korvane
