// Google Benchmark reports the mean cost of a call; the report also wants its
// spread. TimeEachCall runs a benchmark's loop and times every call on the
// steady clock, then adds the median and the 99th percentile (in ns) to the
// benchmark's counters as "p50_ns" and "p99_ns".
//
// One clock read per call: each sample is the time from the end of one call
// to the end of the next, so it includes one clock read (about 20 ns on a
// machine with a usable TSC) and the loop around the call.
#ifndef ZEPTA_BENCH_PER_CALL_TIMING_H
#define ZEPTA_BENCH_PER_CALL_TIMING_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

#include "distribution.h"

namespace zepta_bench {

// Enough for a stable 99th percentile without holding the whole run.
constexpr std::size_t kMaxCallSamples = 1 << 20;

template <typename Call>
void TimeEachCall(benchmark::State& state, Call call)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> samples;
    samples.reserve(std::min<std::size_t>(static_cast<std::size_t>(state.max_iterations), kMaxCallSamples));
    auto previous = Clock::now();
    for (auto _ : state) {
        call();
        const auto now = Clock::now();
        if (samples.size() < samples.capacity()) {
            samples.push_back(std::chrono::duration<double, std::nano>(now - previous).count());
        }
        previous = now;
    }
    const Distribution d = Summarise(samples);
    state.counters["p50_ns"] = d.median;
    state.counters["p99_ns"] = d.p99;
}

}  // namespace zepta_bench

#endif
