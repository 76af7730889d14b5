// EA F1 motion packets with the 2023-and-later 29-byte header.
#ifndef ZEPTA_RIDE_TELEMETRY_F1_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_F1_DECODER_H

#include <cstddef>
#include <cstdint>

#include "telemetry/motion_differentiator.h"
#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

// Any F1 packet of a year this decoder reads: the packetFormat is a year from
// 2023 and agrees with the gameYear byte.
bool HasF1Header(const std::uint8_t* data, std::size_t size);
// An F1 packet with an older header (2018 to 2022), which is not decoded.
bool HasOlderF1Header(const std::uint8_t* data, std::size_t size);

class F1Decoder {
public:
    DecodeOutcome Decode(const std::uint8_t* data, std::size_t size, MotionSample& out);

private:
    MotionDifferentiator motion;
};

}  // namespace zepta_ride

#endif
