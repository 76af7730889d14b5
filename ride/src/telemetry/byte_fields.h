// One field of a game datagram: where it sits, how it is stored and the factor
// that turns the stored number into SI units. Every game sends little-endian,
// so bytes are assembled explicitly and the host's byte order never matters.
#ifndef ZEPTA_RIDE_TELEMETRY_BYTE_FIELDS_H
#define ZEPTA_RIDE_TELEMETRY_BYTE_FIELDS_H

#include <cstddef>
#include <cstdint>

namespace zepta_ride {

enum class FieldType { F32, S16, U16, S32, U32, U8 };

struct Field {
    std::size_t offset;
    FieldType type;
    double scale;  // SI value = stored value * scale
};

// Three fields that form one vector, in the game's own axes.
struct VectorField {
    Field x;
    Field y;
    Field z;
};

constexpr std::size_t FieldSize(FieldType type)
{
    switch (type) {
    case FieldType::U8: return 1;
    case FieldType::S16:
    case FieldType::U16: return 2;
    default: return 4;
    }
}

// A field of a block that starts `base` bytes into the datagram.
constexpr Field At(Field field, std::size_t base)
{
    return {field.offset + base, field.type, field.scale};
}

constexpr VectorField At(VectorField v, std::size_t base)
{
    return {At(v.x, base), At(v.y, base), At(v.z, base)};
}

// The caller has checked that the field lies inside the datagram.
double ReadField(const std::uint8_t* data, Field field);
// Stores `value` / scale; integer fields round and saturate, non-finite -> 0.
void WriteField(std::uint8_t* data, Field field, double value);

}  // namespace zepta_ride

#endif
