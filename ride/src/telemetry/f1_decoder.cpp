#include "telemetry/f1_decoder.h"

#include <cmath>

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

namespace {

int PacketFormat(const std::uint8_t* data) { return static_cast<int>(ReadField(data, f1::kPacketFormat)); }

}  // namespace

const f1::Header* F1HeaderOf(const std::uint8_t* data, std::size_t size)
{
    if (size < f1::kHeader2018.size) return nullptr;
    const int format = PacketFormat(data);
    if (format >= f1::kFirstFormat && format <= f1::kLastFormat) {
        const bool yearAgrees = size >= f1::kHeaderSize &&
                                format - f1::kCenturyOfFormat == static_cast<int>(ReadField(data, f1::kGameYear));
        return yearAgrees ? &f1::kHeader2023 : nullptr;
    }
    for (const f1::Header* older : {&f1::kHeader2020, &f1::kHeader2019, &f1::kHeader2018}) {
        if (format >= older->firstFormat && format <= f1::kLastOlderFormat) {
            return size >= older->size ? older : nullptr;
        }
    }
    return nullptr;
}

// The player's car block gives attitude fields in the common senses (yaw
// nose left, pitch nose down, roll right side down) from 2023; before that
// the attitude comes from the direction vectors. World velocity and
// direction vectors are in the Y-up world; g-forces complete the sample.
// Lateral and longitudinal g are read as the legacy stream of the same
// engine sends them: + left and + forward, without gravity. Whether vertical
// g holds gravity is unknown, so vertical acceleration, like the rates
// (which the packet does not carry in every year), comes from the change of
// velocity and vectors over the session clock. The clock stands still while
// paused, so a datagram is live when it moved.
DecodeOutcome F1Decoder::Decode(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    const f1::Header* header = F1HeaderOf(data, size);
    if (header == nullptr) {
        return Rejected(TelemetryFormat::F1, size < f1::kHeaderSize ? DropReason::WrongSize : DropReason::WrongMagic);
    }
    if (ReadField(data, header->packetId) != f1::kMotionPacketId) {
        return Rejected(TelemetryFormat::F1, DropReason::NotMotion);
    }
    if (size != f1::MotionSizeOf(*header)) return Rejected(TelemetryFormat::F1, DropReason::WrongSize);
    const auto player = static_cast<std::size_t>(ReadField(data, header->playerCarIndex));
    if (player >= header->carCount) return Rejected(TelemetryFormat::F1, DropReason::Absurd);
    const std::size_t car = header->size + player * f1::kCarSize;
    const double time = ReadField(data, header->sessionTime);
    const Vec3 fwd = FromYUpWorld(ReadVector(data, At(f1::kForwardDirection, car)));
    const Vec3 right = FromYUpWorld(ReadVector(data, At(f1::kRightDirection, car)));
    const Vec3 velocity = FromYUpWorld(ReadVector(data, At(f1::kWorldVelocity, car)));
    if (!std::isfinite(time) || !IsFinite(velocity)) return Rejected(TelemetryFormat::F1, DropReason::NonFinite);
    if (!IsUnit(fwd) || !IsUnit(right)) return Rejected(TelemetryFormat::F1, DropReason::Absurd);
    const BodyAxes axes = AxesFromForwardRight(fwd, right);
    const MotionDifferentiator::Derived derived = motion.Step(time, axes, velocity);
    out.accelFwd = ReadField(data, At(f1::kLongitudinalG, car));
    out.accelLeft = ReadField(data, At(f1::kLateralG, car));
    out.accelUp = derived.accelUp;
    out.rollRate = derived.rates.x;
    out.pitchRate = derived.rates.y;
    out.yawRate = derived.rates.z;
    const Attitude attitude = header->attitudeFields ? Attitude{ReadField(data, At(f1::kRoll, car)),
                                                                ReadField(data, At(f1::kPitch, car)),
                                                                ReadField(data, At(f1::kYaw, car))}
                                                     : AttitudeFromAxes(axes);
    out.roll = attitude.roll;
    out.pitch = attitude.pitch;
    out.yaw = attitude.yaw;
    out.speed = Length(velocity);
    out.live = derived.advanced;
    return Accepted(TelemetryFormat::F1);
}

}  // namespace zepta_ride
