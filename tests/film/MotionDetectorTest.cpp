#include "korvane/film/worker/MotionDetector.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>

namespace korvane {
namespace {

constexpr TimeMs frameEvery = 200;

/// A still picture, lit by `light`, grained by `noise`, with a block at a column when it is not negative.
class Scene {
  public:
    CellImage image(double column, int light = 0, int noise = 0) {
        CellImage image;
        for (int row = 0; row < CellImage::gridRows; ++row)
            for (int x = 0; x < CellImage::gridColumns; ++x) {
                int value = 60 + row * 2 + light;
                if (column >= 0 && row >= 20 && row < 26 && x >= column && x < column + 3) value += 45;
                if (noise > 0) value += static_cast<int>(random_() % static_cast<unsigned>(2 * noise + 1)) - noise;
                image.cells[static_cast<std::size_t>(row * CellImage::gridColumns + x)] =
                    static_cast<std::uint8_t>(value);
            }
        return image;
    }

  private:
    std::mt19937 random_{11};
};

std::vector<Motion> run(TimeMs length, const std::function<CellImage(TimeMs)>& imageAt) {
    using Change = MotionDetector::Change;
    MotionDetector detector;
    std::map<Change, std::size_t> told;
    for (TimeMs time = 0; time < length; time += frameEvery) ++told[detector.add(time, imageAt(time))];
    const auto motions = detector.motions();
    EXPECT_EQ(told[Change::Began], motions.size());
    EXPECT_EQ(told[Change::Ended], motions.size());
    return motions;
}

TEST(MotionDetector, StaysCalmWhereNothingMoves) {
    Scene scene;
    const std::pair<const char*, std::function<CellImage(TimeMs)>> rows[] = {
        {"noise", [&](TimeMs) { return scene.image(-1, 0, 12); }},
        {"dawn", [&](TimeMs time) { return scene.image(-1, static_cast<int>(time / 300)); }},
        {"a lamp is switched on", [&](TimeMs time) { return scene.image(-1, time > 7000 ? 60 : 0, 2); }},
        {"one bad picture", [&](TimeMs time) { return scene.image(time == 7000 ? 30 : -1); }}};
    for (const auto& [what, imageAt] : rows) EXPECT_TRUE(run(20'000, imageAt).empty()) << what;
}

TEST(MotionDetector, JoinsWhatARestDoesNotDivide) {
    ASSERT_EQ(MotionDetector::rest, 1200);
    const std::pair<std::vector<Motion>, std::vector<Motion>> rows[] = {
        {{}, {}},
        {{{5000, 6000}, {0, 1000}, {2200, 4000}}, {{0, 1000}, {2200, 6000}}},
        {{{0, 9000}, {500, 600}, {10'199, 10'500}}, {{0, 10'500}}}};
    for (const auto& [given, joined] : rows) EXPECT_EQ(MotionDetector::join(given), joined);
}

}  // namespace
}  // namespace korvane
