#pragma once

namespace korvane {

/// Points of the user interface, not pixels. x grows to the right, y downwards.
struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
    Point center() const { return {x + width / 2, y + height / 2}; }
    /// Left and top edges belong to the rectangle, right and bottom edges do not.
    bool contains(Point p) const { return p.x >= x && p.x < right() && p.y >= y && p.y < bottom(); }
    bool operator==(const Rect&) const = default;
};

}  // namespace korvane
