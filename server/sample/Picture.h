#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace korvane {

/// Red, green, blue from 0 to 1.
struct Color {
    float r = 0;
    float g = 0;
    float b = 0;

    Color operator*(float k) const { return {r * k, g * k, b * k}; }
    Color operator*(const Color& o) const { return {r * o.r, g * o.g, b * o.b}; }
    Color operator+(const Color& o) const { return {r + o.r, g + o.g, b + o.b}; }
};

Color mix(const Color& a, const Color& b, float share);

struct Spot {
    float x = 0;
    float y = 0;
};

/// A picture in memory to draw on. Shapes have soft edges one pixel wide. Whatever lies outside is cut off.
class Picture {
  public:
    Picture(int width, int height)
        : width_(width), height_(height), pixels_(static_cast<std::size_t>(width * height)) {}

    int width() const { return width_; }
    int height() const { return height_; }
    const Color& at(int x, int y) const { return pixels_[static_cast<std::size_t>(y * width_ + x)]; }

    /// Calls paint(x, y) for each pixel and lays its color over the picture, `cover(x, y)` thick.
    template <typename Cover, typename Paint>
    void lay(float left, float top, float right, float bottom, Cover cover, Paint paint);

    void polygon(const std::vector<Spot>& corners, const Color& color, float alpha = 1) {
        polygon(corners, color, color, alpha);
    }
    /// Changes from one color at the highest corner to the other at the lowest.
    void polygon(const std::vector<Spot>& corners, const Color& top, const Color& bottom, float alpha = 1);
    void ellipse(Spot center, float radiusX, float radiusY, const Color& color, float alpha = 1);
    /// A thick line with round ends.
    void line(Spot from, Spot to, float radius, const Color& color, float alpha = 1);
    void box(float left, float top, float right, float bottom, float corner, const Color& color, float alpha = 1);
    /// An ellipse without an edge, strongest in its middle.
    void haze(Spot center, float radiusX, float radiusY, const Color& color, float alpha);
    /// Light that adds to what is there.
    void glow(Spot center, float radiusX, float radiusY, const Color& color, float strength);
    /// Digits, blanks, '-', ':' and '/', `scale` pixels a dot, seven dots high.
    void text(Spot topLeft, const char* letters, int scale, const Color& color, float alpha);

    /// Takes rows of a picture of the same size.
    void copyRows(const Picture& from, int firstRow, int endRow);

    /// Writes rows as 8-bit RGB into a picture of this size, row by row.
    void writeRows(std::vector<std::uint8_t>& rgb, int firstRow, int endRow) const;

  private:
    int width_;
    int height_;
    std::vector<Color> pixels_;
};

template <typename Cover, typename Paint>
void Picture::lay(float left, float top, float right, float bottom, Cover cover, Paint paint) {
    const int x0 = std::max(0, static_cast<int>(std::floor(left)) - 1);
    const int y0 = std::max(0, static_cast<int>(std::floor(top)) - 1);
    const int x1 = std::min(width_, static_cast<int>(std::ceil(right)) + 1);
    const int y1 = std::min(height_, static_cast<int>(std::ceil(bottom)) + 1);
    for (int y = y0; y < y1; ++y) {
        Color* row = pixels_.data() + static_cast<std::ptrdiff_t>(y) * width_;
        for (int x = x0; x < x1; ++x) {
            const float px = static_cast<float>(x) + 0.5F;
            const float py = static_cast<float>(y) + 0.5F;
            const float thick = cover(px, py);
            if (thick > 0) row[x] = mix(row[x], paint(px, py), std::min(thick, 1.0F));
        }
    }
}

}  // namespace korvane
