#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "korvane/base/LoopScheduler.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineBlock.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

namespace korvane {
namespace {

constexpr TimeMs begin = 1'709'251'200'000;  // 2024-03-01
constexpr TimeMs dayLength = 86'400'000;
constexpr std::int64_t events = 10'000;
constexpr std::int64_t pageSize = 100;

// A day of 10,000 events in 100 pages, without the time that the same requests take by themselves.
void uploadEventsOfADay(benchmark::State& state) {
    LoopScheduler scheduler;
    test::ScriptedService service(scheduler);
    service.withFootage([](test::ScriptedFootage& f) {
        for (std::int64_t i = 0; i < events; ++i) f.addEvent({i + 1, begin + i * dayLength / events, "motion", ""});
    });
    auto connection = service.makeConnection();
    connection->openSync("bearer", "http://127.0.0.1:1");
    std::shared_ptr<KorvaneCamera> camera;
    service.makeCameraList(connection)->getCamera(7, [&](auto found, const auto&, auto) {
        scheduler.post([&camera, found] { camera = found; });
    });
    scheduler.runUntil([&] { return camera != nullptr; });

    struct Told final : ScrubberDataProviderDelegate {
        explicit Told(Scheduler& s) : scheduler(s) {}
        void OnScrubberDataProviderReloadRequired(std::int32_t, std::int32_t) override {
            scheduler.post([this] { isTold = true; });
        }
        void OnScrubberDataProviderReloadIndexRequired(std::int64_t, std::int32_t, std::int64_t, std::int32_t,
                                                       std::int32_t) override {}
        Scheduler& scheduler;
        bool isTold = false;
    };
    const auto told = std::make_shared<Told>(scheduler);
    const auto provider = std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
    provider->setDelegate(told);
    provider->setSource(service.makeToken());
    scheduler.runUntil([&] { return told->isTold; });

    std::size_t read = 0;
    std::chrono::microseconds whole{0};
    for (auto _ : state) {
        const auto block = std::make_shared<ScrubberTimelineBlock>(std::vector{TimelinePair(begin, begin + dayLength)});
        const std::shared_ptr<ScrubberTimelineItem> timeline(block, &block->timelines().front());
        const auto before = scheduler.monotonicNow();
        for (std::int64_t offset = 0; offset <= events; offset += pageSize) {
            benchmark::DoNotOptimize(camera->getEventsSync(begin, begin + dayLength, {}, 0, pageSize, offset));
        }
        const auto between = scheduler.monotonicNow();
        provider->uploadEventsForTimelineItemSync(timeline);
        const auto after = scheduler.monotonicNow();
        read += timeline->events().size();
        whole += after - between;
        const auto own = (after - between) - (between - before);
        state.SetIterationTime(std::max(std::chrono::duration<double>(own).count(), 0.0));
    }
    if (read != static_cast<std::size_t>(events) * static_cast<std::size_t>(state.iterations())) {
        state.SkipWithError("not all events were read");
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["msWithService"] = std::chrono::duration<double, std::milli>(whole).count() / rounds;
    provider->close();
}
BENCHMARK(uploadEventsOfADay)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace korvane
