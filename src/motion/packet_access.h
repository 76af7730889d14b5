// Indexed access to the six axis values and six speeds of a motion packet,
// and the clamp that also catches non-finite values.
#ifndef ZEPTA_MOTION_PACKET_ACCESS_H
#define ZEPTA_MOTION_PACKET_ACCESS_H

#include <array>
#include <cmath>
#include <cstddef>

#include "zepta/zepta.h"

namespace ZEPTASDK {

// axis1..axis6 and speedAxis1..speedAxis6.
constexpr std::size_t kPacketAxes = 6;
using AxisArray = std::array<float, kPacketAxes>;
using PacketFields = std::array<float _korve_data_packet::*, kPacketAxes>;

constexpr PacketFields kAxisFields{&_korve_data_packet::axis1, &_korve_data_packet::axis2,
                                   &_korve_data_packet::axis3, &_korve_data_packet::axis4,
                                   &_korve_data_packet::axis5, &_korve_data_packet::axis6};
constexpr PacketFields kSpeedFields{&_korve_data_packet::speedAxis1, &_korve_data_packet::speedAxis2,
                                    &_korve_data_packet::speedAxis3, &_korve_data_packet::speedAxis4,
                                    &_korve_data_packet::speedAxis5, &_korve_data_packet::speedAxis6};

inline AxisArray ReadFields(const _korve_data_packet& p, const PacketFields& fields)
{
    AxisArray values{};
    for (std::size_t i = 0; i < fields.size(); ++i) values[i] = p.*fields[i];
    return values;
}

inline void WriteFields(_korve_data_packet& p, const PacketFields& fields, const AxisArray& values)
{
    for (std::size_t i = 0; i < fields.size(); ++i) p.*fields[i] = values[i];
}

inline AxisArray ReadAxes(const _korve_data_packet& p) { return ReadFields(p, kAxisFields); }
inline void WriteAxes(_korve_data_packet& p, const AxisArray& a) { WriteFields(p, kAxisFields, a); }
inline AxisArray ReadSpeeds(const _korve_data_packet& p) { return ReadFields(p, kSpeedFields); }
inline void WriteSpeeds(_korve_data_packet& p, const AxisArray& s) { WriteFields(p, kSpeedFields, s); }

// value clamped to lo..hi; a NaN or infinite value becomes fallback.
template <typename T>
T ClampFinite(T value, T lo, T hi, T fallback)
{
    if (!std::isfinite(value)) return fallback;
    return value < lo ? lo : (value > hi ? hi : value);
}

template <typename T>
T FiniteOr(T value, T fallback)
{
    return std::isfinite(value) ? value : fallback;
}

}  // namespace ZEPTASDK

#endif
