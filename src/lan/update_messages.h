// The bytes of one LAN update: the compact JSON objects and the 28-byte
// big-endian record. Pure functions, so that the wire format can be checked
// without a network.
#ifndef ZEPTA_LAN_UPDATE_MESSAGES_H
#define ZEPTA_LAN_UPDATE_MESSAGES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "zepta/zepta.h"

namespace ZEPTASDK {
namespace LanUpdate {

constexpr std::size_t kRecordWords = 14;
constexpr std::size_t kRecordBytes = 2 * kRecordWords;
using BinaryRecord = std::array<unsigned char, kRecordBytes>;

// value × 1000 multiplied in single precision, truncated toward zero; NaN
// gives 0 and products beyond the int64 range saturate.
std::int64_t ScaleByThousand(float value);

// value × factor in double precision, truncated toward zero to an unsigned
// 32-bit integer (negative and NaN give 0, beyond its range saturates), of
// which the low 16 bits are kept.
std::uint16_t ScaleToWord(float value, double factor);

// The JSON text of one frame: the short object for the device type that
// speaks it, the full object for every other type. Throws
// std::overflow_error when a value of the short object is not finite.
std::string EncodeJson(const _korve_data_packet& packet, unsigned deviceType, ZEPTASpeedGain speedGain,
                       ZEPTAAxisMode axisMode, bool isOrigin);

// The binary record of one frame. Speeds are uniform (all from speedAxis1)
// when speedGain is 0 and the axes are not derived; the origin flag replaces
// every value by the fixed origin values of the device type.
BinaryRecord EncodeBinary(const _korve_data_packet& packet, unsigned deviceType, ZEPTASpeedGain speedGain,
                          bool derivedAxes, bool isOrigin);

}  // namespace LanUpdate
}  // namespace ZEPTASDK

#endif
