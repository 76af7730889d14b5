// What the ride measurements feed the ride library: each format's datagrams
// as a game sends them while the emulated vehicle drives laps, and the frame
// step of `zepta ride` (cueing, safety stage, rig writer) already following
// the cue, as it is once the rig has eased in.
#ifndef ZEPTA_BENCH_RIDE_FIXTURE_H
#define ZEPTA_BENCH_RIDE_FIXTURE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "zepta/ride/motion_sample.hpp"
#include "zepta/ride/profile.hpp"
#include "zepta/ride/rig_writer.hpp"
#include "zepta/ride/safety_stage.hpp"
#include "zepta/ride/telemetry.hpp"
#include "telemetry/telemetry_encoder.h"
#include "zepta/ride/washout_filter.hpp"

namespace zepta_bench {

constexpr std::array<zepta_ride::TelemetryFormat, 6> kRideFormats{
    zepta_ride::TelemetryFormat::Codemasters, zepta_ride::TelemetryFormat::Forza,
    zepta_ride::TelemetryFormat::BeamNG,      zepta_ride::TelemetryFormat::OutSim,
    zepta_ride::TelemetryFormat::XPlane,      zepta_ride::TelemetryFormat::F1};

// The rate the games send at and the emulated game's default.
constexpr double kGameRateHz = 60.0;

// The vehicle's motion over `count` datagram periods of a lap.
std::vector<zepta_ride::MotionSample> LapSamples(std::size_t count);

// `count` successive datagrams of one format for a lap, the game's clock
// advancing by one period each.
class LapDatagrams {
public:
    LapDatagrams(zepta_ride::TelemetryFormat format, std::size_t count);

    std::size_t Count() const { return sizes.size(); }
    const std::uint8_t* Data(std::size_t i) const { return bytes.data() + i * kStride; }
    std::size_t Size(std::size_t i) const { return sizes[i]; }

private:
    static constexpr std::size_t kStride = zepta_ride::kMaxDatagramSize;
    std::vector<std::uint8_t> bytes;
    std::vector<std::size_t> sizes;
};

// One output frame of `zepta ride` for a fresh sample, with its default
// profile: washout step, safety step, rig writer.
class RideChain {
public:
    // Throws std::runtime_error when the safety stage does not reach Live.
    RideChain();

    const _korve_data_packet& Step(const zepta_ride::MotionSample& sample);
    zepta_ride::SafetyState State() const { return safety.State(); }

private:
    zepta_ride::Profile profile;
    zepta_ride::WashoutFilter washout;
    zepta_ride::SafetyStage safety;
    zepta_ride::RigWriter writer;
    _korve_data_packet packet;
};

}  // namespace zepta_bench

#endif
