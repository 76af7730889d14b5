#include <cmath>

#include "telemetry/beamng_decoder.h"
#include "telemetry/codemasters_decoder.h"
#include "telemetry/decode_helpers.h"
#include "telemetry/f1_decoder.h"
#include "telemetry/forza_decoder.h"
#include "telemetry/outsim_decoder.h"
#include "telemetry/xplane_decoder.h"

namespace zepta_ride {

namespace {

constexpr double kMaxAcceleration = 20.0 * kStandardGravity;  // m/s^2
constexpr double kMaxAngularRate = 20.0;                      // rad/s
constexpr double kMaxSpeed = 1.0e4;                           // m/s, beyond orbital speed
// Angles arrive wrapped or not; beyond this many radians a heading is
// garbage, not laps driven.
constexpr double kMaxUnwrappedAngle = 1.0e5;
constexpr double kPi = 3.14159265358979323846;

bool AllFinite(const MotionSample& s)
{
    for (double v : {s.accelFwd, s.accelLeft, s.accelUp, s.rollRate, s.pitchRate, s.yawRate, s.roll, s.pitch,
                     s.yaw, s.speed}) {
        if (!std::isfinite(v)) return false;
    }
    return true;
}

bool WithinLimits(const MotionSample& s)
{
    auto within = [](double v, double limit) { return std::fabs(v) <= limit; };
    return within(s.accelFwd, kMaxAcceleration) && within(s.accelLeft, kMaxAcceleration) &&
           within(s.accelUp, kMaxAcceleration) && within(s.rollRate, kMaxAngularRate) &&
           within(s.pitchRate, kMaxAngularRate) && within(s.yawRate, kMaxAngularRate) &&
           within(s.speed, kMaxSpeed) && within(s.roll, kMaxUnwrappedAngle) &&
           within(s.pitch, kMaxUnwrappedAngle) && within(s.yaw, kMaxUnwrappedAngle);
}

// Games mostly send angles already wrapped, which skips the slow remainder.
double Wrapped(double angle) { return std::fabs(angle) <= kPi ? angle : std::remainder(angle, 2.0 * kPi); }

}  // namespace

struct TelemetryDecoder::Formats {
    CodemastersDecoder codemasters;
    OutSimDecoder outsim;
    F1Decoder f1;
};

TelemetryDecoder::TelemetryDecoder()
    : formats(std::make_unique<Formats>()), autoDetect(true), only(TelemetryFormat::Codemasters)
{
}

TelemetryDecoder::TelemetryDecoder(TelemetryFormat only)
    : formats(std::make_unique<Formats>()), autoDetect(false), only(only)
{
}

TelemetryDecoder::~TelemetryDecoder() = default;
TelemetryDecoder::TelemetryDecoder(TelemetryDecoder&&) noexcept = default;
TelemetryDecoder& TelemetryDecoder::operator=(TelemetryDecoder&&) noexcept = default;

DecodeOutcome TelemetryDecoder::Decode(const std::uint8_t* data, std::size_t size, MotionSample& sample)
{
    if (data == nullptr) size = 0;
    MotionSample candidate;
    DecodeOutcome outcome = autoDetect ? DecodeRecognised(data, size, candidate)
                                       : DecodeAs(only, data, size, candidate);
    if (outcome.decoded && !AllFinite(candidate)) outcome = Rejected(outcome.format, DropReason::NonFinite);
    if (outcome.decoded && !WithinLimits(candidate)) outcome = Rejected(outcome.format, DropReason::Absurd);
    if (!outcome.decoded) {
        ++dropped[static_cast<std::size_t>(outcome.reason)];
        return outcome;
    }
    candidate.roll = Wrapped(candidate.roll);
    candidate.pitch = Wrapped(candidate.pitch);
    candidate.yaw = Wrapped(candidate.yaw);
    sample = candidate;
    ++decoded;
    return outcome;
}

DecodeOutcome TelemetryDecoder::DecodeAs(TelemetryFormat format, const std::uint8_t* data, std::size_t size,
                                         MotionSample& sample)
{
    switch (format) {
    case TelemetryFormat::Forza: return DecodeForza(data, size, sample);
    case TelemetryFormat::BeamNG: return DecodeBeamNG(data, size, sample);
    case TelemetryFormat::OutSim: return formats->outsim.Decode(data, size, sample);
    case TelemetryFormat::XPlane: return DecodeXPlane(data, size, sample);
    case TelemetryFormat::F1: return formats->f1.Decode(data, size, sample);
    case TelemetryFormat::Codemasters: break;
    }
    return formats->codemasters.Decode(data, size, sample);
}

// Magic first, then the F1 header, then the sizes that only one format uses;
// any other whole number of floats from 152 bytes is the Codemasters stream.
// OutGauge is recognised by size as the dashboard stream beside BeamNG's
// motion.
DecodeOutcome TelemetryDecoder::DecodeRecognised(const std::uint8_t* data, std::size_t size,
                                                 MotionSample& sample)
{
    TelemetryFormat format = TelemetryFormat::Codemasters;
    if (HasMagic(data, size, beamng::kMagic)) {
        format = TelemetryFormat::BeamNG;
    } else if (HasMagic(data, size, xplane::kMagic)) {
        format = TelemetryFormat::XPlane;
    } else if (HasMagic(data, size, outsim::kExtendedMagic) || IsOutSimSize(size)) {
        format = TelemetryFormat::OutSim;
    } else if (F1HeaderOf(data, size) != nullptr) {
        format = TelemetryFormat::F1;
    } else if (IsForzaSize(size)) {
        format = TelemetryFormat::Forza;
    } else if (size == beamng::kOutGaugeSize || size == beamng::kOutGaugeSizeWithId) {
        return Rejected(TelemetryFormat::BeamNG, DropReason::NotMotion);
    }
    return DecodeAs(format, data, size, sample);
}

std::uint64_t TelemetryDecoder::Dropped(DropReason reason) const
{
    return dropped[static_cast<std::size_t>(reason)];
}

std::uint64_t TelemetryDecoder::Decoded() const { return decoded; }

}  // namespace zepta_ride
