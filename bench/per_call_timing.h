// Google Benchmark reports the mean cost of a call; the report also wants its
// spread. TimeEachCall runs a benchmark's loop and times every call on the
// steady clock, then adds the median and the 99th percentile (in ns) to the
// benchmark's counters as "p50_ns" and "p99_ns".
//
// One clock read per sample: each sample is the time from the end of one
// sample to the end of the next, so it includes one clock read (about 20 ns
// on a machine with a usable TSC) and the loop around the calls. For calls of
// a hundred nanoseconds or so that read would be a fifth of the figure: such
// benchmarks pass callsPerSample (say 8) and each sample is then the time of
// that many calls in a row divided by their number, the clock read shared
// among them. Their percentiles describe batches, so p99 is smoothed a little.
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
void TimeEachCall(benchmark::State& state, Call call, std::size_t callsPerSample = 1)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> samples;
    const auto sampleCount = static_cast<std::size_t>(state.max_iterations) / callsPerSample;
    samples.reserve(std::min<std::size_t>(std::max<std::size_t>(sampleCount, 1), kMaxCallSamples));
    std::size_t callsInSample = 0;
    auto previous = Clock::now();
    for (auto _ : state) {
        call();
        if (++callsInSample < callsPerSample) continue;
        callsInSample = 0;
        const auto now = Clock::now();
        if (samples.size() < samples.capacity()) {
            const double batch = std::chrono::duration<double, std::nano>(now - previous).count();
            samples.push_back(batch / static_cast<double>(callsPerSample));
        }
        previous = now;
    }
    const Distribution d = Summarise(samples);
    state.counters["p50_ns"] = d.median;
    state.counters["p99_ns"] = d.p99;
}

}  // namespace zepta_bench

#endif
