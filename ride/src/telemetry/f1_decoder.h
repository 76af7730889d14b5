// EA F1 motion packets, every header from 2018 on.
#ifndef ZEPTA_RIDE_TELEMETRY_F1_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_F1_DECODER_H

#include <cstddef>
#include <cstdint>

#include "telemetry/motion_differentiator.h"
#include "telemetry/telemetry_layouts.h"
#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

// The header layout of an F1 packet, or null for anything else: the
// packetFormat is a year from 2018, and from 2023 on agrees with the
// gameYear byte; the datagram holds at least the header.
const f1::Header* F1HeaderOf(const std::uint8_t* data, std::size_t size);

class F1Decoder {
public:
    DecodeOutcome Decode(const std::uint8_t* data, std::size_t size, MotionSample& out);

private:
    MotionDifferentiator motion;
};

}  // namespace zepta_ride

#endif
