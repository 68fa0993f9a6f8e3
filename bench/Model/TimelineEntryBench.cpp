#include <benchmark/benchmark.h>

#include <memory>

#include "korvane/base/LoopScheduler.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

namespace korvane {
namespace {

constexpr TimeMs begin = 1'709'251'200'000;  // 2024-03-01
constexpr TimeMs segmentLength = 240'000;
constexpr std::int64_t childs = 10'000;

struct Redrawn final : ScrubberDataProviderDelegate {
    explicit Redrawn(Scheduler& s) : scheduler(s) {}
    void OnScrubberDataProviderReloadRequired(std::int32_t, std::int32_t) override {}
    void OnScrubberDataProviderReloadIndexRequired(std::int64_t, std::int32_t, std::int64_t, std::int32_t,
                                                   std::int32_t) override {}
    std::vector<std::int64_t> OnScrubberDataProviderGetVisibleIndexes() override { return {1, 2, 3}; }
    void OnScrubberDataProviderReloadVisible() override {
        scheduler.post([this] { isRedrawn = true; });
    }
    Scheduler& scheduler;
    bool isRedrawn = false;
};

// Three segments with 10,000 events each: entries 1 to 3.
struct BusyTree {
    BusyTree() {
        service.withFootage([](test::ScriptedFootage& f) {
            f.timezone = "America/New_York";
            for (std::int64_t i = 0; i < 3 * childs; ++i) {
                f.addEvent({i + 1, begin + i * segmentLength / childs, "motion", ""});
            }
        });
        service.scriptNext("getActivity", test::Script::answered({"2024-03-01"}));
        service.scriptNext("getTimelineSync", test::Script::answered({{begin, begin + 3 * segmentLength}}));
        provider->setDelegate(delegate);
        provider->setSource(service.makeToken());
        scheduler.runUntil([this] { return delegate->isRedrawn; });
    }
    ~BusyTree() { provider->close(); }

    LoopScheduler scheduler;
    test::ScriptedService service{scheduler};
    std::shared_ptr<Redrawn> delegate = std::make_shared<Redrawn>(scheduler);
    std::shared_ptr<ScrubberTimelineDataProvider> provider =
        std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
};

void busyEntry(benchmark::State& state) {
    BusyTree tree;
    for (auto _ : state) {
        const auto entry = tree.provider->OnScrubberGetEventByIndex(2);
        if (entry->childCount() != static_cast<std::size_t>(childs)) state.SkipWithError("childs are missing");
    }
}
BENCHMARK(busyEntry)->Unit(benchmark::kMicrosecond);

// What a cell asks: its own entry, and of its neighbours whether they join up with it.
void busyCell(benchmark::State& state) {
    BusyTree tree;
    for (auto _ : state) {
        const auto entry = tree.provider->OnScrubberGetEventByIndex(2);
        for (const std::int64_t beside : {1, 3}) {
            benchmark::DoNotOptimize(tree.provider->OnScrubberGetEventSpanByIndex(beside));
        }
    }
}
BENCHMARK(busyCell)->Unit(benchmark::kMicrosecond);

void edgeEntry(benchmark::State& state) {
    BusyTree tree;
    for (auto _ : state) benchmark::DoNotOptimize(tree.provider->OnScrubberGetEventByIndex(0));
}
BENCHMARK(edgeEntry)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace korvane
