#include "korvane/toolkit/Path.h"

namespace korvane {

Path Path::bezierPathWithRoundedRect(const Rect& rect, std::uint64_t byRoundingCorners, Size cornerRadii) {
    Path path;
    path.elements_.emplace_back(RoundedRect{rect, byRoundingCorners & RectCornerAll, cornerRadii});
    return path;
}

void Path::addLineToPoint(Point point) {
    const bool continues = !elements_.empty() && (std::holds_alternative<Move>(elements_.back()) ||
                                                  std::holds_alternative<Line>(elements_.back()));
    if (!continues) return moveToPoint(point);
    elements_.emplace_back(Line{point});
}

void Path::appendPath(const Path& path) {
    // By count: a path may be appended to itself.
    const std::size_t count = path.elements_.size();
    elements_.reserve(elements_.size() + count);
    for (std::size_t i = 0; i < count; ++i) elements_.push_back(path.elements_[i]);
}

}  // namespace korvane
