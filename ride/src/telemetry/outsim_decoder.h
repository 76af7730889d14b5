// Live for Speed OutSim, the classic packet (64 bytes, 68 with an ID).
#ifndef ZEPTA_RIDE_TELEMETRY_OUTSIM_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_OUTSIM_DECODER_H

#include <cstddef>
#include <cstdint>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

bool IsOutSimSize(std::size_t size);

class OutSimDecoder {
public:
    DecodeOutcome Decode(const std::uint8_t* data, std::size_t size, MotionSample& out);

private:
    double previousTime = 0.0;
    bool primed = false;
};

}  // namespace zepta_ride

#endif
