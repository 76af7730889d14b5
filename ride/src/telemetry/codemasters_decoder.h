// Codemasters legacy "extradata" stream: a flat float array of any length
// that is a whole number of floats from 152 bytes (extradata 1) up.
#ifndef ZEPTA_RIDE_TELEMETRY_CODEMASTERS_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_CODEMASTERS_DECODER_H

#include <cstddef>
#include <cstdint>

#include "telemetry/motion_differentiator.h"
#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

bool IsCodemastersSize(std::size_t size);

class CodemastersDecoder {
public:
    DecodeOutcome Decode(const std::uint8_t* data, std::size_t size, MotionSample& out);

private:
    MotionDifferentiator motion;
};

}  // namespace zepta_ride

#endif
