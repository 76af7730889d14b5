#include "motion/speed_deriver.h"

#include <algorithm>
#include <cmath>

namespace ZEPTASDK {

namespace {

// Full speed in the device's units: the start speed, the ceiling of a derived
// speed and the speed of a full-stroke move in one second.
constexpr float kFullSpeed = 0.67f;
constexpr float kMinSpeed = 0.01f;
// The largest surplus carried into the next frame.
constexpr float kCarryCeiling = 6.7f;
constexpr float kNoPrevious = -1.0f;
constexpr float kRunningAcceleration = 1.0f;
constexpr float kStartAcceleration = 0.05f;
constexpr std::chrono::seconds kStartPeriod{3};
// Frames closer together than this count as this far apart.
constexpr double kMinFrameSeconds = 0.001;
constexpr double kSecondsPerMicrosecond = 1e-6;

AxisArray Filled(float value)
{
    AxisArray a;
    a.fill(value);
    return a;
}

double SecondsBetween(SpeedDeriver::TimePoint earlier, SpeedDeriver::TimePoint later)
{
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(later - earlier);
    return std::max(static_cast<double>(us.count()) * kSecondsPerMicrosecond, kMinFrameSeconds);
}

struct AxisSpeed {
    float speed;
    float carry;
};

// v = (full speed / dt) * distance * gain + carry. The surplus above full speed
// (up to the ceiling) is carried; the speed is v clamped, in double so that a
// huge move never overflows the float.
AxisSpeed SpeedForMove(double dt, float distance, float gain, float carry)
{
    const double full = kFullSpeed;
    const double v = full / dt * distance * gain + carry;
    if (std::isnan(v)) return {kMinSpeed, 0.0f};
    const double surplus = v >= full ? std::min(v - full, static_cast<double>(kCarryCeiling)) : 0.0;
    return {static_cast<float>(std::clamp(v, static_cast<double>(kMinSpeed), full)),
            static_cast<float>(surplus)};
}

}  // namespace

void SpeedDeriver::Update(_korve_data_packet& packet, bool reset, int speedMode,
                          bool derivedAxes, float speedGain, TimePoint now)
{
    if (reset) {
        Restart(packet, now);
    } else if (speedMode == ZEPTA_SPEED_AS_WRITTEN) {
        return;
    } else if (now - resetTime < kStartPeriod) {
        HoldStartSpeeds(packet);
    } else if (speedMode != ZEPTA_SPEED_FROM_MOTION && !derivedAxes) {
        TrackWithoutDeriving(packet, now);
    } else {
        Derive(packet, speedGain, now);
    }
}

void SpeedDeriver::Restart(_korve_data_packet& packet, TimePoint now)
{
    resetTime = now;
    packet.accelAxis = kRunningAcceleration;
    previous = Filled(kNoPrevious);
    WriteSpeeds(packet, Filled(kFullSpeed));
}

void SpeedDeriver::HoldStartSpeeds(_korve_data_packet& packet)
{
    packet.accelAxis = kStartAcceleration;
    previous = Filled(kNoPrevious);
    WriteSpeeds(packet, Filled(kFullSpeed));
}

// The application's speeds stand; the carries sit at the ceiling so that the
// first derived frame after a switch of mode starts fast rather than slow.
void SpeedDeriver::TrackWithoutDeriving(const _korve_data_packet& packet, TimePoint now)
{
    previous = ReadAxes(packet);
    carry = Filled(kCarryCeiling);
    lastSpeedTime = now;
}

void SpeedDeriver::Derive(_korve_data_packet& packet, float speedGain, TimePoint now)
{
    const double dt = SecondsBetween(lastSpeedTime, now);
    const AxisArray current = ReadAxes(packet);
    AxisArray speeds{};
    for (std::size_t i = 0; i < current.size(); ++i) {
        if (previous[i] < 0.0f) {
            speeds[i] = kFullSpeed;
            carry[i] = 0.0f;
        } else {
            const AxisSpeed derived =
                SpeedForMove(dt, std::fabs(previous[i] - current[i]), speedGain, carry[i]);
            speeds[i] = derived.speed;
            carry[i] = derived.carry;
        }
        previous[i] = current[i];
    }
    WriteSpeeds(packet, speeds);
    packet.accelAxis = kRunningAcceleration;
    lastSpeedTime = now;
}

}  // namespace ZEPTASDK
