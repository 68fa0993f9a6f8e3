#include "korvane/server/sample/Yard.h"

#include <array>
#include <cstdint>

namespace korvane {
namespace {

constexpr float pictureWidth = filmWidth;
constexpr float pictureHeight = filmHeight;
constexpr float horizon = 165;

/// 0 to 1, the same for the same numbers.
float scatter(std::uint32_t a, std::uint32_t b) {
    std::uint32_t h = a * 374761393U + b * 668265263U;
    h = (h ^ (h >> 13)) * 1274126177U;
    return static_cast<float>((h ^ (h >> 16)) & 0xffff) / 65535.0F;
}

float scatterOf(int a, int b) {
    return scatter(static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b));
}

class YardPainter {
  public:
    YardPainter(Picture& picture, const Daylight& light) : picture_(picture), light_(light) {}

    void draw() {
        sky();
        hills();
        lawn();
        street();
        drive();
        house();
        door();
        garage();
        for (const Spot& spot : {Spot{78, 240}, Spot{106, 243}, Spot{212, 242}}) bush(spot, 17);
        tree({548, 262}, 1.25F);
        tree({448, 206}, 0.62F);
        tree({24, 232}, 0.85F);
        lamps();
        corners();
    }

  private:
    Color lit(float r, float g, float b) const { return Color{r, g, b} * light_.ambient; }

    void sky() {
        picture_.polygon({{0, 0}, {pictureWidth, 0}, {pictureWidth, horizon + 6}, {0, horizon + 6}}, light_.skyTop,
                         light_.skyLow);
        for (int i = 0; light_.night > 0.5F && i < 110; ++i) {
            const Spot star{scatterOf(i, 1) * pictureWidth, scatterOf(i, 2) * 120};
            picture_.ellipse(star, 0.7F, 0.7F, {0.9F, 0.92F, 1}, (light_.night - 0.5F) * (0.3F + scatterOf(i, 3)));
        }
        const float day = (light_.hour - 6.6F) / 10.2F;
        if (day > -0.02F && day < 1.02F) {
            const Spot sun{60 + day * 540, 168 - 148 * std::sin(std::clamp(day, 0.0F, 1.0F) * 3.14159F)};
            picture_.glow(sun, 190, 150, Color{0.5F, 0.38F, 0.2F}, 0.75F);
            picture_.ellipse(sun, 13, 13, {1, 0.97F, 0.86F});
        } else {
            picture_.glow({520, 52}, 90, 80, {0.3F, 0.34F, 0.42F}, 0.6F);
            picture_.ellipse({520, 52}, 12, 12, {0.93F, 0.94F, 0.9F});
            picture_.ellipse({516, 49}, 2.6F, 2.2F, {0.82F, 0.84F, 0.82F});
            picture_.ellipse({523, 56}, 3.4F, 2.8F, {0.84F, 0.86F, 0.84F});
        }
        for (int i = 0; i < 5; ++i) cloud(i);
    }

    void cloud(int number) {
        const float x = std::fmod(scatterOf(number, 11) * 800 + light_.hour * 22, 800.0F) - 80;
        const float y = 28 + scatterOf(number, 12) * 75;
        const Color color = mix(Color{0.98F, 0.98F, 1} * light_.ambient, light_.skyLow, 0.35F);
        for (int i = 0; i < 6; ++i)
            picture_.haze({x + static_cast<float>(i) * 19 - 45, y + scatterOf(number, 20 + i) * 9}, 42,
                          15 + scatterOf(number, 30 + i) * 9, color, 0.42F);
    }

    void hills() {
        const Color far = mix(lit(0.42F, 0.50F, 0.58F), light_.skyLow, 0.45F);
        const Color near = mix(lit(0.27F, 0.38F, 0.33F), light_.skyLow, 0.2F);
        picture_.polygon({{-5, 172},
                          {-5, 140},
                          {70, 122},
                          {160, 138},
                          {250, 118},
                          {370, 137},
                          {470, 112},
                          {580, 134},
                          {645, 120},
                          {645, 172}},
                         far);
        for (int i = 0; i < 46; ++i) {
            const float x = static_cast<float>(i) * 14.5F;
            const float height = 15 + scatterOf(i, 41) * 18;
            picture_.ellipse({x, 168 - height / 3}, 12, height * 0.75F,
                             mix(near, lit(0.40F, 0.32F, 0.2F), scatterOf(i, 42) * 0.6F));
        }
    }

    void lawn() {
        picture_.polygon({{0, horizon}, {pictureWidth, horizon}, {pictureWidth, 300}, {0, 300}},
                         lit(0.40F, 0.52F, 0.30F), lit(0.27F, 0.43F, 0.18F));
        for (int i = 0; i < 2600; ++i) {
            const float depth = scatterOf(i, 51);
            const Spot root{scatterOf(i, 52) * pictureWidth, horizon + 4 + depth * 130};
            const Color blade = scatterOf(i, 53) > 0.5F ? lit(0.46F, 0.58F, 0.30F) : lit(0.20F, 0.34F, 0.14F);
            picture_.line(root, {root.x + 1, root.y - 1 - 3 * depth}, 0.5F, blade, 0.35F);
        }
        for (int i = 0; i < 26; ++i) {
            const float x = 345 + static_cast<float>(i) * 12;
            picture_.box(x, 168, x + 9, 196, 1.5F, lit(0.80F, 0.78F, 0.74F) * (0.9F + 0.12F * scatterOf(i, 54)));
        }
        picture_.box(340, 174, 660, 177, 0.5F, lit(0.66F, 0.64F, 0.6F));
        picture_.box(340, 188, 660, 191, 0.5F, lit(0.66F, 0.64F, 0.6F));
    }

    void street() {
        picture_.polygon({{0, 294}, {pictureWidth, 294}, {pictureWidth, 312}, {0, 312}}, lit(0.70F, 0.69F, 0.66F),
                         lit(0.60F, 0.59F, 0.57F));
        for (int i = 0; i < 14; ++i) {
            const float x = static_cast<float>(i) * 50;
            picture_.line({x, 294}, {x - 8, 311}, 0.6F, lit(0.45F, 0.44F, 0.43F), 0.6F);
        }
        picture_.polygon({{0, 312}, {pictureWidth, 312}, {pictureWidth, 316}, {0, 316}}, lit(0.50F, 0.50F, 0.50F));
        picture_.polygon({{0, 316}, {pictureWidth, 316}, {pictureWidth, pictureHeight}, {0, pictureHeight}},
                         lit(0.30F, 0.30F, 0.32F), lit(0.22F, 0.22F, 0.24F));
        for (int i = 0; i < 6; ++i) {
            const float x = static_cast<float>(i) * 122 + 12;
            picture_.polygon({{x, 351}, {x + 58, 351}, {x + 56, 355}, {x - 4, 355}}, lit(0.86F, 0.84F, 0.74F), 0.8F);
        }
    }

    void drive() {
        picture_.polygon({{238, 236}, {322, 236}, {438, 294}, {296, 294}}, lit(0.58F, 0.57F, 0.56F),
                         lit(0.50F, 0.49F, 0.49F));
        picture_.line({280, 237}, {367, 293}, 0.7F, lit(0.40F, 0.39F, 0.39F), 0.6F);
        for (int i = 0; i < 7; ++i) {
            const auto step = static_cast<float>(i);
            picture_.ellipse({164 + step * 6.2F, 241 + step * 8}, 11 + step * 0.9F, 3 + step * 0.3F,
                             lit(0.66F, 0.64F, 0.60F));
        }
    }

    void house() {
        const Color wall = lit(0.90F, 0.86F, 0.78F);
        picture_.haze({195, 238}, 190, 16, {0, 0, 0}, 0.35F);
        picture_.polygon({{62, 128}, {232, 128}, {232, 238}, {62, 238}}, wall, wall * 0.86F);
        for (int i = 1; i < 14; ++i) {
            const float y = 128 + static_cast<float>(i) * 8;
            picture_.line({62, y}, {232, y}, 0.4F, wall * 0.78F, 0.6F);
        }
        picture_.box(96, 62, 112, 100, 1, lit(0.55F, 0.34F, 0.28F));
        picture_.polygon({{48, 132}, {92, 72}, {206, 72}, {246, 132}}, lit(0.42F, 0.30F, 0.29F),
                         lit(0.32F, 0.23F, 0.23F));
        for (int i = 1; i < 6; ++i) {
            const float y = 72 + static_cast<float>(i) * 10;
            const float inset = (y - 72) * 0.7F;
            picture_.line({92 - inset, y}, {206 + inset * 0.9F, y}, 0.5F, lit(0.22F, 0.16F, 0.16F), 0.5F);
        }
        picture_.box(46, 130, 248, 135, 1.5F, lit(0.96F, 0.95F, 0.92F));
        window(80, 160, 122, 200);
        window(192, 160, 222, 200);
        picture_.polygon({{126, 92}, {148, 74}, {170, 92}}, lit(0.36F, 0.26F, 0.26F));
        window(136, 94, 160, 118);
    }

    void window(float left, float top, float right, float bottom) {
        const Color glass =
            mix(mix(light_.skyTop, light_.skyLow, 0.5F) * 0.75F, {1, 0.80F, 0.45F}, light_.night * 0.9F);
        picture_.box(left - 3, top - 3, right + 3, bottom + 3, 1.5F, lit(0.98F, 0.97F, 0.95F));
        picture_.polygon({{left, top}, {right, top}, {right, bottom}, {left, bottom}}, glass, glass * 0.8F);
        const float middle = (left + right) / 2;
        picture_.line({middle, top}, {middle, bottom}, 1, lit(0.95F, 0.94F, 0.92F));
        picture_.line({left, (top + bottom) / 2}, {right, (top + bottom) / 2}, 1, lit(0.95F, 0.94F, 0.92F));
        if (light_.night > 0.3F)
            picture_.glow({middle, (top + bottom) / 2}, 34, 34, {1, 0.7F, 0.35F}, light_.night * 0.35F);
    }

    void door() {
        picture_.box(143, 174, 183, 238, 1.5F, lit(0.97F, 0.96F, 0.94F));
        picture_.box(148, 179, 178, 238, 1.5F, lit(0.20F, 0.36F, 0.42F));
        for (const float top : {185.0F, 210.0F}) picture_.box(153, top, 173, top + 18, 1, lit(0.26F, 0.44F, 0.50F));
        picture_.ellipse({174, 210}, 1.8F, 1.8F, lit(0.9F, 0.78F, 0.4F));
        picture_.polygon({{136, 236}, {190, 236}, {196, 243}, {130, 243}}, lit(0.72F, 0.70F, 0.67F));
    }

    void garage() {
        const Color wall = lit(0.87F, 0.83F, 0.75F);
        picture_.polygon({{228, 150}, {334, 150}, {334, 238}, {228, 238}}, wall, wall * 0.86F);
        picture_.polygon({{218, 154}, {250, 118}, {314, 118}, {346, 154}}, lit(0.40F, 0.29F, 0.28F),
                         lit(0.30F, 0.22F, 0.22F));
        picture_.box(216, 151, 348, 156, 1.5F, lit(0.96F, 0.95F, 0.92F));
        picture_.box(240, 174, 322, 238, 1.5F, lit(0.98F, 0.97F, 0.95F));
        for (int i = 0; i < 4; ++i) {
            const float top = 177 + static_cast<float>(i) * 15;
            picture_.box(243, top, 319, top + 13, 1, lit(0.84F, 0.84F, 0.83F));
        }
    }

    void bush(Spot root, float size) {
        for (int i = 0; i < 9; ++i) {
            const Spot leaf{root.x + (scatterOf(i, 61) - 0.5F) * size * 1.5F, root.y - scatterOf(i, 62) * size * 0.8F};
            picture_.ellipse(leaf, size * 0.5F, size * 0.42F,
                             mix(lit(0.16F, 0.33F, 0.15F), lit(0.33F, 0.48F, 0.22F), scatterOf(i, 63)));
        }
    }

    void tree(Spot root, float scale) {
        picture_.haze(root, 70 * scale, 12 * scale, {0, 0, 0}, 0.4F);
        const Spot fork{root.x, root.y - 78 * scale};
        picture_.line(root, fork, 6.5F * scale, lit(0.36F, 0.27F, 0.20F));
        picture_.line(fork, {root.x - 26 * scale, root.y - 112 * scale}, 3 * scale, lit(0.34F, 0.25F, 0.19F));
        picture_.line(fork, {root.x + 24 * scale, root.y - 116 * scale}, 3 * scale, lit(0.34F, 0.25F, 0.19F));
        for (int i = 0; i < 90; ++i) {
            const float angle = scatterOf(i, 71) * 6.2832F;
            const float reach = std::sqrt(scatterOf(i, 72)) * 54 * scale;
            const Spot leaf{root.x + std::cos(angle) * reach, root.y - 128 * scale + std::sin(angle) * reach * 0.8F};
            const float bright = 0.65F + 0.35F * (1 - (leaf.y - root.y + 180 * scale) / (100 * scale));
            const Color color = mix(lit(0.66F, 0.36F, 0.14F), lit(0.76F, 0.56F, 0.20F), scatterOf(i, 73));
            picture_.ellipse(leaf, 11 * scale, 9 * scale, color * std::clamp(bright, 0.55F, 1.05F), 0.92F);
        }
    }

    void lamps() {
        picture_.box(189, 182, 194, 191, 1, lit(0.2F, 0.2F, 0.2F));
        if (light_.night < 0.25F) return;
        picture_.glow({191, 190}, 95, 95, {1, 0.72F, 0.38F}, light_.night * 0.75F);
        picture_.glow({281, 172}, 120, 90, {0.9F, 0.72F, 0.45F}, light_.night * 0.40F);
        picture_.glow({600, 300}, 230, 90, {0.75F, 0.62F, 0.40F}, light_.night * 0.30F);
        picture_.glow({230, 320}, 330, 90, {0.55F, 0.52F, 0.45F}, light_.night * 0.28F);
        picture_.ellipse({191.5F, 187}, 2.4F, 3.2F, {1, 0.93F, 0.75F});
    }

    /// The lens lets less light into its corners.
    void corners() {
        picture_.lay(
            0, 0, pictureWidth, pictureHeight,
            [](float x, float y) {
                const float away =
                    std::hypot((x - pictureWidth / 2) / pictureWidth, (y - pictureHeight / 2) / pictureHeight);
                return std::clamp((away - 0.42F) * 1.1F, 0.0F, 0.35F);
            },
            [](float, float) {
                return Color{0, 0, 0};
            });
    }

    Picture& picture_;
    const Daylight& light_;
};

}  // namespace

void drawYard(Picture& picture, const Daylight& light) {
    YardPainter(picture, light).draw();
}

}  // namespace korvane
