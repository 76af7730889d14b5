#include "telemetry/codemasters_decoder.h"

#include <cmath>

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

bool IsCodemastersSize(std::size_t size)
{
    return (size >= codemasters::kMinSize && size % codemasters::kWordSize == 0) ||
           size == codemasters::kFullPacketSize || size == codemasters::kEarlyFullPacketSize;
}

// The stream sends the car's right and forward vectors and its velocity in
// the world, lateral (+ left) and longitudinal (+ forward) acceleration in g
// without gravity, and no angular velocity: attitude comes from the vectors,
// rates and vertical acceleration from their change over the game's clock.
// The clock stands still while the game is paused, so a datagram is live
// when it moved.
DecodeOutcome CodemastersDecoder::Decode(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    if (!IsCodemastersSize(size)) return Rejected(TelemetryFormat::Codemasters, DropReason::WrongSize);
    const double time = ReadField(data, codemasters::kTotalTime);
    const Vec3 fwd = FromYUpWorld(ReadVector(data, codemasters::kForwardDirection));
    const Vec3 right = FromYUpWorld(ReadVector(data, codemasters::kRightDirection));
    const Vec3 velocity = FromYUpWorld(ReadVector(data, codemasters::kWorldVelocity));
    if (!std::isfinite(time) || !IsFinite(fwd) || !IsFinite(right) || !IsFinite(velocity)) {
        return Rejected(TelemetryFormat::Codemasters, DropReason::NonFinite);
    }
    if (!IsUnit(fwd) || !IsUnit(right)) return Rejected(TelemetryFormat::Codemasters, DropReason::Absurd);
    const BodyAxes axes = AxesFromForwardRight(fwd, right);
    const MotionDifferentiator::Derived derived = motion.Step(time, axes, velocity);
    const Attitude attitude = AttitudeFromAxes(axes);
    out.accelFwd = ReadField(data, codemasters::kLongitudinalG);
    out.accelLeft = ReadField(data, codemasters::kLateralG);
    out.accelUp = derived.accelUp;
    out.rollRate = derived.rates.x;
    out.pitchRate = derived.rates.y;
    out.yawRate = derived.rates.z;
    out.roll = attitude.roll;
    out.pitch = attitude.pitch;
    out.yaw = attitude.yaw;
    out.speed = ReadField(data, codemasters::kSpeed);
    out.live = derived.advanced;
    return Accepted(TelemetryFormat::Codemasters);
}

}  // namespace zepta_ride
