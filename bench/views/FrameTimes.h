#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace korvane {

using Clock = std::chrono::steady_clock;

inline double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

/// Median and 99th percentile, as counters.
inline void report(benchmark::State& state, std::vector<double>& milliseconds) {
    std::sort(milliseconds.begin(), milliseconds.end());
    state.counters["median_ms"] = milliseconds[milliseconds.size() / 2];
    state.counters["p99_ms"] = milliseconds[milliseconds.size() * 99 / 100];
}

/// Times each run of `frame`, and reports.
template <typename Frame>
void measure(benchmark::State& state, const Frame& frame) {
    std::vector<double> milliseconds;
    for (auto _ : state) {
        const auto begin = Clock::now();
        frame();
        milliseconds.push_back(millisecondsSince(begin));
        state.SetIterationTime(milliseconds.back() / 1000);
    }
    report(state, milliseconds);
}

}  // namespace korvane
