// Datagrams as the games send them, for a given motion: the inverse of the
// decoders, written from the same layout tables but not through their code,
// so that an emulated game can drive `zepta ride` end to end.
#ifndef ZEPTA_RIDE_TELEMETRY_ENCODER_H
#define ZEPTA_RIDE_TELEMETRY_ENCODER_H

#include <cstddef>
#include <cstdint>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

constexpr std::size_t kMaxDatagramSize = 1500;

// Writes one datagram of `format` that carries `sample` and returns its size,
// 0 if `capacity` is too small. Forza is written as the 232-byte sled packet,
// Codemasters as extradata 3 (264 bytes), X-Plane with rows 3, 4, 16 and 17,
// F1 as a 2023 motion packet with the player in the first car. Rates and
// vertical acceleration of codemasters and f1, which the games do not send,
// appear in what successive datagrams encode; `timeSeconds` is the game's
// clock, which must advance for codemasters, outsim and f1 to decode as live.
std::size_t EncodeDatagram(TelemetryFormat format, const MotionSample& sample, double timeSeconds,
                           std::uint8_t* out, std::size_t capacity);
// The same with the game's clock at zero.
std::size_t EncodeDatagram(TelemetryFormat format, const MotionSample& sample, std::uint8_t* out,
                           std::size_t capacity);

}  // namespace zepta_ride

#endif
