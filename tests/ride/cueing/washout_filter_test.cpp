// Step responses of the washout at its defaults against their closed forms.
// The bilinear transform treats the input as straight lines between samples,
// so a step that starts at frame 0 acts as if it had started half a frame early.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "zepta/ride/washout_filter.hpp"

namespace zepta_ride {
namespace {

constexpr double kRate = 100.0;
constexpr double kGravity = 9.80665;
constexpr double kPi = 3.141592653589793;
constexpr double kFullScale = 15.0 * kPi / 180.0;  // of roll, pitch and yaw

double TimeOf(int frame) { return (frame + 0.5) / kRate; }

// x(s) = 0.5 a / ((s + w)^2 (s + wb)): braking moves the seat back at first,
// then it returns, below a tenth of its peak within five return time constants.
TEST(WashoutFilter, SustainedBrakingGivesBackwardOnsetThatWashesOut)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample braking;
    braking.accelFwd = -kGravity;
    const double w = 2 * kPi, wb = 2 * kPi * 0.2, a = 0.5 * braking.accelFwd, c = 1 / ((w - wb) * (w - wb));
    double peak = 0, surge = 0;
    for (int frame = 0; frame < 400; ++frame) {
        const double t = TimeOf(frame);
        const double metres = a * (c * std::exp(-wb * t) - c * std::exp(-w * t) + t * std::exp(-w * t) / (wb - w));
        surge = filter.Step(braking).surge;
        ASSERT_NEAR(surge, metres / 0.1, 1e-3) << "frame " << frame;
        peak = std::min(peak, surge);
    }
    EXPECT_NEAR(peak, -0.7425, 1e-3);
    EXPECT_LT(std::fabs(surge), 0.1 * std::fabs(peak));
}

// Braking tilts the front down and a left-hand corner the right side down,
// each to the angle whose share of gravity is the acceleration, never faster
// than 3 deg/s, never beyond 10 deg, and holds it; the corner's onset sways left.
TEST(WashoutFilter, TiltSettlesHoldsAndNeverExceedsItsRate)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample sample;
    sample.accelFwd = -1.5;
    sample.accelLeft = 20.0;
    const double largestStep = 3.0 / kRate / 15.0;
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
    EXPECT_EQ(mostSway, 1.0);
    EXPECT_NEAR(previous.pitch, std::asin(1.5 / kGravity) / kFullScale, 1e-9);
    EXPECT_NEAR(previous.roll, 10.0 / 15.0, 1e-12);
    EXPECT_NEAR(filter.Step(sample).pitch, previous.pitch, 1e-12);
}

// theta(s) = 0.5 r / (s + w)^2 for a step rate r: 0.5 r t e^(-wt), at most 0.5 r / (w e).
TEST(WashoutFilter, YawRateGivesOnsetThatReturns)
{
    WashoutFilter filter(DefaultProfile().cueing, kRate);
    MotionSample turning;
    turning.yawRate = 0.5;
    const double w = 2 * kPi;
    double peak = 0;
    for (int frame = 0; frame < 500; ++frame) {
        const double t = TimeOf(frame);
        const double yaw = filter.Step(turning).yaw;
        ASSERT_NEAR(yaw, 0.25 * t * std::exp(-w * t) / kFullScale, 2e-4) << "frame " << frame;
        peak = std::max(peak, yaw);
    }
    EXPECT_NEAR(peak, 0.25 / (w * std::exp(1.0)) / kFullScale, 1e-4);
}

TEST(WashoutFilter, AttitudeIsOffByDefaultAndLowPassedWhenOn)
{
    CueingProfile cueing = DefaultProfile().cueing;
    MotionSample banked;
    banked.roll = 0.1;
    WashoutFilter off(cueing, kRate);
    cueing.attitude.enabled = true;
    WashoutFilter on(cueing, kRate);
    for (int frame = 0; frame < 999; ++frame) {
        off.Step(banked);
        on.Step(banked);
    }
    EXPECT_EQ(off.Step(banked).roll, 0.0);
    EXPECT_NEAR(on.Step(banked).roll, 0.5 * 0.1 / kFullScale, 1e-9);
}

// A value that is not finite counts as 0, one beyond 20 g as 20 g; either is
// counted. Reset brings everything back to rest.
TEST(WashoutFilter, BadValuesAreUsedSafelyAndCounted)
{
    const CueingProfile cueing = DefaultProfile().cueing;
    WashoutFilter bad(cueing, kRate), bound(cueing, kRate);
    MotionSample broken, bounded;
    broken.accelFwd = std::numeric_limits<double>::quiet_NaN();
    broken.yawRate = std::numeric_limits<double>::infinity();
    broken.accelLeft = 1e300;
    bounded.accelLeft = 20 * kGravity;
    for (int frame = 0; frame < 50; ++frame) {
        const RigPose pose = bad.Step(broken), expected = bound.Step(bounded);
        ASSERT_EQ(pose.surge, expected.surge);
        ASSERT_EQ(pose.yaw, expected.yaw);
        ASSERT_EQ(pose.sway, expected.sway);
    }
    EXPECT_EQ(bad.BadInputs(), 50u);
    EXPECT_EQ(bound.BadInputs(), 0u);
    bad.Reset();
    const RigPose rest = bad.Step(MotionSample{});
    EXPECT_EQ(rest.sway, 0.0);
    EXPECT_EQ(rest.roll, 0.0);
}

}  // namespace
}  // namespace zepta_ride
