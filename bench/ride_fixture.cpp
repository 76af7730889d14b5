#include "ride_fixture.h"

#include <cmath>
#include <stdexcept>

#include "game_emulator/vehicle_model.h"

namespace zepta_bench {

namespace {

constexpr double kGamePeriod = 1.0 / kGameRateHz;
// Enough frames to ease in from parked, with room to spare.
constexpr double kEaseInMargin = 2.0;

}  // namespace

std::vector<zepta_ride::MotionSample> LapSamples(std::size_t count)
{
    zepta_tools::VehicleModel vehicle(zepta_tools::Scenario::Lap);
    std::vector<zepta_ride::MotionSample> samples;
    samples.reserve(count);
    for (std::size_t i = 0; i < count; ++i) samples.push_back(vehicle.Advance(kGamePeriod));
    return samples;
}

LapDatagrams::LapDatagrams(zepta_ride::TelemetryFormat format, std::size_t count) : bytes(count * kStride)
{
    zepta_tools::VehicleModel vehicle(zepta_tools::Scenario::Lap);
    sizes.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const zepta_ride::MotionSample& sample = vehicle.Advance(kGamePeriod);
        const std::size_t size =
            zepta_ride::EncodeDatagram(format, sample, vehicle.GameTime(), bytes.data() + i * kStride, kStride);
        if (size == 0) throw std::runtime_error("a datagram does not fit its buffer");
        sizes.push_back(size);
    }
}

RideChain::RideChain()
    : profile(zepta_ride::DefaultProfile()),
      washout(profile.cueing, profile.rateHz),
      safety(profile.safety, profile.rateHz),
      writer(profile.output),
      packet(ZEPTASDK::DefaultZEPTAPacket())
{
    const auto easeIn = static_cast<long>(std::ceil(kEaseInMargin * profile.safety.rampInSeconds * profile.rateHz));
    const zepta_ride::MotionSample standing = LapSamples(1).front();
    for (long frame = 0; frame < easeIn; ++frame) Step(standing);
    if (safety.State() != zepta_ride::SafetyState::Live) throw std::runtime_error("the safety stage is not live");
}

const _korve_data_packet& RideChain::Step(const zepta_ride::MotionSample& sample)
{
    writer.Fill(safety.Step(washout.Step(sample), 0.0, sample.live), packet);
    return packet;
}

}  // namespace zepta_bench
