#include "korvane/film/worker/MotionDetector.h"

#include <algorithm>

namespace korvane {
namespace {

// Half a second apart a walking person has left its own outline, and yet is seen soon after it comes.
constexpr TimeMs compareWith = 360;
// A cell has changed when it differs by this much, and by so many times what noise makes of five in six cells.
constexpr int leastDifference = 5;
constexpr int timesNoise = 5;
constexpr int cellsToBegin = 6;
constexpr int cellsToGoOn = 3;

}  // namespace

int MotionDetector::changedCells(const CellImage& before, const CellImage& after) {
    constexpr int most = 255;
    std::array<int, 2 * most + 1> histogram{};
    for (std::size_t i = 0; i < before.cells.size(); ++i)
        ++histogram[static_cast<std::size_t>(after.cells[i] - before.cells[i] + most)];
    const int cells = static_cast<int>(before.cells.size());
    int common = 0;
    for (int seen = histogram[0]; seen <= cells / 2; seen += histogram[static_cast<std::size_t>(common)]) ++common;
    const auto at = [&](int bin) { return bin < 0 || bin > 2 * most ? 0 : histogram[static_cast<std::size_t>(bin)]; };
    int noise = 0;
    int within = at(common);
    while (within < cells / 6 * 5) {
        ++noise;
        within += at(common - noise) + at(common + noise);
    }
    const int limit = std::max(leastDifference, noise * timesNoise);
    for (int distance = noise + 1; distance <= limit; ++distance)
        within += at(common - distance) + at(common + distance);
    return cells - within;
}

bool MotionDetector::isChange(const CellImage& before, const CellImage& after) {
    return changedCells(before, after) >= cellsToBegin;
}

MotionDetector::Change MotionDetector::add(TimeMs time, const CellImage& image) {
    while (recent_.size() > 1 && recent_[1].time <= time - compareWith) recent_.pop_front();
    const int changed = recent_.empty() ? 0 : changedCells(recent_.front().image, image);
    recent_.push_back({time, image});
    if (moving_) {
        if (changed >= cellsToGoOn) motions_.back().end = time;
        if (time - motions_.back().end < rest) return Change::None;
        moving_ = false;
        firstHigh_ = -1;
        return Change::Ended;
    }
    if (changed < cellsToBegin) {
        firstHigh_ = -1;
        return Change::None;
    }
    if (firstHigh_ < 0) {
        firstHigh_ = time;
        return Change::None;
    }
    moving_ = true;
    motions_.push_back({firstHigh_, time});
    return Change::Began;
}

std::vector<Motion> MotionDetector::join(std::vector<Motion> motions) {
    std::sort(motions.begin(), motions.end(), [](const Motion& a, const Motion& b) { return a.start < b.start; });
    std::vector<Motion> joined;
    for (const Motion& motion : motions) {
        if (!joined.empty() && motion.start - joined.back().end < rest)
            joined.back().end = std::max(joined.back().end, motion.end);
        else
            joined.push_back(motion);
    }
    return joined;
}

}  // namespace korvane
