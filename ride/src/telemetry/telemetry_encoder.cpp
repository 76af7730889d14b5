#include "telemetry/telemetry_encoder.h"

#include <cmath>
#include <cstring>

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

namespace {

constexpr double kTwoPi = 2.0 * 3.14159265358979323846;
constexpr std::size_t kXPlaneRowCount = 4;
constexpr std::size_t kXPlaneSlotCount = 8;
constexpr std::size_t kXPlaneFirstSlot = 4;
constexpr std::size_t kXPlaneSize = xplane::kHeaderSize + kXPlaneRowCount * xplane::kRecordSize;

BodyAxes Axes(const MotionSample& s) { return AxesFromAttitude({s.roll, s.pitch, s.yaw}); }

// Specific force, what an accelerometer in the vehicle reads: acceleration
// plus the world's up (in body axes) times g.
Vec3 SpecificForce(const MotionSample& s)
{
    const BodyAxes axes = Axes(s);
    return Vec3{s.accelFwd, s.accelLeft, s.accelUp} + kStandardGravity * Vec3{axes.fwd.z, axes.left.z, axes.up.z};
}

void WriteForza(const MotionSample& s, double time, std::uint8_t* out)
{
    using namespace forza;
    WriteField(out, kIsRaceOn, s.live ? 1.0 : 0.0);
    WriteField(out, kTimestamp, time);
    // X right, Y up, Z forward; rotations by the left-hand rule.
    WriteVector(out, kAcceleration, {-s.accelLeft, s.accelUp, s.accelFwd});
    WriteVector(out, kVelocity, {0.0, 0.0, s.speed});
    WriteVector(out, kAngularVelocity, {s.pitchRate, -s.yawRate, -s.rollRate});
    WriteField(out, kYaw, -s.yaw);
    WriteField(out, kPitch, s.pitch);
    WriteField(out, kRoll, -s.roll);
}

void WriteCodemasters(const MotionSample& s, double time, std::uint8_t* out)
{
    using namespace codemasters;
    const BodyAxes axes = Axes(s);
    WriteField(out, kTotalTime, time);
    WriteField(out, kSpeed, s.speed);
    WriteVector(out, kWorldVelocity, ToYUpWorld(s.speed * axes.fwd));
    WriteVector(out, kRightDirection, ToYUpWorld(-1.0 * axes.left));
    WriteVector(out, kForwardDirection, ToYUpWorld(axes.fwd));
    WriteField(out, kLateralG, s.accelLeft);
    WriteField(out, kLongitudinalG, s.accelFwd);
}

void WriteBeamNG(const MotionSample& s, std::uint8_t* out)
{
    using namespace beamng;
    const BodyAxes axes = Axes(s);
    std::memcpy(out, kMagic, kMagicSize);
    WriteVector(out, kWorldVelocity, s.speed * axes.fwd);
    // Right, forward, down: the vehicle's sensor axes negated.
    WriteVector(out, kAcceleration, {-s.accelLeft, s.accelFwd, -s.accelUp});
    WriteVector(out, kWorldUp, axes.up);
    WriteField(out, kRoll, s.roll);
    WriteField(out, kPitch, s.pitch);
    WriteField(out, kYaw, s.yaw);
    WriteField(out, kRollRate, -s.rollRate);
    WriteField(out, kPitchRate, s.pitchRate);
    WriteField(out, kYawRate, -s.yawRate);
}

void WriteOutSim(const MotionSample& s, double time, std::uint8_t* out)
{
    using namespace outsim;
    const BodyAxes axes = AxesFromHeadingPitchRoll(s.yaw, -s.pitch, s.roll);
    WriteField(out, kTime, time);
    WriteVector(out, kWorldAngularVelocity, ToWorld(axes, {s.rollRate, s.pitchRate, s.yawRate}));
    WriteField(out, kHeading, s.yaw);
    WriteField(out, kPitch, -s.pitch);
    WriteField(out, kRoll, s.roll);
    WriteVector(out, kWorldAcceleration, ToWorld(axes, {s.accelFwd, s.accelLeft, s.accelUp}));
    WriteVector(out, kWorldVelocity, s.speed * axes.fwd);
}

// One record with every slot unused, to be filled by the caller.
std::size_t StartXPlaneRecord(std::uint8_t* out, std::size_t at, int index)
{
    WriteField(out, At(xplane::kRowIndex, at), index);
    for (std::size_t slot = 0; slot < kXPlaneSlotCount; ++slot) {
        WriteField(out, {at + kXPlaneFirstSlot + slot * sizeof(float), FieldType::F32, 1.0}, xplane::kUnusedSlot);
    }
    return at;
}

void WriteXPlane(const MotionSample& s, std::uint8_t* out)
{
    using namespace xplane;
    std::memcpy(out, kMagic, kMagicSize);
    out[kMagicSize] = kInternalByte;
    std::size_t at = StartXPlaneRecord(out, kHeaderSize, kSpeedsRow);
    WriteField(out, At(kGroundSpeed, at), s.speed);
    at = StartXPlaneRecord(out, at + kRecordSize, kLoadsRow);
    const Vec3 f = SpecificForce(s);
    WriteField(out, At(kAxialLoad, at), f.x);
    WriteField(out, At(kSideLoad, at), -f.y);
    WriteField(out, At(kNormalLoad, at), f.z);
    at = StartXPlaneRecord(out, at + kRecordSize, kRatesRow);
    WriteField(out, At(kRollRate, at), s.rollRate);
    WriteField(out, At(kPitchRate, at), -s.pitchRate);
    WriteField(out, At(kYawRate, at), -s.yawRate);
    at = StartXPlaneRecord(out, at + kRecordSize, kAttitudeRow);
    WriteField(out, At(kPitch, at), -s.pitch);
    WriteField(out, At(kRoll, at), s.roll);
    const double heading = std::fmod(-s.yaw, kTwoPi);
    WriteField(out, At(kHeading, at), heading < 0.0 ? heading + kTwoPi : heading);
}

void WriteF1(const MotionSample& s, double time, std::uint8_t* out)
{
    using namespace f1;
    WriteField(out, kPacketFormat, kFirstFormat);
    WriteField(out, kGameYear, kFirstFormat - kCenturyOfFormat);
    WriteField(out, kPacketId, kMotionPacketId);
    WriteField(out, kSessionTime, time);
    WriteField(out, kPlayerCarIndex, 0);
    WriteField(out, kSecondaryPlayerCarIndex, kNoSecondaryPlayer);
    const std::size_t car = kHeaderSize;
    const BodyAxes axes = Axes(s);
    WriteVector(out, At(kWorldVelocity, car), ToYUpWorld(s.speed * axes.fwd));
    WriteVector(out, At(kForwardDirection, car), ToYUpWorld(axes.fwd));
    WriteVector(out, At(kRightDirection, car), ToYUpWorld(-1.0 * axes.left));
    WriteField(out, At(kLateralG, car), s.accelLeft);
    WriteField(out, At(kLongitudinalG, car), s.accelFwd);
    WriteField(out, At(kVerticalG, car), SpecificForce(s).z);
    WriteField(out, At(kYaw, car), s.yaw);
    WriteField(out, At(kPitch, car), s.pitch);
    WriteField(out, At(kRoll, car), s.roll);
}

std::size_t EncodedSize(TelemetryFormat format)
{
    switch (format) {
    case TelemetryFormat::Forza: return forza::kSledSize;
    case TelemetryFormat::BeamNG: return beamng::kSize;
    case TelemetryFormat::OutSim: return outsim::kSize;
    case TelemetryFormat::XPlane: return kXPlaneSize;
    case TelemetryFormat::F1: return f1::kMotionSize;
    case TelemetryFormat::Codemasters: break;
    }
    return codemasters::kEncodedSize;
}

}  // namespace

std::size_t EncodeDatagram(TelemetryFormat format, const MotionSample& sample, double timeSeconds,
                           std::uint8_t* out, std::size_t capacity)
{
    const std::size_t size = EncodedSize(format);
    if (out == nullptr || capacity < size) return 0;
    std::memset(out, 0, size);
    switch (format) {
    case TelemetryFormat::Forza: WriteForza(sample, timeSeconds, out); break;
    case TelemetryFormat::BeamNG: WriteBeamNG(sample, out); break;
    case TelemetryFormat::OutSim: WriteOutSim(sample, timeSeconds, out); break;
    case TelemetryFormat::XPlane: WriteXPlane(sample, out); break;
    case TelemetryFormat::F1: WriteF1(sample, timeSeconds, out); break;
    case TelemetryFormat::Codemasters: WriteCodemasters(sample, timeSeconds, out); break;
    }
    return size;
}

std::size_t EncodeDatagram(TelemetryFormat format, const MotionSample& sample, std::uint8_t* out,
                           std::size_t capacity)
{
    return EncodeDatagram(format, sample, 0.0, out, capacity);
}

}  // namespace zepta_ride
