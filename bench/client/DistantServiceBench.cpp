// What a client waits for over a link with a long way: from a token to the first page of events, and for eight further
// pages that are asked for at once; and how many connections that takes. The argument is the round trip in ms.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "korvane/base/LoopScheduler.h"
#include "korvane/bench/support/DelayProxy.h"
#include "korvane/client/http/HttpService.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/CameraServer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"

namespace korvane {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int64_t pageLength = 100;
constexpr int pagesAtOnce = 8;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// A service with a million events, behind a link.
class DistantService {
  public:
    explicit DistantService(std::chrono::milliseconds roundTrip) {
        std::filesystem::create_directories(folder_);
        const auto file = folder_ / "camera.db";
        auto storage = Storage::open(file);
        if (!storage) return;
        const auto camera = (*storage)->cameraForFolder("/footage", "Bench", "UTC");
        constexpr TimeMs newest = 1'795'000'000'000;
        if (!camera || addSampleEvents(**storage, camera->id, 1'000'000, newest, 60'000)) return;
        camera_ = camera->id;
        server_ = std::make_unique<CameraServer>(file);
        const auto port = server_->start();
        if (!port) return;
        link_ = std::make_unique<DelayProxy>(*port, roundTrip);
        const TimeSec nextYear = std::chrono::duration_cast<std::chrono::seconds>(
                                     std::chrono::system_clock::now().time_since_epoch() + std::chrono::hours(8760))
                                     .count();
        bearer_ = AccessToken::forDatabase(file)->issueBearer(camera_, nextYear);
    }
    ~DistantService() {
        link_.reset();
        server_.reset();
        std::filesystem::remove_all(folder_);
    }

    std::int64_t camera() const { return camera_; }
    /// Empty when something failed.
    const std::string& bearer() const { return bearer_; }
    DelayProxy& link() { return *link_; }

  private:
    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("korvane-distant-" + std::to_string(getpid()));
    std::int64_t camera_ = 0;
    std::unique_ptr<CameraServer> server_;
    std::unique_ptr<DelayProxy> link_;
    std::string bearer_;
};

std::shared_ptr<KorvaneCamera> lookUp(KorvaneService& service, DistantService& distant,
                                      const std::shared_ptr<KorvaneShareConnection>& connection) {
    connection->openSync(distant.bearer(), distant.link().url());
    std::promise<std::shared_ptr<KorvaneCamera>> found;
    service.makeCameraList(connection)
        ->getCamera(distant.camera(), [&](std::shared_ptr<KorvaneCamera> camera, const std::string&, std::int32_t) {
            found.set_value(std::move(camera));
        });
    return found.get_future().get();
}

bool fetch(KorvaneCamera& camera, int pages) {
    std::vector<std::promise<std::int32_t>> replies(static_cast<std::size_t>(pages));
    for (std::size_t i = 0; i < replies.size(); ++i) {
        camera.getEvents(-1, -1, std::nullopt, 0, pageLength, static_cast<std::int64_t>(i) * pageLength,
                         [&, i](const Reply&, std::int32_t status) { replies[i].set_value(status); });
    }
    bool isGood = true;
    for (auto& reply : replies) isGood = reply.get_future().get() == 0 && isGood;
    return isGood;
}

void distantService(benchmark::State& state, int furtherPages) {
    LoopScheduler scheduler;
    DistantService distant(std::chrono::milliseconds(state.range(0)));
    if (distant.bearer().empty()) return state.SkipWithError("the service could not be started");
    int rounds = 0;
    for (auto _ : state) {
        HttpService service(scheduler);
        auto begin = Clock::now();
        const auto connection = service.makeConnection();
        const auto camera = lookUp(service, distant, connection);
        if (!camera || !fetch(*camera, 1)) return state.SkipWithError("a request failed");
        if (furtherPages > 0) {
            begin = Clock::now();
            fetch(*camera, furtherPages);
        }
        state.SetIterationTime(secondsSince(begin));
        ++rounds;
    }
    state.counters["connections"] = distant.link().counts().connections / std::max(rounds, 1);
    state.counters["requests"] = distant.link().counts().requests / std::max(rounds, 1);
}

void overLinks(benchmark::internal::Benchmark* measured) {
    for (const int roundTrip : {0, 30, 100, 300}) measured->Arg(roundTrip);
    measured->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(distantService, tokenToFirstPage, 0)->Apply(overLinks);
BENCHMARK_CAPTURE(distantService, pagesAtOnce, pagesAtOnce)->Apply(overLinks);

}  // namespace
}  // namespace korvane
