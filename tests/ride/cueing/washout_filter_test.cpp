// Step responses of the washout against their closed forms. The bilinear
// transform treats the input as straight lines between samples, so a step
// that starts at frame 0 behaves as if it had started half a frame earlier.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "zepta/ride/washout_filter.hpp"

namespace zepta_ride {
namespace {

constexpr double kRate = 100.0;
constexpr double kFrame = 1.0 / kRate;
constexpr double kGravity = 9.80665;
constexpr double kPi = 3.141592653589793;
constexpr double kDegree = kPi / 180.0;

double TimeOf(int frame) { return (frame + 0.5) * kFrame; }

TEST(WashoutFilter, SustainedBrakingGivesBackwardOnsetThatWashesOut)
{
    const CueingProfile cueing = DefaultProfile().cueing;  // gain 0.5, 1 Hz, damping 1, return 0.2 Hz, 0.1 m
    WashoutFilter filter(cueing, kRate);
    MotionSample braking;
    braking.accelFwd = -kGravity;
    // x(s) = a / ((s + w)^2 (s + wb)) for a step a: the seat moves back and returns.
    const double w = 2 * kPi * 1.0, wb = 2 * kPi * 0.2, a = 0.5 * braking.accelFwd;
    const double c = 1 / ((w - wb) * (w - wb));
    double peak = 0;
    for (int frame = 0; frame < 1000; ++frame) {
        const double t = TimeOf(frame);
        const double metres = a * (c * std::exp(-wb * t) - c * std::exp(-w * t) + t * std::exp(-w * t) / (wb - w));
        const double surge = filter.Step(braking).surge;
        ASSERT_NEAR(surge, metres / 0.1, 1e-3) << "frame " << frame;
        peak = std::min(peak, surge);
    }
    EXPECT_NEAR(peak, -0.7425, 1e-3);
    // Washed out below a tenth of the peak within four seconds, five time constants of the return.
    WashoutFilter again(cueing, kRate);
    for (int frame = 0; frame < 400; ++frame) again.Step(braking);
    EXPECT_LT(std::fabs(again.Step(braking).surge), 0.1 * std::fabs(peak));
}

// Braking tilts the front down and a left-hand corner the right side down,
// each to the angle whose share of gravity is the acceleration, never faster
// than 3 deg/s, and holds it while the acceleration lasts.
TEST(WashoutFilter, TiltSettlesHoldsAndNeverExceedsItsRate)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample sample;
    sample.accelFwd = -1.5;
    sample.accelLeft = 1.0;
    const double pitchDegrees = std::asin(1.5 / kGravity) / kDegree;
    const double rollDegrees = std::asin(1.0 / kGravity) / kDegree;
    const double largestStep = 3.0 / kRate / 15.0;  // 3 deg/s, in units of the 15 deg full scale
    RigPose previous;
    double mostSway = 0;
    for (int frame = 0; frame < 1500; ++frame) {
        const RigPose pose = filter.Step(sample);
        ASSERT_LE(std::fabs(pose.pitch - previous.pitch), largestStep + 1e-12) << "frame " << frame;
        ASSERT_LE(std::fabs(pose.roll - previous.roll), largestStep + 1e-12) << "frame " << frame;
        ASSERT_GE(pose.sway, 0.0);
        mostSway = std::max(mostSway, pose.sway);
        previous = pose;
    }
    EXPECT_NEAR(mostSway, 0.7425 / kGravity, 1e-3);  // the onset of the braking case, scaled to 1 m/s^2
    EXPECT_NEAR(previous.pitch, pitchDegrees / 15.0, 1e-9);
    EXPECT_NEAR(previous.roll, rollDegrees / 15.0, 1e-9);
    EXPECT_NEAR(filter.Step(sample).pitch, pitchDegrees / 15.0, 1e-9);
}

TEST(WashoutFilter, TiltStopsAtItsLimit)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample hardBraking;
    hardBraking.accelFwd = -kGravity;
    RigPose pose;
    for (int frame = 0; frame < 1500; ++frame) pose = filter.Step(hardBraking);
    EXPECT_NEAR(pose.pitch, 10.0 / 15.0, 1e-12);
}

// theta(s) = g r / (s + w)^2 for a step rate r: g r t e^(-wt), its peak g r / (w e) at t = 1/w.
TEST(WashoutFilter, YawRateGivesOnsetThatReturns)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample turning;
    turning.yawRate = 0.5;
    const double w = 2 * kPi, scale = 15.0 * kDegree;
    double peak = 0;
    for (int frame = 0; frame < 500; ++frame) {
        const double t = TimeOf(frame);
        const double yaw = filter.Step(turning).yaw;
        ASSERT_NEAR(yaw, 0.5 * 0.5 * t * std::exp(-w * t) / scale, 2e-4) << "frame " << frame;
        peak = std::max(peak, yaw);
    }
    EXPECT_NEAR(peak, 0.25 / (w * std::exp(1.0)) / scale, 1e-4);
}

TEST(WashoutFilter, AttitudeIsOffByDefaultAndLowPassedWhenOn)
{
    CueingProfile cueing = DefaultProfile().cueing;
    MotionSample banked;
    banked.roll = 0.1;
    banked.pitch = -0.05;
    WashoutFilter off(cueing, kRate);
    cueing.attitude.enabled = true;
    WashoutFilter on(cueing, kRate);
    RigPose withAttitude, without;
    for (int frame = 0; frame < 1000; ++frame) {
        without = off.Step(banked);
        withAttitude = on.Step(banked);
    }
    EXPECT_EQ(without.roll, 0.0);
    EXPECT_NEAR(withAttitude.roll, 0.5 * 0.1 / (15.0 * kDegree), 1e-9);
    EXPECT_NEAR(withAttitude.pitch, 0.5 * -0.05 / (15.0 * kDegree), 1e-9);
}

// A value that is not finite counts as 0, one beyond 20 g or 20 rad/s as its
// bound; either is counted, and the pose stays within -1..1.
TEST(WashoutFilter, BadValuesAreUsedSafelyAndCounted)
{
    const CueingProfile cueing = DefaultProfile().cueing;
    WashoutFilter bad(cueing, kRate), zero(cueing, kRate), bound(cueing, kRate);
    MotionSample broken, bounded;
    broken.accelFwd = std::numeric_limits<double>::quiet_NaN();
    broken.yawRate = std::numeric_limits<double>::infinity();
    for (int frame = 0; frame < 50; ++frame) {
        const RigPose pose = bad.Step(broken);
        const RigPose rest = zero.Step(MotionSample{});
        ASSERT_EQ(pose.surge, rest.surge);
        ASSERT_EQ(pose.yaw, rest.yaw);
    }
    EXPECT_EQ(bad.BadInputs(), 50u);
    broken = MotionSample{};
    broken.accelLeft = 1e300;
    bounded.accelLeft = 20 * kGravity;
    for (int frame = 0; frame < 50; ++frame) {
        const RigPose pose = bad.Step(broken);
        ASSERT_EQ(pose.sway, bound.Step(bounded).sway);
        ASSERT_LE(std::fabs(pose.sway), 1.0);
    }
    EXPECT_EQ(bad.BadInputs(), 100u);
    EXPECT_EQ(zero.BadInputs(), 0u);
}

TEST(WashoutFilter, ResetReturnsToRest)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample moving;
    moving.accelFwd = 3.0;
    moving.rollRate = 0.4;
    for (int frame = 0; frame < 100; ++frame) filter.Step(moving);
    filter.Reset();
    const RigPose pose = filter.Step(MotionSample{});
    EXPECT_EQ(pose.surge, 0.0);
    EXPECT_EQ(pose.roll, 0.0);
    EXPECT_EQ(pose.pitch, 0.0);
}

}  // namespace
}  // namespace zepta_ride
