#include "bench/views/BenchService.h"

#include <QTemporaryDir>
#include <chrono>
#include <filesystem>

#include "server/CameraServer.h"
#include "server/Storage.h"

namespace korvane {

struct BenchService::Running {
    QTemporaryDir folder;
    std::unique_ptr<CameraServer> server;
};

BenchService::BenchService(std::int64_t events) : running_(std::make_unique<Running>()) {
    const std::filesystem::path file = running_->folder.filePath("camera.db").toStdString();
    auto storage = Storage::open(file);
    if (!storage) return;
    const auto camera = (*storage)->cameraForFolder("/footage", "Bench", "UTC");
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const TimeMs end = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    if (!camera || (*storage)->fillEvents(camera->id, events, end, 60'000)) return;
    running_->server = std::make_unique<CameraServer>(file);
    if (!running_->server->start()) return;
    if (const auto token = running_->server->issueToken(camera->id, std::chrono::hours(1))) token_ = *token;
}

BenchService::~BenchService() = default;

}  // namespace korvane
