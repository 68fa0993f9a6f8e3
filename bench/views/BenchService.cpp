#include "korvane/bench/views/BenchService.h"

#include <QTemporaryDir>
#include <chrono>
#include <filesystem>
#include <vector>

#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"

namespace korvane {

namespace {

constexpr TimeMs minute = 60'000;

TimeMs now() {
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
}

bool addPictured(Storage& storage, std::int64_t camera, std::int64_t count, const std::string& jpeg) {
    const TimeMs end = now();
    const TimeMs start = end - count * minute;
    std::vector<NewEvent> events;
    for (TimeMs time = start; time < end; time += minute) events.push_back({time, "motion", jpeg});
    return !storage.storeRecording(camera, {"all.mp4", 1, 1, ""}, NewRecord{start, end, jpeg}, events);
}

}  // namespace

struct BenchService::Running {
    QTemporaryDir folder;
    std::filesystem::path file = folder.filePath("camera.db").toStdString();
    std::int64_t camera = 0;
    std::unique_ptr<CameraServer> server;
};

BenchService::BenchService(std::int64_t events, const std::string& jpeg) : running_(std::make_unique<Running>()) {
    auto storage = Storage::open(running_->file);
    if (!storage) return;
    const auto camera = (*storage)->cameraForFolder("/footage", "Bench", "UTC");
    if (!camera) return;
    running_->camera = camera->id;
    const bool isFilled = jpeg.empty() ? !addSampleEvents(**storage, camera->id, events, now(), minute)
                                       : addPictured(**storage, camera->id, events, jpeg);
    if (!isFilled) return;
    running_->server = std::make_unique<CameraServer>(running_->file);
    const auto port = running_->server->start();
    if (!port) return;
    port_ = *port;
    if (const auto token = running_->server->issueToken(camera->id, std::chrono::hours(1))) token_ = *token;
}

BenchService::~BenchService() = default;

std::string BenchService::tokenBy(const std::string& url) const {
    const auto key = AccessToken::forDatabase(running_->file);
    if (!key) return {};
    const auto token = key->issue(running_->camera, now() / 1000 + 3600, url);
    return token ? *token : std::string();
}

}  // namespace korvane
