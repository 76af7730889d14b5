#include "telemetry/xplane_decoder.h"

#include "telemetry/decode_helpers.h"

namespace zepta_ride {

namespace {

constexpr std::size_t kAbsent = 0;  // no record starts inside the header

// Byte offsets of the records this decoder reads, kAbsent when not sent.
struct Rows {
    std::size_t speeds = kAbsent;
    std::size_t loads = kAbsent;
    std::size_t rates = kAbsent;
    std::size_t attitude = kAbsent;
};

Rows FindRows(const std::uint8_t* data, std::size_t size)
{
    Rows rows;
    for (std::size_t at = xplane::kHeaderSize; at < size; at += xplane::kRecordSize) {
        switch (static_cast<int>(ReadField(data, At(xplane::kRowIndex, at)))) {
        case xplane::kSpeedsRow: rows.speeds = at; break;
        case xplane::kLoadsRow: rows.loads = at; break;
        case xplane::kRatesRow: rows.rates = at; break;
        case xplane::kAttitudeRow: rows.attitude = at; break;
        default: break;
        }
    }
    return rows;
}

double Read(const std::uint8_t* data, Field slot, std::size_t row)
{
    return row == kAbsent ? 0.0 : ReadField(data, At(slot, row));
}

}  // namespace

// X-Plane's angles and rates are aeronautical: pitch and its rate positive
// nose up, roll right wing down, heading and yaw rate nose right; pitch and
// yaw change sign. The rates row is read as X-Plane 12 sends it (P, Q, R in
// deg/s): read from an older version its radians look like small degrees, a
// weak cue rather than a violent one. Load factors are specific force in g,
// forward, right and up; gravity, the world's up in body axes, is taken out.
DecodeOutcome DecodeXPlane(const std::uint8_t* data, std::size_t size, MotionSample& out)
{
    if (size < kMagicSize) return Rejected(TelemetryFormat::XPlane, DropReason::WrongSize);
    if (!HasMagic(data, size, xplane::kMagic)) return Rejected(TelemetryFormat::XPlane, DropReason::WrongMagic);
    if (size < xplane::kHeaderSize + xplane::kRecordSize ||
        (size - xplane::kHeaderSize) % xplane::kRecordSize != 0) {
        return Rejected(TelemetryFormat::XPlane, DropReason::WrongSize);
    }
    const Rows rows = FindRows(data, size);
    if (rows.loads == kAbsent || rows.rates == kAbsent || rows.attitude == kAbsent) {
        return Rejected(TelemetryFormat::XPlane, DropReason::NotMotion);
    }
    const Attitude attitude{Read(data, xplane::kRoll, rows.attitude), -Read(data, xplane::kPitch, rows.attitude),
                            -Read(data, xplane::kHeading, rows.attitude)};
    const BodyAxes axes = AxesFromAttitude(attitude);
    const Vec3 specificForce{Read(data, xplane::kAxialLoad, rows.loads), -Read(data, xplane::kSideLoad, rows.loads),
                             Read(data, xplane::kNormalLoad, rows.loads)};
    const Vec3 a = specificForce - kStandardGravity * Vec3{axes.fwd.z, axes.left.z, axes.up.z};
    out.accelFwd = a.x;
    out.accelLeft = a.y;
    out.accelUp = a.z;
    out.rollRate = Read(data, xplane::kRollRate, rows.rates);
    out.pitchRate = -Read(data, xplane::kPitchRate, rows.rates);
    out.yawRate = -Read(data, xplane::kYawRate, rows.rates);
    out.roll = attitude.roll;
    out.pitch = attitude.pitch;
    out.yaw = attitude.yaw;
    out.speed = Read(data, xplane::kGroundSpeed, rows.speeds);
    out.live = true;
    return Accepted(TelemetryFormat::XPlane);
}

}  // namespace zepta_ride
