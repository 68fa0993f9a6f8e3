#include "korvane/tests/server/TestClip.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "korvane/server/VideoWriter.h"

namespace korvane {

void TestClip::write(const std::filesystem::path& file) const {
    std::filesystem::create_directories(file.parent_path());
    VideoFormat format;
    format.width = width;
    format.height = height;
    format.framesPerSecond = framesPerSecond;
    format.keyFrameEvery = keyFrameEvery;
    format.created = created;
    auto writer = VideoWriter::create(file, format);
    ASSERT_TRUE(writer) << writer.error().message;
    std::vector<std::uint8_t> still;
    for (int y = 0; y < height; ++y)
        still.insert(still.end(), static_cast<std::size_t>(width * 3), static_cast<std::uint8_t>(60 + y * 80 / height));
    for (int frame = 0; frame < seconds * framesPerSecond; ++frame) {
        std::vector<std::uint8_t> rgb = still;
        const double now = static_cast<double>(frame) / framesPerSecond;
        for (const auto& [from, to] : movements) {
            if (now < from || now >= to) continue;
            const int left = static_cast<int>((now - from) / (to - from) * (width - 40));
            for (int y = height / 2; y < height / 2 + 50; ++y)
                for (int x = left * 3; x < (left + 40) * 3; ++x) rgb[static_cast<std::size_t>(y * width * 3 + x)] = 230;
        }
        ASSERT_FALSE((*writer)->add(rgb));
    }
    ASSERT_FALSE((*writer)->finish());
}

}  // namespace korvane
