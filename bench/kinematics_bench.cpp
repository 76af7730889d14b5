// Cost of the platform kinematics that a six-actuator frame runs.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "motion/platform_geometry.h"
#include "motion/stewart_platform.h"
#include "per_call_timing.h"
#include "zepta/zepta.h"

namespace {

using zepta_bench::TimeEachCall;
using Pose = StewartPlatform::Pose;

const StewartPlatform& LargePlatform()
{
    static const StewartPlatform platform = ZEPTASDK::MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    return platform;
}

const Pose kReachable{40, -30, 20, 3, -4, 5};

// Calls this short are timed eight to a clock read (see per_call_timing.h).
constexpr std::size_t kShortCallsPerSample = 8;

std::vector<double> ValuesOf(const Pose& pose)
{
    StewartPlatform raw = LargePlatform();
    raw.limitsEnabled = false;
    raw.softLimitEnabled = false;
    return raw.GetActuatorLengthsSafe(pose, StewartPlatform::Base).values;
}

// The form a frame runs: every check, no heap.
void BM_SafeLengthsReachable(benchmark::State& state)
{
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(LargePlatform().SafeLengths(kReachable, StewartPlatform::Base));
    }, kShortCallsPerSample);
}
BENCHMARK(BM_SafeLengthsReachable);

// The public form: the same call and three vectors for its result.
void BM_SafeLengthsReachableAsVectors(benchmark::State& state)
{
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(LargePlatform().GetActuatorLengthsSafe(kReachable, StewartPlatform::Base));
    }, kShortCallsPerSample);
}
BENCHMARK(BM_SafeLengthsReachableAsVectors);

// Ten times the stroke: the full 16-step bisection.
void BM_SafeLengthsUnreachable(benchmark::State& state)
{
    const Pose far{0, 0, 5000, 0, 0, 0};
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(LargePlatform().GetActuatorLengthsSafe(far, StewartPlatform::Base));
    });
}
BENCHMARK(BM_SafeLengthsUnreachable);

void BM_ForwardKinematicsFromZero(benchmark::State& state)
{
    StewartPlatform raw = LargePlatform();
    raw.softLimitEnabled = false;
    const std::vector<double> lengths = raw.GetActuatorLengthsSafe(kReachable, StewartPlatform::Base).lengths;
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(
            LargePlatform().ForwardKinematics(lengths, Pose{}, StewartPlatform::Base, 40, 0.0001));
    });
}
BENCHMARK(BM_ForwardKinematicsFromZero);

// A pose moved without turning: the solve still steps every angle.
void BM_ForwardKinematicsTranslationOnly(benchmark::State& state)
{
    StewartPlatform raw = LargePlatform();
    raw.softLimitEnabled = false;
    const Pose moved{40, -30, 20, 0, 0, 0};
    const std::vector<double> lengths = raw.GetActuatorLengthsSafe(moved, StewartPlatform::Base).lengths;
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(
            LargePlatform().ForwardKinematics(lengths, Pose{}, StewartPlatform::Base, 40, 0.0001));
    });
}
BENCHMARK(BM_ForwardKinematicsTranslationOnly);

void BM_ManualLimitWithin(benchmark::State& state)
{
    const std::vector<double> values = ValuesOf(kReachable);
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(
            LargePlatform().ApplyManualAngleLimit(values, Pose{}, StewartPlatform::Base));
    });
}
BENCHMARK(BM_ManualLimitWithin);

// Values inside the stroke that bend a joint too far: every step of the
// pull-back runs a forward solve.
void BM_ManualLimitFullBisection(benchmark::State& state)
{
    const std::vector<double> bent{0.2739, 0.0100, 0.2199, 0.0320, 0.9349, 0.7821};
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(
            LargePlatform().ApplyManualAngleLimit(bent, Pose{}, StewartPlatform::Base));
    });
}
BENCHMARK(BM_ManualLimitFullBisection);

// The slowest case a random search over values and guesses found: values
// partly beyond the stroke and a poor starting pose, so the forward solves of
// the pull-back run long before they converge or fail.
void BM_ManualLimitSlowestFound(benchmark::State& state)
{
    const std::vector<double> values{1.2020, 1.2714, 1.2523, 1.2782, -0.1260, 0.5038};
    const Pose guess{-182.2, 160.1, -162.8, 25.3, 26.1, -24.2};
    TimeEachCall(state, [&] {
        benchmark::DoNotOptimize(
            LargePlatform().ApplyManualAngleLimit(values, guess, StewartPlatform::Base));
    });
}
BENCHMARK(BM_ManualLimitSlowestFound);

}  // namespace
