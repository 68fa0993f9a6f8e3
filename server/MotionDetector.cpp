#include "server/MotionDetector.h"

#include <algorithm>
#include <cstdlib>

namespace korvane {

namespace {

// Half a second apart a walking person has left its own outline, and yet is seen soon after it comes.
constexpr TimeMs kCompareWith = 360;
constexpr int kCellDifference = 12;
constexpr int kCellsToBegin = 8;
constexpr int kCellsToGoOn = 4;

}  // namespace

int MotionDetector::changedCells(const CellImage& before, const CellImage& after) {
    constexpr int kMost = 255;
    std::array<int, 2 * kMost + 1> histogram{};
    for (std::size_t i = 0; i < before.cells.size(); ++i)
        ++histogram[static_cast<std::size_t>(after.cells[i] - before.cells[i] + kMost)];
    int seen = 0;
    int common = -kMost;
    const int half = static_cast<int>(before.cells.size()) / 2;
    for (const int count : histogram) {
        seen += count;
        if (seen > half) break;
        ++common;
    }
    int changed = 0;
    for (int difference = -kMost; difference <= kMost; ++difference)
        if (std::abs(difference - common) > kCellDifference)
            changed += histogram[static_cast<std::size_t>(difference + kMost)];
    return changed;
}

MotionDetector::Change MotionDetector::add(TimeMs time, const CellImage& image) {
    while (recent_.size() > 1 && recent_[1].time <= time - kCompareWith) recent_.pop_front();
    const int changed = recent_.empty() ? 0 : changedCells(recent_.front().image, image);
    recent_.push_back({time, image});
    if (moving_) {
        if (changed >= kCellsToGoOn) motions_.back().end = time;
        if (time - motions_.back().end < kRest) return Change::None;
        moving_ = false;
        firstHigh_ = -1;
        return Change::Ended;
    }
    if (changed < kCellsToBegin) {
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
        if (!joined.empty() && motion.start - joined.back().end < kRest)
            joined.back().end = std::max(joined.back().end, motion.end);
        else
            joined.push_back(motion);
    }
    return joined;
}

}  // namespace korvane
