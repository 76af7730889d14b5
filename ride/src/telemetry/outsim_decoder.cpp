#include "telemetry/outsim_decoder.h"

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

bool IsOutSimSize(std::size_t size)
{
    return size == outsim::kSize || size == outsim::kSizeWithId;
}

// OutSim gives acceleration, velocity and angular velocity in world axes (X
// right, Y forward, Z up at zero heading); they are rotated into the car by
// its heading, pitch and roll. Acceleration is taken as the derivative of the
// world velocity beside it, without gravity. The extended packet ("LFST")
// moves its blocks with the user's options and is not decoded. LFS keeps its
// clock still while paused, so a datagram is live when the clock moved.
DecodeOutcome OutSimDecoder::Decode(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    if (HasMagic(data, size, outsim::kExtendedMagic)) {
        return Rejected(TelemetryFormat::OutSim, DropReason::WrongMagic);
    }
    if (!IsOutSimSize(size)) return Rejected(TelemetryFormat::OutSim, DropReason::WrongSize);
    const double heading = ReadField(data, outsim::kHeading);
    const double pitchUp = ReadField(data, outsim::kPitch);
    const double roll = ReadField(data, outsim::kRoll);
    const BodyAxes axes = AxesFromHeadingPitchRoll(heading, pitchUp, roll);
    const Vec3 a = ToBody(axes, ReadVector(data, outsim::kWorldAcceleration));
    const Vec3 w = ToBody(axes, ReadVector(data, outsim::kWorldAngularVelocity));
    out.accelFwd = a.x;
    out.accelLeft = a.y;
    out.accelUp = a.z;
    out.rollRate = w.x;
    out.pitchRate = w.y;
    out.yawRate = w.z;
    out.roll = roll;
    out.pitch = -pitchUp;
    out.yaw = heading;
    out.speed = Length(ReadVector(data, outsim::kWorldVelocity));
    const double time = ReadField(data, outsim::kTime);
    out.live = primed && time != previousTime;
    previousTime = time;
    primed = true;
    return Accepted(TelemetryFormat::OutSim);
}

}  // namespace zepta_ride
