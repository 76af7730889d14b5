#include "telemetry/beamng_decoder.h"

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

// BeamNG builds vehicles facing -Y with +X to their left and +Z up, and sends
// acceleration as its sensor vector negated: that turns backward Y into
// forward and left X into right, and so up Z into down. Roll and yaw angles
// are negated before sending and pitch is not, which makes all three angles
// right side down, nose down and nose left; the rates are not negated, so
// roll and yaw rate change sign here to stay the derivatives of the angles
// (BeamNG's own stability control reads a positive yaw rate as a right turn).
// The stream runs only while a vehicle is driven, so every datagram is live.
DecodeOutcome DecodeBeamNG(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    if (size < kMagicSize) return Rejected(TelemetryFormat::BeamNG, DropReason::WrongSize);
    if (!HasMagic(data, size, beamng::kMagic)) return Rejected(TelemetryFormat::BeamNG, DropReason::WrongMagic);
    if (size != beamng::kSize) return Rejected(TelemetryFormat::BeamNG, DropReason::WrongSize);
    const Vec3 a = ReadVector(data, beamng::kAcceleration);
    out.accelFwd = a.y;
    out.accelLeft = -a.x;
    out.accelUp = -a.z;
    out.rollRate = -ReadField(data, beamng::kRollRate);
    out.pitchRate = ReadField(data, beamng::kPitchRate);
    out.yawRate = -ReadField(data, beamng::kYawRate);
    out.roll = ReadField(data, beamng::kRoll);
    out.pitch = ReadField(data, beamng::kPitch);
    out.yaw = ReadField(data, beamng::kYaw);
    out.speed = Length(ReadVector(data, beamng::kWorldVelocity));
    out.live = true;
    return Accepted(TelemetryFormat::BeamNG);
}

}  // namespace zepta_ride
