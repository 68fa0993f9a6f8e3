#include <benchmark/benchmark.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "korvane/base/LoopScheduler.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Model/ScrubberTimeline/ScrubberTimelineDataProvider.h"

namespace korvane {
namespace {

constexpr TimeMs firstDay = 1'420'070'400'000;  // 2015-01-01
constexpr TimeMs dayMs = 86'400'000;
constexpr TimeMs segmentMs = 240'000;
constexpr std::int64_t dayCount = 3650;

std::size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

class ReloadCounter final : public ScrubberDataProviderDelegate {
  public:
    explicit ReloadCounter(Scheduler& scheduler) : scheduler_(scheduler) {}

    void OnScrubberDataProviderReloadRequired(std::int32_t /*status*/, std::int32_t /*andState*/) override {
        ++reloads;
        scheduler_.post([] {});
    }
    void OnScrubberDataProviderReloadIndexRequired(std::int64_t, std::int32_t, std::int64_t, std::int32_t,
                                                   std::int32_t) override {}

    std::atomic<int> reloads = 0;

  private:
    Scheduler& scheduler_;
};

// Ten years round the clock, 360 segments a day in so many periods a day.
struct Host {
    explicit Host(std::int64_t periodsADay) {
        const TimeMs length = dayMs / periodsADay;
        Reply days = Reply::array();
        for (std::int64_t day = 0; day < dayCount; ++day) {
            const TimeMs begin = firstDay + day * dayMs;
            days.push_back(service.helpers()->formatTime(begin, "yyyy-MM-dd", "UTC"));
            Reply periods = Reply::array();
            for (std::int64_t k = 0; k < periodsADay; ++k) {
                periods.push_back({begin + k * length, begin + (k + 1) * length});
            }
            replies.push_back(std::move(periods));
        }
        service.withFootage([](test::ScriptedFootage& footage) { footage.timezone = "America/New_York"; });
        service.scriptAll("getActivity", test::Script::answered(days));
        provider->setDelegate(delegate);
        script();
        provider->setSource(service.makeToken());
        waitForReload();
    }

    void script() {
        for (const auto& periods : replies) service.scriptNext("getTimelineSync", test::Script::answered(periods));
    }

    // From the request for the days until the view is told.
    void build() {
        provider->refresh();
        waitForReload();
    }

    void waitForReload() {
        scheduler.runUntil([this] { return delegate->reloads.exchange(0) > 0; });
    }

    // What the tree gives back when it goes, which it does on another thread.
    std::size_t clear() {
        const std::weak_ptr<ScrubberTimelineItem> last = provider->getTimelineItemByIndex(0);
        const std::size_t before = bytesInUse();
        provider->clearAllDays();
        std::size_t after = bytesInUse();
        const auto isGone = [&] { return last.expired() && std::exchange(after, bytesInUse()) == after; };
        while (!isGone()) {
            scheduler.after(std::chrono::milliseconds(20), [this] { ++ticks; });
            scheduler.runUntil([this, t = ticks] { return ticks > t; });
        }
        service.clearRequests();
        return before - after;
    }

    std::int64_t segments() const { return provider->OnScrubberGetEventsCount() - 2; }

    // Numbers that no cache foresees.
    std::vector<std::int64_t> drawIndexes() const {
        std::mt19937 random(1);
        std::vector<std::int64_t> indexes(1 << 14);
        for (auto& index : indexes) index = 1 + static_cast<std::int64_t>(random()) % segments();
        return indexes;
    }

    LoopScheduler scheduler;
    test::ScriptedService service{scheduler};
    int ticks = 0;
    std::vector<Reply> replies;
    std::shared_ptr<ReloadCounter> delegate = std::make_shared<ReloadCounter>(scheduler);
    std::shared_ptr<ScrubberTimelineDataProvider> provider =
        std::make_shared<ScrubberTimelineDataProvider>(scheduler, service);
};

void buildTenYears(benchmark::State& state) {
    Host host(state.range(0));
    state.counters["segments"] = static_cast<double>(host.segments());
    for (auto _ : state) {
        state.PauseTiming();
        const auto segments = static_cast<double>(host.segments());
        state.counters["bytesPerSegment"] = static_cast<double>(host.clear()) / segments;
        host.script();
        state.ResumeTiming();
        host.build();
    }
}
BENCHMARK(buildTenYears)->Arg(1)->Arg(36)->Arg(360)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

// What the caller of close(), or of refresh() before its request, waits for.
void clearTenYears(benchmark::State& state) {
    Host host(state.range(0));
    for (auto _ : state) {
        host.provider->clearAllDays();
        state.PauseTiming();
        host.clear();
        host.script();
        host.build();
        state.ResumeTiming();
    }
}
BENCHMARK(clearTenYears)->Arg(1)->Arg(360)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

template <typename Ask>
void askTree(benchmark::State& state, const Ask& ask) {
    Host host(state.range(0));
    const auto indexes = host.drawIndexes();
    std::size_t next = 0;
    for (auto _ : state) benchmark::DoNotOptimize(ask(*host.provider, indexes[next++ % indexes.size()]));
}

void countEntries(benchmark::State& state) {
    askTree(state, [](auto& provider, std::int64_t) { return provider.OnScrubberGetEventsCount(); });
}
BENCHMARK(countEntries)->Arg(1);

void entryByIndex(benchmark::State& state) {
    askTree(state, [](auto& provider, std::int64_t index) { return provider.OnScrubberGetEventByIndex(index); });
}
BENCHMARK(entryByIndex)->Name("treeEntryByIndex")->Arg(1)->Arg(36)->Arg(360);

void segmentByIndex(benchmark::State& state) {
    askTree(state, [](auto& provider, std::int64_t index) { return provider.getTimelineSegmentItemByIndex(index); });
}
BENCHMARK(segmentByIndex)->Arg(1)->Arg(36)->Arg(360);

void entryByTime(benchmark::State& state) {
    askTree(state, [](auto& provider, std::int64_t index) {
        return provider.OnScrubberFindEventByPosition(firstDay + index * segmentMs - 1);
    });
}
BENCHMARK(entryByTime)->Arg(1)->Arg(36)->Arg(360);

void closestEntryByTime(benchmark::State& state) {
    askTree(state, [](auto& provider, std::int64_t index) {
        return provider.OnScrubberFindClosestEventByPosition(firstDay + index * segmentMs - 1).index;
    });
}
BENCHMARK(closestEntryByTime)->Arg(1)->Arg(36)->Arg(360);

}  // namespace
}  // namespace korvane
