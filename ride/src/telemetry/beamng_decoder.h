// BeamNG.drive MotionSim datagrams (magic "BNG1").
#ifndef ZEPTA_RIDE_TELEMETRY_BEAMNG_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_BEAMNG_DECODER_H

#include <cstddef>
#include <cstdint>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

DecodeOutcome DecodeBeamNG(const std::uint8_t* data, std::size_t size, MotionSample& out);

}  // namespace zepta_ride

#endif
