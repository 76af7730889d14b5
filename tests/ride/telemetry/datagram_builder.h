// Builds datagrams byte by byte at offsets the tests spell out, so that the
// decoders' own layout tables are checked rather than reused.
#ifndef ZEPTA_TESTS_RIDE_TELEMETRY_DATAGRAM_BUILDER_H
#define ZEPTA_TESTS_RIDE_TELEMETRY_DATAGRAM_BUILDER_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride_test {

struct Datagram {
    explicit Datagram(std::size_t size) : bytes(size, 0) {}

    Datagram& Text(std::size_t at, const char* text)
    {
        std::memcpy(&bytes[at], text, std::strlen(text));
        return *this;
    }
    Datagram& F32(std::size_t at, float v)
    {
        std::uint32_t u;
        std::memcpy(&u, &v, sizeof u);
        return Le(at, u, 4);
    }
    Datagram& S16(std::size_t at, std::int16_t v) { return Le(at, static_cast<std::uint16_t>(v), 2); }
    Datagram& U16(std::size_t at, std::uint16_t v) { return Le(at, v, 2); }
    Datagram& S32(std::size_t at, std::int32_t v) { return Le(at, static_cast<std::uint32_t>(v), 4); }
    Datagram& U32(std::size_t at, std::uint32_t v) { return Le(at, v, 4); }
    Datagram& U8(std::size_t at, std::uint8_t v) { return Le(at, v, 1); }

    zepta_ride::DecodeOutcome DecodeWith(zepta_ride::TelemetryDecoder& decoder,
                                         zepta_ride::MotionSample& sample) const
    {
        return decoder.Decode(bytes.data(), bytes.size(), sample);
    }

    std::vector<std::uint8_t> bytes;

private:
    Datagram& Le(std::size_t at, std::uint32_t v, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) bytes[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
        return *this;
    }
};

}  // namespace zepta_ride_test

#endif
