#include "telemetry/byte_fields.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace zepta_ride {

namespace {

std::uint32_t ReadBytes(const std::uint8_t* p, std::size_t count)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value |= static_cast<std::uint32_t>(p[i]) << (8 * i);
    return value;
}

void WriteBytes(std::uint8_t* p, std::size_t count, std::uint32_t value)
{
    for (std::size_t i = 0; i < count; ++i) p[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

template <typename T>
std::uint32_t Saturated(double value)
{
    if (!std::isfinite(value)) return 0;
    const double lo = static_cast<double>(std::numeric_limits<T>::min());
    const double hi = static_cast<double>(std::numeric_limits<T>::max());
    const T t = static_cast<T>(std::clamp(std::round(value), lo, hi));
    return static_cast<std::uint32_t>(t);
}

}  // namespace

double ReadField(const std::uint8_t* data, Field field)
{
    const std::uint32_t raw = ReadBytes(data + field.offset, FieldSize(field.type));
    double value = 0.0;
    switch (field.type) {
    case FieldType::F32: {
        float f;
        std::memcpy(&f, &raw, sizeof f);
        value = f;
        break;
    }
    case FieldType::S16: value = static_cast<std::int16_t>(raw); break;
    case FieldType::S32: value = static_cast<std::int32_t>(raw); break;
    default: value = raw; break;
    }
    return value * field.scale;
}

void WriteField(std::uint8_t* data, Field field, double value)
{
    const double stored = value / field.scale;
    std::uint32_t raw = 0;
    switch (field.type) {
    case FieldType::F32: {
        const double limit = std::numeric_limits<float>::max();
        const float f = static_cast<float>(std::isnan(stored) ? stored : std::clamp(stored, -limit, limit));
        std::memcpy(&raw, &f, sizeof raw);
        break;
    }
    case FieldType::S16: raw = Saturated<std::int16_t>(stored); break;
    case FieldType::U16: raw = Saturated<std::uint16_t>(stored); break;
    case FieldType::S32: raw = Saturated<std::int32_t>(stored); break;
    case FieldType::U32: raw = Saturated<std::uint32_t>(stored); break;
    case FieldType::U8: raw = Saturated<std::uint8_t>(stored); break;
    }
    WriteBytes(data + field.offset, FieldSize(field.type), raw);
}

}  // namespace zepta_ride
