#include "korvane/server/sample/Daylight.h"

#include <array>

namespace korvane {
namespace {

constexpr Color nightTop{0.035F, 0.055F, 0.13F};
constexpr Color nightLow{0.09F, 0.12F, 0.23F};
constexpr Color nightLight{0.27F, 0.31F, 0.44F};

const std::array<Daylight, 10> dayLength = {
    {{nightTop, nightLow, nightLight, 1, 0},
     {nightTop, nightLow, nightLight, 1, 5.6F},
     {{0.25F, 0.33F, 0.55F}, {0.98F, 0.64F, 0.44F}, {0.64F, 0.57F, 0.60F}, 0.4F, 6.7F},
     {{0.30F, 0.55F, 0.85F}, {0.86F, 0.89F, 0.92F}, {0.96F, 0.94F, 0.90F}, 0, 8},
     {{0.20F, 0.47F, 0.84F}, {0.70F, 0.85F, 0.96F}, {1.03F, 1.03F, 1.0F}, 0, 12},
     {{0.27F, 0.50F, 0.82F}, {0.92F, 0.89F, 0.82F}, {1.0F, 0.95F, 0.86F}, 0, 15.3F},
     {{0.30F, 0.30F, 0.53F}, {0.99F, 0.56F, 0.32F}, {0.78F, 0.60F, 0.54F}, 0.35F, 16.7F},
     {{0.08F, 0.10F, 0.24F}, {0.32F, 0.24F, 0.38F}, {0.36F, 0.36F, 0.50F}, 0.9F, 17.8F},
     {nightTop, nightLow, nightLight, 1, 19},
     {nightTop, nightLow, nightLight, 1, 24.01F}}};

}  // namespace

Daylight Daylight::at(float hour) {
    hour = std::clamp(hour, 0.0F, 24.0F);
    std::size_t next = 1;
    while (next + 1 < dayLength.size() && dayLength[next].hour < hour) ++next;
    const Daylight& a = dayLength[next - 1];
    const Daylight& b = dayLength[next];
    const float share = (hour - a.hour) / (b.hour - a.hour);
    return {mix(a.skyTop, b.skyTop, share), mix(a.skyLow, b.skyLow, share), mix(a.ambient, b.ambient, share),
            a.night + (b.night - a.night) * share, hour};
}

Color Daylight::nearby() const {
    return ambient + Color{0.30F, 0.29F, 0.26F} * night;
}

}  // namespace korvane
