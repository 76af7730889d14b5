#include "zepta/ride/washout_filter.hpp"

#include <algorithm>
#include <cmath>

#include "cueing/units.h"

namespace zepta_ride {

namespace {

// Beyond these no vehicle goes; telemetry that claims more is broken.
constexpr double kMostAccel = 20.0 * kGravity;
constexpr double kMostRate = 20.0;

// The value within +-bound; a value that is not finite counts as 0.
double Bounded(double value, double bound, bool& bad)
{
    if (!std::isfinite(value)) {
        bad = true;
        return 0.0;
    }
    if (std::fabs(value) > bound) bad = true;
    return std::clamp(value, -bound, bound);
}

double Normalised(double value, double fullScale) { return std::clamp(value / fullScale, -1.0, 1.0); }

const CueingProfile& Checked(const CueingProfile& profile, double rateHz)
{
    ValidateCueing(profile, rateHz);
    return profile;
}

}  // namespace

WashoutFilter::Translation::Translation(const TranslationCueing& cue, double rateHz)
    : returnToCentre(Biquad::HighPass1(cue.returnHz, rateHz)),
      displacement(Biquad::HighPass2TwiceIntegrated(cue.cutoffHz, cue.damping, rateHz)),
      gain(cue.gain)
{
}

double WashoutFilter::Translation::Step(double accel) { return displacement.Step(returnToCentre.Step(gain * accel)); }

void WashoutFilter::Translation::Reset()
{
    returnToCentre.Reset();
    displacement.Reset();
}

WashoutFilter::Rotation::Rotation(const RotationCueing& cue, double rateHz)
    : angle(Biquad::HighPass2Integrated(cue.cutoffHz, cue.damping, rateHz)), gain(cue.gain)
{
}

double WashoutFilter::Rotation::Step(double rate) { return angle.Step(gain * rate); }

void WashoutFilter::Rotation::Reset() { angle.Reset(); }

WashoutFilter::Tilt::Tilt(const TiltCueing& cue, double rateHz)
    : lowPass(Biquad::LowPass2(cue.cutoffHz, cue.damping, rateHz)),
      gain(cue.gain),
      largestSine(std::sin(cue.limitDegrees * kDegree)),
      largestStep(cue.maxRateDegPerSec * kDegree / rateHz)
{
}

// The seat angle whose share of gravity equals the sustained acceleration.
double WashoutFilter::Tilt::Step(double accel)
{
    const double sine = std::clamp(gain * lowPass.Step(accel) / kGravity, -largestSine, largestSine);
    angle += std::clamp(std::asin(sine) - angle, -largestStep, largestStep);
    return angle;
}

void WashoutFilter::Tilt::Reset()
{
    lowPass.Reset();
    angle = 0.0;
}

WashoutFilter::Attitude::Attitude(const AttitudeCueing& cue, double rateHz)
    : lowPass(Biquad::LowPass1(cue.cutoffHz, rateHz)), gain(cue.gain), enabled(cue.enabled)
{
}

double WashoutFilter::Attitude::Step(double vehicleAngle) { return enabled ? lowPass.Step(gain * vehicleAngle) : 0.0; }

void WashoutFilter::Attitude::Reset() { lowPass.Reset(); }

WashoutFilter::WashoutFilter(const CueingProfile& profile, double rateHz)
    : surge(Checked(profile, rateHz).surge, rateHz),
      sway(profile.sway, rateHz),
      heave(profile.heave, rateHz),
      roll(profile.roll, rateHz),
      pitch(profile.pitch, rateHz),
      yaw(profile.yaw, rateHz),
      tiltRoll(profile.tilt, rateHz),
      tiltPitch(profile.tilt, rateHz),
      attitudeRoll(profile.attitude, rateHz),
      attitudePitch(profile.attitude, rateHz),
      surgeScale(profile.surge.fullScaleMetres),
      swayScale(profile.sway.fullScaleMetres),
      heaveScale(profile.heave.fullScaleMetres),
      rollScale(profile.roll.fullScaleDegrees * kDegree),
      pitchScale(profile.pitch.fullScaleDegrees * kDegree),
      yawScale(profile.yaw.fullScaleDegrees * kDegree)
{
}

MotionSample WashoutFilter::Sanitised(const MotionSample& sample)
{
    bool bad = false;
    MotionSample clean = sample;
    clean.accelFwd = Bounded(sample.accelFwd, kMostAccel, bad);
    clean.accelLeft = Bounded(sample.accelLeft, kMostAccel, bad);
    clean.accelUp = Bounded(sample.accelUp, kMostAccel, bad);
    clean.rollRate = Bounded(sample.rollRate, kMostRate, bad);
    clean.pitchRate = Bounded(sample.pitchRate, kMostRate, bad);
    clean.yawRate = Bounded(sample.yawRate, kMostRate, bad);
    clean.roll = Bounded(sample.roll, kPi, bad);
    clean.pitch = Bounded(sample.pitch, kPi, bad);
    if (bad) ++badInputs;
    return clean;
}

// Signs: braking (accelFwd < 0) moves the seat back at first and tilts its
// front down, so that gravity presses the occupant forward into the belts as
// the deceleration does; in a left-hand corner (accelLeft > 0) the seat moves
// left at first and tilts its right side down, so that gravity presses the
// occupant to the right, outward, as the corner does.
RigPose WashoutFilter::Step(const MotionSample& latest)
{
    const MotionSample sample = Sanitised(latest);
    RigPose pose;
    pose.surge = Normalised(surge.Step(sample.accelFwd), surgeScale);
    pose.sway = Normalised(sway.Step(sample.accelLeft), swayScale);
    pose.heave = Normalised(heave.Step(sample.accelUp), heaveScale);
    const double rollAngle = roll.Step(sample.rollRate) + tiltRoll.Step(sample.accelLeft) +
                             attitudeRoll.Step(sample.roll);
    const double pitchAngle = pitch.Step(sample.pitchRate) + tiltPitch.Step(-sample.accelFwd) +
                              attitudePitch.Step(sample.pitch);
    pose.roll = Normalised(rollAngle, rollScale);
    pose.pitch = Normalised(pitchAngle, pitchScale);
    pose.yaw = Normalised(yaw.Step(sample.yawRate), yawScale);
    return pose;
}

void WashoutFilter::Reset()
{
    for (Translation* channel : {&surge, &sway, &heave}) channel->Reset();
    for (Rotation* channel : {&roll, &pitch, &yaw}) channel->Reset();
    tiltRoll.Reset();
    tiltPitch.Reset();
    attitudeRoll.Reset();
    attitudePitch.Reset();
}

}  // namespace zepta_ride
