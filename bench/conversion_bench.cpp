// Cost of one frame's conversion for every family of formulas (two-, four- and
// six-axis seats, the four-actuator kind) and both Stewart platforms, with the
// application's axes (mode 0) and derived ones (mode 1).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>

#include "motion/axis_converter.h"
#include "per_call_timing.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisConverter;

void BM_Convert(benchmark::State& state)
{
    const int kind = static_cast<int>(state.range(0));
    const int axisMode = static_cast<int>(state.range(1));
    AxisConverter converter;
    converter.PrepareForDevice(kind);
    const ZEPTASDK::ConversionModes modes{kind, axisMode, ZEPTA_SPEED_DEFAULT};
    auto now = std::chrono::system_clock::time_point{} + std::chrono::hours(1);
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    converter.Convert(packet, true, modes, now);
    now += std::chrono::seconds(4);
    int frame = 0;
    zepta_bench::TimeEachCall(state, [&] {
        // A slow sway of the whole pose, as a game would send it.
        const float phase = 0.01f * static_cast<float>(frame++ % 628);
        _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
        p.roll = 0.4f * std::sin(phase);
        p.pitch = 0.3f * std::cos(phase);
        p.heave = 0.2f * std::sin(2 * phase);
        p.surge = 0.3f * std::sin(phase);
        p.axis1 = 0.5f + 0.1f * std::sin(phase);
        p.graMR = 0.5f;
        now += std::chrono::milliseconds(10);
        converter.Convert(p, false, modes, now);
        benchmark::DoNotOptimize(p);
    });
}
BENCHMARK(BM_Convert)
    ->ArgNames({"kind", "mode"})
    ->ArgsProduct({{ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_DEVICE_KORVE_4DOF, ZEPTA_DEVICE_KORVE_6DOF, ZEPTA_DEVICE_MOSSPOD,
                    ZEPTA_DEVICE_GRANDE_QX, ZEPTA_DEVICE_GRANDE_500QX},
                   {ZEPTA_AXIS_MANUAL, ZEPTA_AXIS_BASE}});

}  // namespace
