#include "lan/update_messages.h"

#include <cmath>
#include <limits>

#include "lan/json.h"

namespace ZEPTASDK {
namespace LanUpdate {

namespace {

using Packet = _korve_data_packet;

struct ScaledField {
    const char* key;
    float Packet::*field;
};

// Every float of the full object, each sent as value × 1000.
const ScaledField kFullObjectFields[] = {
    {"ax1", &Packet::axis1},        {"ax2", &Packet::axis2},        {"ax3", &Packet::axis3},
    {"ax4", &Packet::axis4},        {"ax5", &Packet::axis5},        {"ax6", &Packet::axis6},
    {"spd1", &Packet::speedAxis1},  {"spd2", &Packet::speedAxis2},  {"spd3", &Packet::speedAxis3},
    {"spd4", &Packet::speedAxis4},  {"spd5", &Packet::speedAxis5},  {"spd6", &Packet::speedAxis6},
    {"acc", &Packet::accelAxis},    {"roll", &Packet::roll},        {"pitch", &Packet::pitch},
    {"yaw", &Packet::yaw},          {"heave", &Packet::heave},      {"sway", &Packet::sway},
    {"surge", &Packet::surge},      {"rotMR", &Packet::rotMR},      {"graMR", &Packet::graMR},
};
const char kSpeedGainKey[] = "spdGain";
const char kAxisModeKey[] = "axisProc";
const char kOriginKey[] = "isOrg";

const char kShortAxis1Key[] = "axis1";
const char kShortAxis2Key[] = "axis2";
const char kShortVibrationKey[] = "vib";
const char kShortSpeedKey[] = "speed";
const double kShortVibration = 0.0;

constexpr float kJsonScale = 1000.0f;
// 2^63: the first float beyond the int64 range; its negation is the last one inside.
constexpr float kInt64Bound = 9223372036854775808.0f;
// 2^32: the first double beyond the uint32 range.
constexpr double kUint32Bound = 4294967296.0;
constexpr std::uint32_t kLow16Bits = 0xFFFF;

constexpr double kPositionScale = 10000.0;
constexpr double kSpeedScale = 15000.0;
constexpr double kAccelerationScale = 10000.0;

constexpr std::size_t kCountWord = 0;
constexpr std::size_t kFirstPositionWord = 1;
constexpr std::size_t kFirstSpeedWord = 7;
constexpr std::size_t kAccelerationWord = 13;
constexpr std::size_t kAxes = 6;

// Values the device moves to while the session is in origin mode.
constexpr std::uint16_t kOriginPositionGrande = 300;
constexpr std::uint16_t kOriginPositionOther = 5000;
constexpr std::uint16_t kOriginSpeed = 5000;
constexpr std::uint16_t kOriginAcceleration = 800;

using Words = std::array<std::uint16_t, kRecordWords>;

picojson::value Integer(std::int64_t value) { return picojson::value(value); }

picojson::value FullObject(const Packet& packet, ZEPTASpeedGain speedGain, ZEPTAAxisMode axisMode, bool isOrigin)
{
    picojson::object object;
    for (const ScaledField& scaled : kFullObjectFields) object[scaled.key] = Integer(ScaleByThousand(packet.*scaled.field));
    object[kSpeedGainKey] = Integer(speedGain);
    object[kAxisModeKey] = Integer(axisMode);
    object[kOriginKey] = picojson::value(isOrigin);
    return picojson::value(object);
}

// picojson refuses non-finite reals with std::overflow_error, before anything is sent.
picojson::value ShortObject(const Packet& packet, ZEPTASpeedGain speedGain)
{
    picojson::object object;
    object[kShortAxis1Key] = picojson::value(static_cast<double>(packet.axis1));
    object[kShortAxis2Key] = picojson::value(static_cast<double>(packet.axis2));
    object[kShortVibrationKey] = picojson::value(kShortVibration);
    object[kShortSpeedKey] = picojson::value(static_cast<double>(packet.speedAxis1));
    object[kSpeedGainKey] = Integer(speedGain);
    return picojson::value(object);
}

float Packet::*const kPositionFields[kAxes] = {&Packet::axis1, &Packet::axis2, &Packet::axis3,
                                                &Packet::axis4, &Packet::axis5, &Packet::axis6};
float Packet::*const kSpeedFields[kAxes] = {&Packet::speedAxis1, &Packet::speedAxis2, &Packet::speedAxis3,
                                             &Packet::speedAxis4, &Packet::speedAxis5, &Packet::speedAxis6};

void FillFromPacket(const Packet& packet, bool uniformSpeed, Words& words)
{
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        words[kFirstPositionWord + axis] = ScaleToWord(packet.*kPositionFields[axis], kPositionScale);
        const float speed = uniformSpeed ? packet.speedAxis1 : packet.*kSpeedFields[axis];
        words[kFirstSpeedWord + axis] = ScaleToWord(speed, kSpeedScale);
    }
    words[kAccelerationWord] = ScaleToWord(packet.accelAxis, kAccelerationScale);
}

void FillOrigin(unsigned deviceType, Words& words)
{
    const bool grande = deviceType == ZEPTA_DEVICE_GRANDE_QX || deviceType == ZEPTA_DEVICE_GRANDE_500QX;
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        words[kFirstPositionWord + axis] = grande ? kOriginPositionGrande : kOriginPositionOther;
        words[kFirstSpeedWord + axis] = kOriginSpeed;
    }
    words[kAccelerationWord] = kOriginAcceleration;
}

BinaryRecord BigEndian(const Words& words)
{
    BinaryRecord record;
    for (std::size_t i = 0; i < kRecordWords; ++i) {
        record[2 * i] = static_cast<unsigned char>(words[i] >> 8);
        record[2 * i + 1] = static_cast<unsigned char>(words[i] & 0xFF);
    }
    return record;
}

}  // namespace

std::int64_t ScaleByThousand(float value)
{
    const float product = value * kJsonScale;
    if (std::isnan(product)) return 0;
    if (product >= kInt64Bound) return std::numeric_limits<std::int64_t>::max();
    if (product < -kInt64Bound) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(product);
}

std::uint16_t ScaleToWord(float value, double factor)
{
    const double product = static_cast<double>(value) * factor;
    if (!(product > 0.0)) return 0;
    if (product >= kUint32Bound) return static_cast<std::uint16_t>(kLow16Bits);
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(product) & kLow16Bits);
}

std::string EncodeJson(const Packet& packet, unsigned deviceType, ZEPTASpeedGain speedGain,
                       ZEPTAAxisMode axisMode, bool isOrigin)
{
    const picojson::value object = deviceType == ZEPTA_DEVICE_MOSSPOD
                                       ? ShortObject(packet, speedGain)
                                       : FullObject(packet, speedGain, axisMode, isOrigin);
    return object.serialize();
}

BinaryRecord EncodeBinary(const Packet& packet, unsigned deviceType, ZEPTASpeedGain speedGain, bool derivedAxes,
                          bool isOrigin)
{
    Words words{};
    words[kCountWord] = static_cast<std::uint16_t>(kRecordWords);
    if (isOrigin) {
        FillOrigin(deviceType, words);
    } else {
        FillFromPacket(packet, speedGain == ZEPTA_SPEED_DEFAULT && !derivedAxes, words);
    }
    return BigEndian(words);
}

}  // namespace LanUpdate
}  // namespace ZEPTASDK
