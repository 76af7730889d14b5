// zepta_bench_ride: per-call costs of the ride library (Google Benchmark).
// Each row carries its target as the counter "target_ns", which the frame
// benchmark's report compares with the mean per call.
//
//   zepta_bench_ride [Google Benchmark options]
#include <benchmark/benchmark.h>

#include <string>

#include "per_call_timing.h"
#include "ride_fixture.h"

namespace {

using namespace zepta_bench;

constexpr double kDecodeTargetNs = 200.0;
constexpr double kFrameStepTargetNs = 1000.0;
// Over a minute of a lap at 60 Hz, so that the differentiating formats
// see the game's clock go back only once a minute.
constexpr std::size_t kLapDatagrams = 4096;
constexpr std::size_t kLapSamples = 4096;

// `zepta ride` recognises the format of every datagram unless told one, so
// the decoder is the recognising one.
void Decode(benchmark::State& state, zepta_ride::TelemetryFormat format)
{
    const LapDatagrams lap(format, kLapDatagrams);
    zepta_ride::TelemetryDecoder decoder;
    zepta_ride::MotionSample sample;
    std::size_t next = 0;
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(decoder.Decode(lap.Data(next), lap.Size(next), sample));
        next = next + 1 == lap.Count() ? 0 : next + 1;
    });
    state.counters["target_ns"] = kDecodeTargetNs;
    if (decoder.Decoded() != static_cast<std::uint64_t>(state.iterations())) state.SkipWithError("a datagram of the lap was dropped");
}

void FrameStep(benchmark::State& state)
{
    const std::vector<zepta_ride::MotionSample> lap = LapSamples(kLapSamples);
    RideChain chain;
    std::size_t next = 0;
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(chain.Step(lap[next]));
        next = next + 1 == lap.size() ? 0 : next + 1;
    });
    state.counters["target_ns"] = kFrameStepTargetNs;
    if (chain.State() != zepta_ride::SafetyState::Live) state.SkipWithError("the safety stage left Live");
}

void RegisterRideBenchmarks()
{
    for (const zepta_ride::TelemetryFormat format : kRideFormats) {
        const std::string name = std::string("Ride: decode ") + zepta_ride::FormatName(format);
        benchmark::RegisterBenchmark(name.c_str(), Decode, format);
    }
    benchmark::RegisterBenchmark("Ride: WashoutFilter::Step + SafetyStage::Step + RigWriter::Fill", FrameStep);
}

}  // namespace

int main(int argc, char** argv)
{
    RegisterRideBenchmarks();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
