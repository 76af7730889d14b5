// The forward solve, and the manual angle limit that is built on it.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>

#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;


std::vector<double> PoseVector(const Pose& p) { return {p.x, p.y, p.z, p.roll, p.pitch, p.yaw}; }

void ExpectPoseNear(const Pose& a, const Pose& b, double tolerance)
{
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(PoseVector(a)[i], PoseVector(b)[i], tolerance) << "component " << i;
}

// Random poses in both systems about a pivot; and a platform whose first leg
// lies in the y-z plane, so that at the zero pose its length does not change
// with x and only a row exchange lets the elimination go on.
TEST(StewartPlatformForward, RecoversThePoseOfItsLengths)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> mm(-40, 40), deg(-8, 8);
    for (int n = 0; n < 200; ++n) {
        StewartPlatform p = MakePlatformForKind(n % 2 ? ZEPTA_DEVICE_GRANDE_QX : ZEPTA_DEVICE_GRANDE_500QX);
        p.pivotOffset = {15.0, -40.0, 120.0};
        const auto system = n % 4 < 2 ? kBase : kPlatform;
        const Pose pose{mm(rng), mm(rng), mm(rng), deg(rng), deg(rng), deg(rng)};
        const auto r = p.ForwardKinematics(Measure(p, pose, system).lengths, Pose{}, system, 50, 1e-10);
        ASSERT_TRUE(r.converged && r.iterations > 0) << n;
        ExpectPoseNear(r.pose, pose, 1e-6);
    }
    const StewartPlatform pivoting(2009.4, 1061.5, 821.6, 911.9, 1411.9, {90, 243, 357, 123, 237, 3},
                                   {90, 294.5, 305.5, 174.5, 185.5, 54.5});
    const auto r = pivoting.ForwardKinematics(Measure(pivoting, {20, -10, 15, 2, -3, 4}).lengths, Pose{}, kBase, 40, 1e-9);
    EXPECT_TRUE(r.converged);
    ExpectPoseNear(r.pose, {20, -10, 15, 2, -3, 4}, 1e-6);
}

TEST(StewartPlatformForward, LimitsToleranceAndSingularitiesEndTheSearch)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const auto home = large.ForwardKinematics({large.homeLengths.begin(), large.homeLengths.end()}, Pose{}, kBase, 40, 1e-9);
    EXPECT_TRUE(home.converged && home.iterations == 0 && home.residual == 0.0);
    // No iteration allowed: the guess comes back with its residual.
    const Pose guess{5, 6, 7, 1, 2, 3};
    const auto target = Measure(large, {20, 0, 0, 0, 0, 0}).lengths, atGuess = Measure(large, guess).lengths;
    double sum = 0;
    for (std::size_t i = 0; i < 6; ++i) sum += (atGuess[i] - target[i]) * (atGuess[i] - target[i]);
    for (int limit : {0, -5}) {
        const auto r = large.ForwardKinematics(target, guess, kBase, limit, 1e-6);
        EXPECT_TRUE(!r.converged && r.iterations == 0 && PoseVector(r.pose) == PoseVector(guess));
        EXPECT_DOUBLE_EQ(r.residual, std::sqrt(sum));
    }
    // One step lands below the tolerance, but the limit comes first; a zero tolerance never converges.
    const auto one = large.ForwardKinematics(Measure(large, {0.01, 0, 0, 0, 0, 0}).lengths, Pose{}, kBase, 1, 1e-3);
    EXPECT_TRUE(!one.converged && one.iterations == 1 && one.residual < 1e-3);
    const auto zero = large.ForwardKinematics(Measure(large, {10, -5, 3, 2, 1, -2}).lengths, Pose{}, kBase, 30, 0.0);
    EXPECT_TRUE(!zero.converged && zero.iterations > 0 && zero.residual < 1e-6);
    // All joints at the centre: rotations change no length. A NaN target gives no step either.
    const std::vector<double> angles{0, 60, 120, 180, 240, 300};
    const auto singular = StewartPlatform(0, 0, 500, 400, 600, angles, angles)
                              .ForwardKinematics(std::vector<double>(6, 520.0), guess, kBase, 40, 1e-6);
    EXPECT_TRUE(!singular.converged && singular.iterations == 0 && PoseVector(singular.pose) == PoseVector(guess));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(large.ForwardKinematics({nan, 1000, 1000, 1000, 1000, 1000}, Pose{}, kBase, 40, 1e-6).iterations, 0);
    EXPECT_THROW(large.ForwardKinematics(std::vector<double>(5, 1000.0), Pose{}, kBase, 40, 1e-6), std::invalid_argument);
}

// Normalised values a fraction f of the way from rest to the input.
std::vector<double> OnLine(const StewartPlatform& p, const std::vector<double>& input, double f)
{
    std::vector<double> out;
    for (std::size_t i = 0; i < 6; ++i) {
        const double rest = (p.homeLengths[i] - p.minLength) / (p.maxLength - p.minLength);
        out.push_back(rest + f * (input[i] - rest));
    }
    return out;
}

std::vector<double> ValuesOf(const StewartPlatform& p, const Pose& pose)
{
    std::vector<double> values;
    for (double l : Measure(p, pose).lengths) values.push_back((l - p.minLength) / (p.maxLength - p.minLength));
    return values;
}

// A fraction passes when its solve converges and every joint stays within the limit.
bool FractionPasses(const StewartPlatform& p, const std::vector<double>& input, double f)
{
    std::vector<double> lengths;
    for (double v : OnLine(p, input, f)) lengths.push_back(p.minLength + v * (p.maxLength - p.minLength));
    const auto solved = p.ForwardKinematics(lengths, Pose{}, kBase, 40, 0.0001);
    return solved.converged && Measure(p, solved.pose).largestAngle <= p.maxJointAngle - p.jointAngleMargin;
}

TEST(StewartPlatformManualLimit, ValuesWithinTheLimitOrUncheckedComeBackUnchanged)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const Pose pose{20, 50, -10, 3, -2, 4};
    const auto values = ValuesOf(large, pose);
    const auto r = large.ApplyManualAngleLimit(values, Pose{}, kBase);
    EXPECT_TRUE(r.values == values && r.scale == 1.0 && !r.limited && !r.angleLimited && r.withinStroke);
    EXPECT_NEAR(r.pose[1], 50.0, 1e-3);
    EXPECT_NEAR(r.maxAngle, Measure(large, pose).largestAngle, 1e-3);
    StewartPlatform strict = large;
    strict.maxJointAngle = 12.0;
    const auto bent = ValuesOf(strict, {0, 300, 0, 0, 0, 0});
    for (bool StewartPlatform::*check : {&StewartPlatform::angleCheckEnabled, &StewartPlatform::limitsEnabled}) {
        StewartPlatform off = strict;
        off.*check = false;
        const auto unchecked = off.ApplyManualAngleLimit(bent, Pose{}, kBase);
        EXPECT_TRUE(unchecked.values == bent && !unchecked.limited);
    }
    EXPECT_THROW(large.ApplyManualAngleLimit(std::vector<double>(7, 0.5), Pose{}, kBase), std::invalid_argument);
}

// Bent values go back along the line to rest, to the largest passing fraction
// within 16 bisection steps: a 300 mm sway under a 10-degree limit, and values
// partly beyond the stroke whose fractions without a converged solve must not
// pass. Non-finite values, or no bisection steps, go to rest.
TEST(StewartPlatformManualLimit, BentValuesArePulledBackTowardsRest)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    StewartPlatform strict = large;
    strict.maxJointAngle = 12.0;
    const std::pair<StewartPlatform, std::vector<double>> cases[] = {
        {strict, ValuesOf(strict, {0, 300, 0, 0, 0, 0})}, {large, {0.6492, 1.2660, 0.7889, -0.1604, 0.2576, 0.8528}}};
    for (const auto& [p, input] : cases) {
        const auto r = p.ApplyManualAngleLimit(input, Pose{}, kBase);
        EXPECT_TRUE(r.limited && r.angleLimited && r.scale > 0.5 && r.maxAngle <= p.maxJointAngle - p.jointAngleMargin);
        const auto expected = OnLine(p, input, r.scale);
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_NEAR(r.values[i], expected[i], 1e-12);
            EXPECT_NEAR(r.lengths[i], p.minLength + expected[i] * (p.maxLength - p.minLength), 1e-9);
        }
        EXPECT_TRUE(FractionPasses(p, input, r.scale));
        EXPECT_FALSE(FractionPasses(p, input, r.scale + std::ldexp(1.0, -16)));
    }
    std::vector<double> nonFinite(6, 0.5);
    nonFinite[3] = std::numeric_limits<double>::quiet_NaN();
    const auto fromNaN = strict.ApplyManualAngleLimit(nonFinite, Pose{}, kBase);
    strict.bisectionSteps = 0;
    for (const auto& r : {fromNaN, strict.ApplyManualAngleLimit(cases[0].second, Pose{}, kBase)}) {
        EXPECT_EQ(r.values, OnLine(strict, std::vector<double>(6, 0.0), 0.0));
        EXPECT_TRUE(r.scale == 0.0 && r.limited && r.withinStroke && r.pose == std::vector<double>(6, 0.0));
    }
}

}  // namespace
