// Where each game puts the fields that carry motion: one table per format,
// read by the decoders and, separately, by the encoder. Offsets are bytes
// from the start of the datagram (or of the block named), little-endian.
#ifndef ZEPTA_RIDE_TELEMETRY_LAYOUTS_H
#define ZEPTA_RIDE_TELEMETRY_LAYOUTS_H

#include <cstddef>
#include <cstdint>

#include "telemetry/byte_fields.h"

namespace zepta_ride {

constexpr double kStandardGravity = 9.80665;  // m/s^2 per g
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
constexpr double kMetresPerSecondPerKnot = 1852.0 / 3600.0;
constexpr double kSecondsPerMillisecond = 0.001;
constexpr std::size_t kMagicSize = 4;

constexpr FieldType F32 = FieldType::F32;

// Forza Data Out. Car-local axes: X right, Y up, Z forward.
namespace forza {
constexpr std::size_t kSledSize = 232;
constexpr std::size_t kCarDashSize = 311;
constexpr std::size_t kHorizonSize = 324;
constexpr std::size_t kMotorsportDashSize = 331;
constexpr Field kIsRaceOn{0, FieldType::S32, 1.0};
constexpr Field kTimestamp{4, FieldType::U32, kSecondsPerMillisecond};
constexpr VectorField kAcceleration{{20, F32, 1.0}, {24, F32, 1.0}, {28, F32, 1.0}};
constexpr VectorField kVelocity{{32, F32, 1.0}, {36, F32, 1.0}, {40, F32, 1.0}};
// About X, Y and Z: pitch, yaw and roll rate.
constexpr VectorField kAngularVelocity{{44, F32, 1.0}, {48, F32, 1.0}, {52, F32, 1.0}};
constexpr Field kYaw{56, F32, 1.0};
constexpr Field kPitch{60, F32, 1.0};
constexpr Field kRoll{64, F32, 1.0};
}  // namespace forza

// Codemasters legacy "extradata": a flat float array; world Y up, right-handed.
namespace codemasters {
constexpr std::size_t kWordSize = 4;
constexpr std::size_t kMinSize = 152;      // extradata 1, indices 0..37
constexpr std::size_t kEncodedSize = 264;  // extradata 3, indices 0..65
// The full packet of the 2016/2017 F1 games, which begins with the same
// floats; its last 52 bytes came with a later update.
constexpr std::size_t kFullPacketSize = 1289;
constexpr std::size_t kEarlyFullPacketSize = 1237;
constexpr Field kTotalTime{0, F32, 1.0};
constexpr Field kSpeed{28, F32, 1.0};
constexpr VectorField kWorldVelocity{{32, F32, 1.0}, {36, F32, 1.0}, {40, F32, 1.0}};
constexpr VectorField kRightDirection{{44, F32, 1.0}, {48, F32, 1.0}, {52, F32, 1.0}};
constexpr VectorField kForwardDirection{{56, F32, 1.0}, {60, F32, 1.0}, {64, F32, 1.0}};
constexpr Field kLateralG{136, F32, kStandardGravity};       // + toward the left
constexpr Field kLongitudinalG{140, F32, kStandardGravity};  // + forward
}  // namespace codemasters

// BeamNG MotionSim. Vehicle axes for acceleration: X right, Y forward, Z up.
namespace beamng {
constexpr char kMagic[] = "BNG1";
constexpr std::size_t kSize = 88;
// OutGauge, the dashboard stream BeamNG and LFS send, often to the same port.
constexpr std::size_t kOutGaugeSize = 92;
constexpr std::size_t kOutGaugeSizeWithId = 96;
constexpr VectorField kWorldVelocity{{16, F32, 1.0}, {20, F32, 1.0}, {24, F32, 1.0}};
constexpr VectorField kAcceleration{{28, F32, 1.0}, {32, F32, 1.0}, {36, F32, 1.0}};
constexpr VectorField kWorldUp{{40, F32, 1.0}, {44, F32, 1.0}, {48, F32, 1.0}};
constexpr Field kRoll{52, F32, 1.0};
constexpr Field kPitch{56, F32, 1.0};
constexpr Field kYaw{60, F32, 1.0};
constexpr Field kRollRate{64, F32, 1.0};
constexpr Field kPitchRate{68, F32, 1.0};
constexpr Field kYawRate{72, F32, 1.0};
}  // namespace beamng

// Live for Speed OutSim, classic packet. World axes: X right, Y forward, Z up.
namespace outsim {
constexpr char kExtendedMagic[] = "LFST";
constexpr std::size_t kSize = 64;
constexpr std::size_t kSizeWithId = 68;
constexpr Field kTime{0, FieldType::U32, kSecondsPerMillisecond};
constexpr VectorField kWorldAngularVelocity{{4, F32, 1.0}, {8, F32, 1.0}, {12, F32, 1.0}};
constexpr Field kHeading{16, F32, 1.0};  // + turning left
constexpr Field kPitch{20, F32, 1.0};    // + nose up
constexpr Field kRoll{24, F32, 1.0};     // + right side down
constexpr VectorField kWorldAcceleration{{28, F32, 1.0}, {32, F32, 1.0}, {36, F32, 1.0}};
constexpr VectorField kWorldVelocity{{40, F32, 1.0}, {44, F32, 1.0}, {48, F32, 1.0}};
}  // namespace outsim

// X-Plane DATA: "DATA", one byte for X-Plane's own use, then records of an
// int32 row index and eight floats. Slot offsets are from the record start.
namespace xplane {
constexpr char kMagic[] = "DATA";
constexpr std::uint8_t kInternalByte = '*';
constexpr std::size_t kHeaderSize = 5;
constexpr std::size_t kRecordSize = 36;
constexpr float kUnusedSlot = -999.0f;
constexpr Field kRowIndex{0, FieldType::S32, 1.0};
constexpr int kSpeedsRow = 3;
constexpr Field kGroundSpeed{16, F32, kMetresPerSecondPerKnot};
constexpr int kLoadsRow = 4;  // load factors, gravity included
constexpr Field kNormalLoad{20, F32, kStandardGravity};  // + up
constexpr Field kAxialLoad{24, F32, kStandardGravity};   // + forward
constexpr Field kSideLoad{28, F32, kStandardGravity};    // + right
constexpr int kRatesRow = 16;  // X-Plane 12: P, Q, R in deg/s
constexpr Field kRollRate{4, F32, kRadiansPerDegree};   // P, + right wing down
constexpr Field kPitchRate{8, F32, kRadiansPerDegree};  // Q, + nose up
constexpr Field kYawRate{12, F32, kRadiansPerDegree};   // R, + nose right
constexpr int kAttitudeRow = 17;
constexpr Field kPitch{4, F32, kRadiansPerDegree};    // + nose up
constexpr Field kRoll{8, F32, kRadiansPerDegree};     // + right wing down
constexpr Field kHeading{12, F32, kRadiansPerDegree};  // true, + nose right
}  // namespace xplane

// EA F1 2023 and later: a 29-byte header, then 22 cars of 60 bytes in the
// motion packet. World Y up, right-handed, as in the legacy stream.
namespace f1 {
constexpr std::size_t kHeaderSize = 29;
constexpr Field kPacketFormat{0, FieldType::U16, 1.0};
constexpr Field kGameYear{2, FieldType::U8, 1.0};
constexpr Field kPacketId{6, FieldType::U8, 1.0};
constexpr Field kSessionTime{15, F32, 1.0};
constexpr Field kPlayerCarIndex{27, FieldType::U8, 1.0};
constexpr Field kSecondaryPlayerCarIndex{28, FieldType::U8, 1.0};
constexpr int kFirstFormat = 2023;
constexpr int kLastFormat = 2099;
constexpr int kCenturyOfFormat = 2000;   // packetFormat = 2000 + gameYear
constexpr int kMotionPacketId = 0;
constexpr int kNoSecondaryPlayer = 255;
constexpr std::size_t kCarCount = 22;
constexpr std::size_t kCarSize = 60;
constexpr std::size_t kMotionSize = kHeaderSize + kCarCount * kCarSize;

// The header fields a motion packet is read by, per packetFormat. Before
// 2023 the motion packet ends with 120 bytes of the player's own data after
// the cars (not read here), and the attitude fields did not track the car
// in every year: attitude then comes from the direction vectors.
struct Header {
    int firstFormat;
    std::size_t size;
    Field packetId;
    Field sessionTime;
    Field playerCarIndex;
    std::size_t carCount;
    std::size_t tailSize;
    bool attitudeFields;
};
constexpr std::size_t kOlderPlayerTail = 120;
constexpr Header kHeader2023{kFirstFormat, kHeaderSize, kPacketId, kSessionTime, kPlayerCarIndex, kCarCount,
                             0, true};
// 2018: format, packet version, packet id, session UID, time, frame, player.
constexpr Header kHeader2018{2018, 21, {3, FieldType::U8, 1.0}, {12, F32, 1.0}, {20, FieldType::U8, 1.0}, 20,
                             kOlderPlayerTail, false};
// 2019: two game-version bytes after the format.
constexpr Header kHeader2019{2019, 23, {5, FieldType::U8, 1.0}, {14, F32, 1.0}, {22, FieldType::U8, 1.0}, 20,
                             kOlderPlayerTail, false};
// 2020 to 2022: a secondary player index at the end, and 22 cars.
constexpr Header kHeader2020{2020, 24, {5, FieldType::U8, 1.0}, {14, F32, 1.0}, {22, FieldType::U8, 1.0}, 22,
                             kOlderPlayerTail, false};
constexpr int kLastOlderFormat = 2022;

constexpr std::size_t MotionSizeOf(const Header& header)
{
    return header.size + header.carCount * kCarSize + header.tailSize;
}

constexpr double kDirectionScale = 1.0 / 32767.0;
// Offsets within one car's block.
constexpr VectorField kWorldVelocity{{12, F32, 1.0}, {16, F32, 1.0}, {20, F32, 1.0}};
constexpr VectorField kForwardDirection{{24, FieldType::S16, kDirectionScale},
                                        {26, FieldType::S16, kDirectionScale},
                                        {28, FieldType::S16, kDirectionScale}};
constexpr VectorField kRightDirection{{30, FieldType::S16, kDirectionScale},
                                      {32, FieldType::S16, kDirectionScale},
                                      {34, FieldType::S16, kDirectionScale}};
constexpr Field kLateralG{36, F32, kStandardGravity};
constexpr Field kLongitudinalG{40, F32, kStandardGravity};
constexpr Field kVerticalG{44, F32, kStandardGravity};
constexpr Field kYaw{48, F32, 1.0};
constexpr Field kPitch{52, F32, 1.0};
constexpr Field kRoll{56, F32, 1.0};
}  // namespace f1

}  // namespace zepta_ride

#endif
