#include <benchmark/benchmark.h>
#include <malloc.h>

#include <limits>
#include <memory>
#include <random>

#include "korvane/base/LoopScheduler.h"
#include "korvane/base/UtcTime.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Model/PagedEventList.h"
#include "korvane/views/timeline/Model/ScrubberEvents/ScrubberEventsDataProvider.h"

namespace korvane {
namespace {

constexpr std::uint64_t million = 1'000'000;
constexpr std::uint64_t pageSize = 100;

std::size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

ScrubberEvent::Fields noGroups(const std::vector<std::shared_ptr<ScrubberEvent>>& /*members*/) {
    return {};
}

void createPendingList(benchmark::State& state) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::size_t before = bytesInUse();
        auto list = std::make_unique<PagedEventList>(noGroups);
        list->create(million, 7);
        bytes = bytesInUse() - before;
        state.PauseTiming();
        list.reset();
        state.ResumeTiming();
    }
    state.counters["bytesPerEntry"] = static_cast<double>(bytes) / static_cast<double>(million);
}
BENCHMARK(createPendingList)->Unit(benchmark::kMillisecond);

// A page of the service as bursts of events 2 s apart, which fold into one each.
Reply makePage(std::uint64_t burst) {
    Reply objects = Reply::array();
    for (std::uint64_t i = 0; i < pageSize; ++i) {
        const auto time = 1'700'000'000'000 - static_cast<TimeMs>(i / burst * 60'000 + i % burst * 2000);
        objects.push_back({{"id", i + 1},
                           {"camid", 7},
                           {"name", "motion"},
                           {"time", formatUtc(time)},
                           {"thumb", {{"url", "http://127.0.0.1:1/thumb/" + std::to_string(i) + ".jpg"}}}});
    }
    return objects;
}

struct Host {
    LoopScheduler scheduler;
    test::ScriptedService service{scheduler};
    std::shared_ptr<ScrubberEventsDataProvider> provider =
        std::make_shared<ScrubberEventsDataProvider>(scheduler, service);

    Host() { provider->enableEventGrouping(true); }
};

void fillPageWithGrouping(benchmark::State& state) {
    Host host;
    const Reply objects = makePage(5);
    for (auto _ : state) {
        state.PauseTiming();
        host.provider->initStorageForEvents(million);
        state.ResumeTiming();
        host.provider->fillEventsFromDictionary(objects, static_cast<std::uint64_t>(state.range(0)));
    }
}
BENCHMARK(fillPageWithGrouping)->Arg(pageSize)->Arg(million / 2)->Arg(million)->Unit(benchmark::kMicrosecond);

// Entries that have been made, drawn from as many around the middle of the list: those on screen, those of some pages,
// and all.
void entryByIndex(benchmark::State& state) {
    PagedEventList list(noGroups);
    list.create(million, 7);
    const auto window = static_cast<std::uint64_t>(state.range(0));
    const std::uint64_t first = (million - window) / 2;
    for (std::uint64_t i = 0; i < window; ++i) list.at(first + i);
    std::mt19937 random(1);
    std::vector<std::uint64_t> indexes(1 << 12);
    for (auto& index : indexes) index = first + random() % window;
    // Locks and reference counts cost less as long as a process has never had a second thread.
    LoopScheduler().spawn("second", [] {})->join();
    std::size_t next = 0;
    for (auto _ : state) benchmark::DoNotOptimize(list.at(indexes[next++ % indexes.size()]));
}
BENCHMARK(entryByIndex)->Arg(100)->Arg(1000)->Arg(million);

// The newest slot waits, all before it are filled, with groups of five among them.
void checkAboveAMillionEntries(benchmark::State& state) {
    Host host;
    const Reply objects = makePage(5);
    const Reply single = makePage(1);
    constexpr std::uint64_t pages = million / pageSize;
    host.provider->initStorageForEvents(million + 1);
    std::uint64_t filled = 0;
    for (std::uint64_t page = 0; page < pages; ++page) {
        const bool hasGroups = page % 10 == 0;
        host.provider->fillEventsFromDictionary(hasGroups ? objects : single, filled + pageSize);
        filled += hasGroups ? pageSize / 5 : pageSize;
    }
    for (auto _ : state) host.provider->checkPartNeedRequested(filled + 1, -1, -1);
    state.counters["entries"] = static_cast<double>(filled);
}
BENCHMARK(checkAboveAMillionEntries)->Unit(benchmark::kMicrosecond);

// A million entries a minute apart, ids 1 and up from the oldest, that went into their slots in place.
struct FilledHost : Host {
    static constexpr TimeMs first = 1'700'000'000'000;
    static TimeMs momentOf(std::uint64_t id) { return first + static_cast<TimeMs>(id) * 60'000; }

    FilledHost() {
        provider->enableEventGrouping(false);
        provider->initStorageForEvents(million);
        for (std::uint64_t id = million; id > 0; --id) {
            const Reply element = {{"id", id}, {"name", "motion"}, {"time", formatUtc(momentOf(id))}};
            provider->fillEventsFromDictionary(Reply::array({element}), id);
        }
        // Locks and reference counts cost less as long as a process has never had a second thread.
        LoopScheduler().spawn("second", [] {})->join();
    }

    static FilledHost& shared() {
        static FilledHost host;
        return host;
    }
};

void findInAMillion(benchmark::State& state, const ScrubberEventQuery& query, std::int64_t index) {
    auto& provider = *FilledHost::shared().provider;
    for (auto _ : state) {
        if (provider.OnScrubberFindEvent(query) != index) state.SkipWithError("found elsewhere");
    }
}

constexpr TimeMs day = 86'400'000;
constexpr TimeMs never = std::numeric_limits<TimeMs>::max();

ScrubberEventQuery closestTo(TimeMs time) {
    return {0, time, time + day - 1, std::nullopt};
}

ScrubberEventQuery withId(std::int64_t id) {
    return {0, std::numeric_limits<TimeMs>::min(), never, id};
}

#define FIND(name, query, index) BENCHMARK_CAPTURE(findInAMillion, name, query, index)->Unit(benchmark::kMicrosecond)
FIND(timeFirst, ScrubberEventQuery::at(FilledHost::momentOf(1)), 1);
FIND(timeMiddle, ScrubberEventQuery::at(FilledHost::momentOf(million / 2)), million / 2);
FIND(timeLast, ScrubberEventQuery::at(FilledHost::momentOf(million)), million);
FIND(timeAbsentBetween, ScrubberEventQuery::at(FilledHost::momentOf(million) - 1), -1);
FIND(timeAbsentBeyond, ScrubberEventQuery::at(FilledHost::momentOf(million) + 1), -1);
FIND(closestFirst, closestTo(FilledHost::momentOf(1) - 1), 1);
FIND(closestLast, closestTo(FilledHost::momentOf(million) - 1), million);
FIND(closestAbsent, closestTo(FilledHost::momentOf(million) + 1), -1);
FIND(idLast, withId(million), million);
FIND(idAbsent, withId(million + 1), -1);

// A moment that is nowhere, sought among the members of groups, too.
void checkAMillionEntriesByTime(benchmark::State& state) {
    auto& provider = *FilledHost::shared().provider;
    for (auto _ : state) provider.checkPartNeedRequested(million + 5, -1, 12345);
}
BENCHMARK(checkAMillionEntriesByTime)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace korvane
