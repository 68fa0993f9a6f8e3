#include "korvane/server/sample/Movement.h"

#include <array>
#include <cmath>
#include <vector>

#include "korvane/server/sample/Yard.h"

namespace korvane {
namespace {

constexpr float outside = 45;
constexpr Spot door{163, 241};
constexpr Spot pathFoot{205, 300};

struct Walker {
    Spot foot;
    float height = 60;
    float stride = 0;
    /// 1 to the right, -1 to the left.
    float facing = 1;
    bool carries = false;
    float alpha = 1;
};

class MovementPainter {
  public:
    MovementPainter(Picture& picture, const Movement& movement, float elapsed, const Daylight& light)
        : picture_(picture), movement_(movement), elapsed_(elapsed), light_(light) {}

    void draw() {
        switch (movement_.kind) {
            case Movement::Kind::Passer:
                return passer(304, 1);
            case Movement::Kind::Jogger:
                return passer(306, 1.6F);
            case Movement::Kind::Dog:
                return dog();
            case Movement::Kind::Car:
                return car();
            case Movement::Kind::Cyclist:
                return cyclist();
            case Movement::Kind::Comer:
                return visitor(share());
            case Movement::Kind::Leaver:
                return visitor(1 - share());
            case Movement::Kind::Courier:
                return courier();
        }
    }

  private:
    float share() const { return std::clamp(elapsed_ / movement_.duration(), 0.0F, 1.0F); }
    bool leftward() const { return (movement_.look & 1) != 0; }
    float facing() const { return leftward() ? -1.0F : 1.0F; }
    Color lit(const Color& color) const { return color * light_.nearby(); }

    float acrossX() const {
        const float x = -outside + share() * (filmWidth + 2 * outside);
        return leftward() ? filmWidth - x : x;
    }

    template <std::size_t N>
    Color choose(const std::array<Color, N>& colors, std::uint32_t shift) const {
        return lit(colors[(movement_.look >> shift) % N]);
    }

    Color cloth() const {
        static constexpr std::array<Color, 6> carColors = {{{0.80F, 0.20F, 0.18F},
                                                            {0.16F, 0.32F, 0.62F},
                                                            {0.93F, 0.74F, 0.22F},
                                                            {0.20F, 0.50F, 0.36F},
                                                            {0.93F, 0.92F, 0.90F},
                                                            {0.50F, 0.26F, 0.52F}}};
        return choose(carColors, 1);
    }

    void person(const Walker& walker) {
        const float h = walker.height;
        const Spot foot = walker.foot;
        const float swing = std::sin(walker.stride) * h * 0.15F;
        const Spot hip{foot.x, foot.y - h * 0.46F};
        const Spot neck{foot.x + walker.facing * h * 0.02F, foot.y - h * 0.80F};
        const Color trousers = lit({0.20F, 0.21F, 0.27F});
        const Color skin = lit({0.86F, 0.66F, 0.53F});
        const Color jacket = cloth();
        const float a = walker.alpha;
        picture_.haze({foot.x + h * 0.1F, foot.y}, h * 0.38F, h * 0.08F, {0, 0, 0}, 0.5F * a);
        const float lift = std::max(0.0F, std::cos(walker.stride)) * h * 0.04F;
        picture_.line(hip, {foot.x - swing, foot.y - h * 0.03F - lift}, h * 0.055F, trousers * 0.8F, a);
        picture_.line(hip, {foot.x + swing, foot.y - h * 0.03F}, h * 0.058F, trousers, a);
        picture_.line({neck.x, neck.y + h * 0.05F}, {hip.x - swing * 0.7F, hip.y}, h * 0.04F, jacket * 0.75F, a);
        picture_.line({neck.x, neck.y + h * 0.06F}, {hip.x, hip.y - h * 0.02F}, h * 0.105F, jacket, a);
        const Spot hand = walker.carries ? Spot{hip.x + walker.facing * h * 0.2F, hip.y - h * 0.1F}
                                         : Spot{hip.x + swing * 0.8F, hip.y + h * 0.01F};
        picture_.line({neck.x, neck.y + h * 0.06F}, hand, h * 0.042F, jacket * 0.88F, a);
        if (walker.carries)
            picture_.box(hand.x - h * 0.11F, hand.y - h * 0.09F, hand.x + h * 0.13F, hand.y + h * 0.09F, 1,
                         lit({0.74F, 0.56F, 0.36F}), a);
        const Spot head{neck.x + walker.facing * h * 0.015F, neck.y - h * 0.075F};
        picture_.ellipse(head, h * 0.072F, h * 0.088F, skin, a);
        picture_.ellipse({head.x - walker.facing * h * 0.012F, head.y - h * 0.045F}, h * 0.075F, h * 0.055F,
                         lit({0.25F, 0.17F, 0.12F}), a);
    }

    static float heightAt(float y) { return 46 + (y - 241) * 0.42F; }

    void passer(float y, float pace) {
        Walker walker{{acrossX(), y}, heightAt(y), elapsed_ * 7 * pace, facing()};
        if (pace > 1) walker.foot.y -= std::fabs(std::sin(walker.stride)) * 3;
        person(walker);
    }

    /// `way`: 0 at the picture's right edge, 1 at the door.
    void visitor(float way, bool carries = false) {
        const Spot edge{filmWidth + outside, 303};
        constexpr float turnAt = 0.72F;
        const bool onPath = way > turnAt;
        const float part = onPath ? (way - turnAt) / (1 - turnAt) : way / turnAt;
        const Spot from = onPath ? pathFoot : edge;
        const Spot to = onPath ? door : pathFoot;
        const Spot foot{from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part};
        const bool comes = movement_.kind != Movement::Kind::Leaver && !returning_;
        // Somebody who lives here goes through the door.
        const bool vanishes = movement_.kind != Movement::Kind::Courier;
        const float alpha = vanishes ? std::clamp((1 - way) * 25, 0.0F, 1.0F) : 1;
        person({foot, heightAt(foot.y), elapsed_ * 8, comes ? -1.0F : 1.0F, carries, alpha});
    }

    void courier() {
        constexpr float walk = Movement::courierRings - 0.4F;
        constexpr float stay = 2.2F;
        if (elapsed_ < walk) return visitor(elapsed_ / walk, true);
        if (elapsed_ < walk + stay) {
            // Puts the parcel down and looks about.
            const float bow = std::sin((elapsed_ - walk) * 3);
            return person(
                {{door.x + bow * 2, door.y}, heightAt(door.y) * (1 - 0.12F * bow * bow), bow, -1, elapsed_ < walk + 1});
        }
        returning_ = true;
        const float back = (elapsed_ - walk - stay) / (movement_.duration() - walk - stay);
        visitor(1 - std::clamp(back, 0.0F, 1.0F));
    }

    void dog() {
        static constexpr std::array<Color, 3> coats = {
            {{0.36F, 0.23F, 0.13F}, {0.13F, 0.12F, 0.12F}, {0.93F, 0.88F, 0.78F}}};
        const Color coat = choose(coats, 3);
        const float f = facing();
        const float leap = std::fabs(std::sin(elapsed_ * 9)) * 3;
        const Spot body{acrossX(), 276 - leap};
        picture_.haze({body.x, 291}, 34, 5, {0, 0, 0}, 0.5F);
        for (int leg = 0; leg < 4; ++leg) {
            const float root = body.x + (leg < 2 ? -15.0F : 15.0F);
            const float swing = std::sin(elapsed_ * 18 + static_cast<float>(leg) * 1.7F) * 7;
            picture_.line({root, body.y + 3}, {root + swing, 290}, 2.6F, coat * 0.8F);
        }
        picture_.line({body.x - 17, body.y}, {body.x + 17, body.y - 1}, 8.5F, coat);
        picture_.line({body.x + f * 16, body.y - 4}, {body.x + f * 26, body.y - 13}, 5.5F, coat);
        picture_.ellipse({body.x + f * 29, body.y - 15}, 8, 6.5F, coat * 1.05F);
        picture_.line({body.x + f * 25, body.y - 19}, {body.x + f * 22, body.y - 11}, 2.6F, coat * 0.65F);
        picture_.line({body.x - f * 22, body.y - 4}, {body.x - f * 32, body.y - 14 + std::sin(elapsed_ * 14) * 4}, 2.2F,
                      coat);
    }

    void wheel(Spot center, float radius) {
        picture_.ellipse(center, radius, radius, Color{0.07F, 0.07F, 0.08F});
        picture_.ellipse(center, radius * 0.55F, radius * 0.55F, lit({0.62F, 0.63F, 0.66F}));
        picture_.ellipse(center, radius * 0.2F, radius * 0.2F, lit({0.25F, 0.25F, 0.27F}));
    }

    void car() {
        static constexpr std::array<Color, 5> paints = {{{0.72F, 0.12F, 0.14F},
                                                         {0.16F, 0.34F, 0.60F},
                                                         {0.90F, 0.91F, 0.92F},
                                                         {0.30F, 0.33F, 0.36F},
                                                         {0.85F, 0.68F, 0.18F}}};
        const Color paint = choose(paints, 2);
        const float f = facing();
        const float reach = 90;
        const float x = (leftward() ? -1.0F : 1.0F) * (share() - 0.5F) * (filmWidth + 2 * reach) + filmWidth / 2.0F;
        const float y = 342;
        const auto at = [&](float along, float up) { return Spot{x + f * along, y - up}; };
        picture_.haze({x, y + 2}, 88, 9, {0, 0, 0}, 0.75F);
        picture_.polygon(
            {at(-72, 4), at(-74, 24), at(-66, 30), at(-30, 33), at(40, 31), at(66, 25), at(74, 17), at(73, 4)},
            paint * 1.08F, paint * 0.72F);
        picture_.polygon({at(-48, 31), at(-34, 52), at(14, 53), at(40, 31)}, paint * 1.1F, paint * 0.95F);
        const Color glass = mix(light_.skyLow, Color{0.1F, 0.13F, 0.17F}, 0.6F);
        picture_.polygon({at(-41, 32), at(-31, 49), at(-8, 49), at(-8, 32)}, glass, glass * 0.7F);
        picture_.polygon({at(-3, 32), at(-3, 49), at(11, 49), at(31, 32)}, glass, glass * 0.7F);
        picture_.line(at(-5, 8), at(-5, 30), 0.6F, paint * 0.55F);
        picture_.line(at(-70, 12), at(70, 12), 0.7F, paint * 0.6F);
        wheel(at(-44, 5), 13);
        wheel(at(46, 5), 13);
        picture_.ellipse(at(70, 20), 4, 3, {1, 0.97F, 0.85F});
        picture_.ellipse(at(-72, 21), 2.5F, 3.5F, {0.9F, 0.12F, 0.1F});
        if (light_.night < 0.2F) return;
        picture_.glow(at(72, 18), 34, 24, {1, 0.95F, 0.8F}, light_.night);
        picture_.glow(at(150, 0), 95, 20, {0.9F, 0.85F, 0.7F}, 0.7F * light_.night);
        picture_.glow(at(-74, 20), 22, 16, {0.9F, 0.1F, 0.08F}, light_.night);
    }

    void cyclist() {
        const float x = acrossX();
        const float f = facing();
        const float y = 318;
        const Color frame =
            choose(std::array<Color, 3>{{{0.1F, 0.6F, 0.6F}, {0.85F, 0.3F, 0.1F}, {0.15F, 0.15F, 0.18F}}}, 4);
        picture_.haze({x, y + 14}, 44, 5, {0, 0, 0}, 0.55F);
        for (const float side : {-22.0F, 22.0F}) {
            picture_.ellipse({x + side, y}, 15, 15, Color{0.06F, 0.06F, 0.07F}, 0.9F);
            picture_.ellipse({x + side, y}, 12.5F, 12.5F, lit({0.38F, 0.38F, 0.40F}));
        }
        const Spot crank{x - f * 3, y + 1};
        const Spot seat{x - f * 10, y - 27};
        const Spot bar{x + f * 15, y - 27};
        for (const auto& [a, b] : {std::pair(crank, seat), std::pair(crank, bar), std::pair(seat, bar),
                                   std::pair(Spot{x - f * 22, y}, crank), std::pair(Spot{x + f * 22, y}, bar)})
            picture_.line(a, b, 1.6F, frame);
        const float turn = elapsed_ * 8;
        const Spot hip{seat.x, seat.y - 4};
        const Spot shoulder{x + f * 4, y - 56};
        for (const float phase : {0.0F, 3.1416F}) {
            const Spot pedal{crank.x + std::cos(turn + phase) * 7, crank.y + std::sin(turn + phase) * 7};
            const Spot knee{(hip.x + pedal.x) / 2 + f * 10, (hip.y + pedal.y) / 2 - 3};
            picture_.line(hip, knee, 4, lit({0.20F, 0.21F, 0.27F}));
            picture_.line(knee, pedal, 3.2F, lit({0.20F, 0.21F, 0.27F}));
        }
        picture_.line(hip, shoulder, 7, cloth());
        picture_.line(shoulder, {bar.x, bar.y - 2}, 2.8F, cloth() * 0.85F);
        picture_.ellipse({shoulder.x + f * 5, shoulder.y - 11}, 5.5F, 6.5F, lit({0.86F, 0.66F, 0.53F}));
        picture_.ellipse({shoulder.x + f * 4, shoulder.y - 15}, 6.5F, 4.5F, lit({0.95F, 0.95F, 0.92F}));
    }

    Picture& picture_;
    const Movement& movement_;
    const float elapsed_;
    const Daylight& light_;
    bool returning_ = false;
};

}  // namespace

float Movement::durationOf(Kind kind) {
    switch (kind) {
        case Kind::Passer:
            return 7;
        case Kind::Jogger:
            return 4.6F;
        case Kind::Dog:
            return 3.6F;
        case Kind::Car:
            return 3;
        case Kind::Cyclist:
            return 4;
        case Kind::Comer:
        case Kind::Leaver:
            return 6.5F;
        case Kind::Courier:
            return 13.5F;
    }
    return 0;
}

void drawMovement(Picture& picture, const Movement& movement, float time, const Daylight& light) {
    if (time < movement.start || time >= movement.end()) return;
    MovementPainter(picture, movement, time - movement.start, light).draw();
}

}  // namespace korvane
