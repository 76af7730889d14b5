// X-Plane "DATA" output: the rows for speeds (3), load factors (4), body
// rates (16) and attitude (17); rows 4, 16 and 17 must be selected.
#ifndef ZEPTA_RIDE_TELEMETRY_XPLANE_DECODER_H
#define ZEPTA_RIDE_TELEMETRY_XPLANE_DECODER_H

#include <cstddef>
#include <cstdint>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

DecodeOutcome DecodeXPlane(const std::uint8_t* data, std::size_t size, MotionSample& out);

}  // namespace zepta_ride

#endif
