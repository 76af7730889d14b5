// Forza Data Out (Motorsport 7 and 2023, Horizon 4 and 5): every variant
// starts with the same block of motion fields.
#ifndef ZEPTA_RIDE_TELEMETRY_FORZA_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_FORZA_DECODER_H

#include <cstddef>
#include <cstdint>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

bool IsForzaSize(std::size_t size);
DecodeOutcome DecodeForza(const std::uint8_t* data, std::size_t size, MotionSample& out);

}  // namespace zepta_ride

#endif
