// How long the service takes for a page of 100 out of 1,000,000 events, wherever it lies, and for the days that have
// one.

#include <benchmark/benchmark.h>
#include <httplib.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"

namespace {

using namespace korvane;

constexpr std::int64_t eventCount = 1'000'000;
constexpr TimeMs endTime = 1'780'000'000'000;
constexpr TimeMs spacing = 60'000;
// For days: as many events over 300,000 of them.
constexpr TimeMs wideSpacing = 25'920'000;

/// A filled data base with a service over it, made once.
class World {
  public:
    static World& get() {
        static World world;
        return world;
    }

    ~World() {
        server_.reset();
        storage_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    Storage& storage() { return *storage_; }
    std::int64_t camera() const { return camera_; }
    std::int64_t wideCamera() const { return wideCamera_; }
    std::uint16_t port() const { return port_; }
    const std::string& bearer() const { return bearer_; }

  private:
    World() {
        std::string name = (std::filesystem::temp_directory_path() / "korvane-bench-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) std::abort();
        folder_ = name;
        const auto file = folder_ / "camera.db";
        storage_ = std::move(*Storage::open(file));
        camera_ = storage_->cameraForFolder("", "Rows", "UTC")->id;
        if (addSampleEvents(*storage_, camera_, eventCount, endTime, spacing)) std::abort();
        wideCamera_ = storage_->cameraForFolder("/wide", "Wide", "America/New_York")->id;
        if (addSampleEvents(*storage_, wideCamera_, eventCount, eventCount * wideSpacing, wideSpacing)) std::abort();
        CameraServerOptions options;
        options.now = [] { return endTime; };
        server_ = std::make_unique<CameraServer>(file, options);
        port_ = *server_->start();
        bearer_ = AccessToken::forDatabase(file)->issueBearer(camera_, endTime / 1000 + 60);
    }

    std::filesystem::path folder_;
    std::unique_ptr<Storage> storage_;
    std::unique_ptr<CameraServer> server_;
    std::int64_t camera_ = 0;
    std::int64_t wideCamera_ = 0;
    std::uint16_t port_ = 0;
    std::string bearer_;
};

/// Offset in percent of all rows; type; a range without its oldest and newest tenth.
void eventsPage(benchmark::State& state, const std::string& type, bool ranged) {
    World& world = World::get();
    PageQuery query;
    query.type = type;
    if (ranged) query.range = {endTime - eventCount * 9 / 10 * spacing, endTime - eventCount / 10 * spacing};
    const std::int64_t total = world.storage().events(world.camera(), query)->totalCount;
    query.offset = (total - 100) * state.range(0) / 100;
    for (auto _ : state) {
        const auto page = world.storage().events(world.camera(), query);
        if (!page || page->rows.size() != 100) state.SkipWithError("no full page");
    }
}

void eventsReply(benchmark::State& state) {
    World& world = World::get();
    httplib::Client client("127.0.0.1", world.port());
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    const std::string path = "/v1/cameras/" + std::to_string(world.camera()) +
                             "/events?limit=100&offset=" + std::to_string((eventCount - 100) * state.range(0) / 100) +
                             "&access=" + world.bearer();
    for (auto _ : state) {
        const auto reply = client.Get(path);
        if (!reply || reply->status != 200) state.SkipWithError("no reply");
    }
}

void eventDays(benchmark::State& state, const std::string& zone) {
    World& world = World::get();
    for (auto _ : state) {
        const auto days = world.storage().eventDays(world.wideCamera(), {}, "", zone);
        if (!days || days->size() < 290'000) state.SkipWithError("days are missing");
    }
}

BENCHMARK_CAPTURE(eventDays, utc, "UTC")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(eventDays, cameraZone, "America/New_York")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(eventsPage, all, "", false)
    ->Arg(0)
    ->Arg(25)
    ->Arg(50)
    ->Arg(75)
    ->Arg(100)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(eventsPage, doorbells, "doorbell", false)->Arg(0)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(eventsPage, ranged, "", true)->Arg(0)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(eventsReply)->Arg(0)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
