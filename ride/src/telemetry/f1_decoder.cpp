#include "telemetry/f1_decoder.h"

#include <cmath>

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

namespace {

int PacketFormat(const std::uint8_t* data) { return static_cast<int>(ReadField(data, f1::kPacketFormat)); }

}  // namespace

bool HasF1Header(const std::uint8_t* data, std::size_t size)
{
    if (size < f1::kHeaderSize) return false;
    const int format = PacketFormat(data);
    return format >= f1::kFirstFormat && format <= f1::kLastFormat &&
           format - f1::kCenturyOfFormat == static_cast<int>(ReadField(data, f1::kGameYear));
}

bool HasOlderF1Header(const std::uint8_t* data, std::size_t size)
{
    if (size < f1::kHeaderSize) return false;
    const int format = PacketFormat(data);
    return format >= f1::kFirstOlderFormat && format < f1::kFirstFormat;
}

// The player's car block gives attitude fields already in the common senses
// (yaw nose left, pitch nose down, roll right side down), world velocity and
// direction vectors in the Y-up world, and g-forces. Lateral and longitudinal
// g are read as the legacy stream of the same engine sends them: + left and
// + forward, without gravity. Whether vertical g holds gravity is unknown, so
// vertical acceleration, like the rates (which this packet no longer
// carries), comes from the change of velocity and vectors over the session
// clock. The clock stands still while paused, so a datagram is live when it
// moved.
DecodeOutcome F1Decoder::Decode(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    if (size < f1::kHeaderSize) return Rejected(TelemetryFormat::F1, DropReason::WrongSize);
    if (!HasF1Header(data, size)) return Rejected(TelemetryFormat::F1, DropReason::WrongMagic);
    if (ReadField(data, f1::kPacketId) != f1::kMotionPacketId) {
        return Rejected(TelemetryFormat::F1, DropReason::NotMotion);
    }
    if (size != f1::kMotionSize) return Rejected(TelemetryFormat::F1, DropReason::WrongSize);
    const auto player = static_cast<std::size_t>(ReadField(data, f1::kPlayerCarIndex));
    if (player >= f1::kCarCount) return Rejected(TelemetryFormat::F1, DropReason::Absurd);
    const std::size_t car = f1::kHeaderSize + player * f1::kCarSize;
    const double time = ReadField(data, f1::kSessionTime);
    const Vec3 fwd = FromYUpWorld(ReadVector(data, At(f1::kForwardDirection, car)));
    const Vec3 right = FromYUpWorld(ReadVector(data, At(f1::kRightDirection, car)));
    const Vec3 velocity = FromYUpWorld(ReadVector(data, At(f1::kWorldVelocity, car)));
    if (!std::isfinite(time) || !IsFinite(velocity)) return Rejected(TelemetryFormat::F1, DropReason::NonFinite);
    if (!IsUnit(fwd) || !IsUnit(right)) return Rejected(TelemetryFormat::F1, DropReason::Absurd);
    const MotionDifferentiator::Derived derived = motion.Step(time, AxesFromForwardRight(fwd, right), velocity);
    out.accelFwd = ReadField(data, At(f1::kLongitudinalG, car));
    out.accelLeft = ReadField(data, At(f1::kLateralG, car));
    out.accelUp = derived.accelUp;
    out.rollRate = derived.rates.x;
    out.pitchRate = derived.rates.y;
    out.yawRate = derived.rates.z;
    out.roll = ReadField(data, At(f1::kRoll, car));
    out.pitch = ReadField(data, At(f1::kPitch, car));
    out.yaw = ReadField(data, At(f1::kYaw, car));
    out.speed = Length(velocity);
    out.live = derived.advanced;
    return Accepted(TelemetryFormat::F1);
}

}  // namespace zepta_ride
