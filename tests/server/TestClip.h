#pragma once

#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "korvane/base/Time.h"

namespace korvane {

/// A film of a still grey place, through which a bright block goes.
struct TestClip {
    int seconds = 4;
    /// From and to, in seconds, when the block is seen.
    std::vector<std::pair<double, double>> movements = {};
    std::optional<TimeMs> created = std::nullopt;
    int width = 320;
    int height = 180;
    int keyFrameEvery = 20;

    static constexpr int framesPerSecond = 10;

    /// Fails the running test when the film cannot be written.
    void write(const std::filesystem::path& file) const;
};

}  // namespace korvane
