// Pieces every format decoder uses: outcomes, magic checks and vectors.
#ifndef ZEPTA_RIDE_TELEMETRY_DECODE_HELPERS_H
#define ZEPTA_RIDE_TELEMETRY_DECODE_HELPERS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "telemetry/byte_fields.h"
#include "telemetry/frame_math.h"
#include "telemetry/telemetry_layouts.h"
#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

inline DecodeOutcome Accepted(TelemetryFormat format)
{
    return {true, DropReason::WrongSize, format};
}

inline DecodeOutcome Rejected(TelemetryFormat format, DropReason reason)
{
    return {false, reason, format};
}

// `magic` is four characters and its terminator.
inline bool HasMagic(const std::uint8_t* data, std::size_t size, const char (&magic)[kMagicSize + 1])
{
    return size >= kMagicSize && std::memcmp(data, magic, kMagicSize) == 0;
}

inline Vec3 ReadVector(const std::uint8_t* data, const VectorField& v)
{
    return {ReadField(data, v.x), ReadField(data, v.y), ReadField(data, v.z)};
}

inline void WriteVector(std::uint8_t* data, const VectorField& v, Vec3 value)
{
    WriteField(data, v.x, value.x);
    WriteField(data, v.y, value.y);
    WriteField(data, v.z, value.z);
}

}  // namespace zepta_ride

#endif
