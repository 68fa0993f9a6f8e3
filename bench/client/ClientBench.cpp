// What the client costs a cell and a page, the network aside.
#include <benchmark/benchmark.h>

#include <string>

#include "korvane/base/LoopScheduler.h"
#include "korvane/base/UtcTime.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/client/http/HttpExchange.h"

namespace korvane {
namespace {

void formatCellTime(benchmark::State& state) {
    LoopScheduler scheduler;
    const IcuHelpers helpers(scheduler);
    TimeMs time = 1'795'000'000'000;
    for (auto _ : state) benchmark::DoNotOptimize(helpers.formatTime_AMPM(time += 60'000, "hh:mma", "Europe/Berlin"));
}
BENCHMARK(formatCellTime);

void readPageOfEvents(benchmark::State& state) {
    Reply objects = Reply::array();
    for (int i = 0; i < 100; ++i) {
        objects.push_back(
            {{"id", i},
             {"camid", 7},
             {"name", "motion"},
             {"time", formatUtc(1'795'000'000'000 + i * 30'000)},
             {"thumb", {{"url", "http://127.0.0.1:8080/v1/cameras/7/events/" + std::to_string(i) + "/thumb"}}}});
    }
    HttpResponse response;
    response.end = HttpResponse::End::Complete;
    response.httpStatus = 200;
    response.body = Reply{{"meta", {{"total_count", 1'000'000}}}, {"objects", objects}}.dump();
    for (auto _ : state) benchmark::DoNotOptimize(readResponse(response));
}
BENCHMARK(readPageOfEvents);

}  // namespace
}  // namespace korvane
