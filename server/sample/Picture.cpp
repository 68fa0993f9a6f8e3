#include "korvane/server/sample/Picture.h"

#include <array>
#include <cstring>
#include <limits>

namespace korvane {
namespace {

float coverOf(float distance, float alpha) {
    return std::clamp(0.5F - distance, 0.0F, 1.0F) * alpha;
}

float distanceToSegment(float x, float y, Spot a, Spot b) {
    const float dx = b.x - a.x;
    const float dy = b.y - a.y;
    const float length = dx * dx + dy * dy;
    const float along = length > 0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / length, 0.0F, 1.0F) : 0.0F;
    return std::hypot(x - a.x - along * dx, y - a.y - along * dy);
}

/// Negative inside.
float distanceToPolygon(float x, float y, const std::vector<Spot>& corners) {
    float nearest = std::numeric_limits<float>::max();
    bool inside = false;
    for (std::size_t i = 0, j = corners.size() - 1; i < corners.size(); j = i++) {
        const Spot& a = corners[i];
        const Spot& b = corners[j];
        nearest = std::min(nearest, distanceToSegment(x, y, a, b));
        if ((a.y > y) != (b.y > y) && x < (b.x - a.x) * (y - a.y) / (b.y - a.y) + a.x) inside = !inside;
    }
    return inside ? -nearest : nearest;
}

// Five dots wide, seven high; a row is the low five bits, the leftmost dot the highest of them.
constexpr const char* knownLetters = "0123456789-:/";
constexpr std::array<std::array<std::uint8_t, 7>, 13> letterDots = {{{14, 17, 19, 21, 25, 17, 14},
                                                                     {4, 12, 4, 4, 4, 4, 14},
                                                                     {14, 17, 1, 6, 8, 16, 31},
                                                                     {31, 2, 4, 2, 1, 17, 14},
                                                                     {2, 6, 10, 18, 31, 2, 2},
                                                                     {31, 16, 30, 1, 1, 17, 14},
                                                                     {6, 8, 16, 30, 17, 17, 14},
                                                                     {31, 1, 2, 4, 8, 8, 8},
                                                                     {14, 17, 17, 14, 17, 17, 14},
                                                                     {14, 17, 17, 15, 1, 2, 12},
                                                                     {0, 0, 0, 14, 0, 0, 0},
                                                                     {0, 4, 4, 0, 4, 4, 0},
                                                                     {1, 1, 2, 4, 8, 16, 16}}};

}  // namespace

Color mix(const Color& a, const Color& b, float share) {
    return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

void Picture::polygon(const std::vector<Spot>& corners, const Color& top, const Color& bottom, float alpha) {
    if (corners.size() < 3) return;
    const auto [left, right] =
        std::minmax_element(corners.begin(), corners.end(), [](Spot a, Spot b) { return a.x < b.x; });
    const auto [high, low] =
        std::minmax_element(corners.begin(), corners.end(), [](Spot a, Spot b) { return a.y < b.y; });
    const float y0 = high->y;
    const float height = std::max(low->y - y0, 1.0F);
    lay(
        left->x, high->y, right->x, low->y,
        [&](float x, float y) { return coverOf(distanceToPolygon(x, y, corners), alpha); },
        [&](float, float y) { return mix(top, bottom, std::clamp((y - y0) / height, 0.0F, 1.0F)); });
}

void Picture::ellipse(Spot center, float radiusX, float radiusY, const Color& color, float alpha) {
    const float least = std::min(radiusX, radiusY);
    lay(
        center.x - radiusX, center.y - radiusY, center.x + radiusX, center.y + radiusY,
        [&](float x, float y) {
            const float away = std::hypot((x - center.x) / radiusX, (y - center.y) / radiusY);
            return coverOf((away - 1) * least, alpha);
        },
        [&](float, float) { return color; });
}

void Picture::line(Spot from, Spot to, float radius, const Color& color, float alpha) {
    lay(
        std::min(from.x, to.x) - radius, std::min(from.y, to.y) - radius, std::max(from.x, to.x) + radius,
        std::max(from.y, to.y) + radius,
        [&](float x, float y) { return coverOf(distanceToSegment(x, y, from, to) - radius, alpha); },
        [&](float, float) { return color; });
}

void Picture::box(float left, float top, float right, float bottom, float corner, const Color& color, float alpha) {
    const Spot middle{(left + right) / 2, (top + bottom) / 2};
    const Spot half{(right - left) / 2 - corner, (bottom - top) / 2 - corner};
    lay(
        left, top, right, bottom,
        [&](float x, float y) {
            const float dx = std::fabs(x - middle.x) - half.x;
            const float dy = std::fabs(y - middle.y) - half.y;
            const float outside = std::hypot(std::max(dx, 0.0F), std::max(dy, 0.0F));
            return coverOf(outside + std::min(std::max(dx, dy), 0.0F) - corner, alpha);
        },
        [&](float, float) { return color; });
}

void Picture::haze(Spot center, float radiusX, float radiusY, const Color& color, float alpha) {
    lay(
        center.x - radiusX, center.y - radiusY, center.x + radiusX, center.y + radiusY,
        [&](float x, float y) {
            const float away = std::hypot((x - center.x) / radiusX, (y - center.y) / radiusY);
            const float near = std::max(0.0F, 1 - away);
            return near * near * (3 - 2 * near) * alpha;
        },
        [&](float, float) { return color; });
}

void Picture::glow(Spot center, float radiusX, float radiusY, const Color& color, float strength) {
    const auto light = [&](float x, float y) {
        const float away = std::hypot((x - center.x) / radiusX, (y - center.y) / radiusY);
        const float near = std::max(0.0F, 1 - away);
        return near * near * strength;
    };
    lay(
        center.x - radiusX, center.y - radiusY, center.x + radiusX, center.y + radiusY,
        [&](float x, float y) { return light(x, y) > 0 ? 1.0F : 0.0F; },
        [&](float x, float y) {
            const Color& below = at(static_cast<int>(x), static_cast<int>(y));
            return below + color * light(x, y);
        });
}

void Picture::text(Spot topLeft, const char* letters, int scale, const Color& color, float alpha) {
    const auto size = static_cast<float>(scale);
    for (const char* letter = letters; *letter != '\0'; ++letter, topLeft.x += 6 * size) {
        const char* found = std::strchr(knownLetters, *letter);
        if (found == nullptr) continue;
        const auto& dots = letterDots[static_cast<std::size_t>(found - knownLetters)];
        const float right = topLeft.x + 5 * size;
        const float bottom = topLeft.y + 7 * size;
        lay(
            topLeft.x, topLeft.y, right, bottom,
            [&](float x, float y) {
                if (x < topLeft.x || y < topLeft.y || x >= right || y >= bottom) return 0.0F;
                const auto row = static_cast<std::size_t>((y - topLeft.y) / size);
                const int column = static_cast<int>((x - topLeft.x) / size);
                return (dots[row] >> (4 - column) & 1) != 0 ? alpha : 0.0F;
            },
            [&](float, float) { return color; });
    }
}

void Picture::copyRows(const Picture& from, int firstRow, int endRow) {
    const auto first = static_cast<std::ptrdiff_t>(std::clamp(firstRow, 0, height_)) * width_;
    const auto end = static_cast<std::ptrdiff_t>(std::clamp(endRow, 0, height_)) * width_;
    if (first < end) std::copy(from.pixels_.begin() + first, from.pixels_.begin() + end, pixels_.begin() + first);
}

void Picture::writeRows(std::vector<std::uint8_t>& rgb, int firstRow, int endRow) const {
    rgb.resize(pixels_.size() * 3);
    const auto byte = [](float value) { return static_cast<std::uint8_t>(std::clamp(value, 0.0F, 1.0F) * 255 + 0.5F); };
    const auto first = static_cast<std::size_t>(std::clamp(firstRow, 0, height_) * width_);
    const auto end = static_cast<std::size_t>(std::clamp(endRow, 0, height_) * width_);
    for (std::size_t i = first; i < end; ++i) {
        rgb[3 * i] = byte(pixels_[i].r);
        rgb[3 * i + 1] = byte(pixels_[i].g);
        rgb[3 * i + 2] = byte(pixels_[i].b);
    }
}

}  // namespace korvane
