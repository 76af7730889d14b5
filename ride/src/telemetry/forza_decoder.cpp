#include "telemetry/forza_decoder.h"

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

bool IsForzaSize(std::size_t size)
{
    return size == forza::kSledSize || size == forza::kCarDashSize || size == forza::kHorizonSize ||
           size == forza::kMotorsportDashSize;
}

// Forza's car axes are X right, Y up, Z forward, a left-handed set, and it
// documents directions but not rotation senses. Velocity and acceleration
// share those axes, so acceleration is taken as d(velocity)/dt along them,
// without gravity. A game that works in a left-handed frame turns positive
// about each axis by the left-hand rule: +X nose down, +Y nose right, +Z right
// side up. The angles are read with the same senses as the rates, so each
// rate stays the derivative of its angle.
DecodeOutcome DecodeForza(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    if (!IsForzaSize(size)) return Rejected(TelemetryFormat::Forza, DropReason::WrongSize);
    const Vec3 a = ReadVector(data, forza::kAcceleration);
    const Vec3 w = ReadVector(data, forza::kAngularVelocity);
    out.accelFwd = a.z;
    out.accelLeft = -a.x;
    out.accelUp = a.y;
    out.rollRate = -w.z;
    out.pitchRate = w.x;
    out.yawRate = -w.y;
    out.roll = -ReadField(data, forza::kRoll);
    out.pitch = ReadField(data, forza::kPitch);
    out.yaw = -ReadField(data, forza::kYaw);
    out.speed = Length(ReadVector(data, forza::kVelocity));
    out.live = ReadField(data, forza::kIsRaceOn) != 0.0;
    return Accepted(TelemetryFormat::Forza);
}

}  // namespace zepta_ride
