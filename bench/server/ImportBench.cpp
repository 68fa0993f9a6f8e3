// How long the import of one hour of 1280x720 H.264 takes. With folders as arguments, how long their import takes.

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "korvane/server/Importer.h"
#include "korvane/server/Storage.h"
#include "korvane/server/VideoWriter.h"

namespace {

using namespace korvane;
namespace fs = std::filesystem;

constexpr int pictureWidth = 1280;
constexpr int pictureHeight = 720;
constexpr int seconds = 3600;
constexpr int every = 30;
constexpr int secondsInMotion = 5;

/// A hilly grey place; every half minute something crosses it.
bool film(const fs::path& file) {
    VideoFormat format;
    format.width = pictureWidth;
    format.height = pictureHeight;
    format.framesPerSecond = 25;
    format.keyFrameEvery = 250;
    auto writer = VideoWriter::create(file, format);
    if (!writer) return false;
    std::vector<std::uint8_t> still(std::size_t{pictureWidth} * pictureHeight * 3);
    for (std::size_t i = 0; i < still.size(); ++i) {
        const std::size_t x = i / 3 % pictureWidth;
        const std::size_t y = i / 3 / pictureWidth;
        still[i] = static_cast<std::uint8_t>(70 + y / 8 + (x * x / 900 + y * x / 700) % 23);
    }
    bool moved = true;
    for (int frame = 0; frame < seconds * format.framesPerSecond; ++frame) {
        const int phase = frame % (every * format.framesPerSecond);
        const bool moves = phase < secondsInMotion * format.framesPerSecond;
        if (!moves && !moved) {
            if ((*writer)->repeat()) return false;
            continue;
        }
        std::vector<std::uint8_t> picture = still;
        const int left = phase * (pictureWidth - 80) / (secondsInMotion * format.framesPerSecond);
        for (int y = 400; moves && y < 560; ++y)
            for (int x = left * 3; x < (left + 80) * 3; ++x)
                picture[static_cast<std::size_t>(y * pictureWidth * 3 + x)] = 225;
        if ((*writer)->add(picture)) return false;
        moved = moves;
    }
    return !(*writer)->finish();
}

int measure(const fs::path& folder, const fs::path& database) {
    auto storage = Storage::open(database);
    if (!storage) return 1;
    const auto begin = std::chrono::steady_clock::now();
    const auto report = importFolder(**storage, folder, {});
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    if (!report) {
        std::fprintf(stderr, "%s\n", report.error().message.c_str());
        return 1;
    }
    std::printf("%s: %zu files, %zu events, %.1f s\n", folder.c_str(), report->imported.size(), report->events,
                took.count());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::string name = (fs::temp_directory_path() / "korvane-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) return 1;
    const fs::path own = name;
    int code = 0;
    if (argc < 2) {
        fs::create_directory(own / "hour");
        code = film(own / "hour" / "20261118_070000.mp4") ? measure(own / "hour", own / "camera.db") : 1;
    }
    for (int i = 1; i < argc && code == 0; ++i) code = measure(argv[i], own / (std::to_string(i) + ".db"));
    std::error_code ignored;
    fs::remove_all(own, ignored);
    return code;
}
