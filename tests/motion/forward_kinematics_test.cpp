// The forward solve, and the manual angle limit that is built on it.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>

#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

std::vector<double> AsVector(const Pose& p) { return {p.x, p.y, p.z, p.roll, p.pitch, p.yaw}; }

// Random poses in both systems, about a pivot.
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
        for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(AsVector(r.pose)[i], AsVector(pose)[i], 1e-6) << n;
    }
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
        EXPECT_TRUE(!r.converged && r.iterations == 0 && AsVector(r.pose) == AsVector(guess));
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
    EXPECT_TRUE(!singular.converged && singular.iterations == 0 && AsVector(singular.pose) == AsVector(guess));
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
        out.push_back(f == 0.0 ? rest : rest + f * (input[i] - rest));
    }
    return out;
}

// Values within the limit, or with a check off, come back unchanged. Bent
// values go back along the line to rest as far as the 16-step bisection finds
// a converged pose within the limit: a 300 mm sway under a 10-degree limit, and
// values partly beyond the stroke. Non-finite values, or no steps, go to rest.
TEST(StewartPlatformManualLimit, BentValuesArePulledBackTowardsRest)
{
    const StewartPlatform large = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    StewartPlatform strict = large, raw = large;
    strict.maxJointAngle = 12.0;
    raw.limitsEnabled = raw.softLimitEnabled = false;
    const auto fine = raw.GetActuatorLengthsSafe({20, 50, -10, 3, -2, 4}, kBase).values;
    const auto sway = raw.GetActuatorLengthsSafe({0, 300, 0, 0, 0, 0}, kBase).values;
    const auto within = large.ApplyManualAngleLimit(fine, Pose{}, kBase);
    EXPECT_TRUE(within.values == fine && within.scale == 1.0 && !within.limited && !within.angleLimited && within.withinStroke);
    EXPECT_NEAR(within.pose[1], 50.0, 1e-3);
    EXPECT_NEAR(within.maxAngle, Measure(large, {20, 50, -10, 3, -2, 4}).largestAngle, 1e-3);
    for (bool StewartPlatform::*check : {&StewartPlatform::angleCheckEnabled, &StewartPlatform::limitsEnabled}) {
        StewartPlatform off = strict;
        off.*check = false;
        EXPECT_EQ(off.ApplyManualAngleLimit(sway, Pose{}, kBase).values, sway);
    }
    const std::tuple<StewartPlatform, std::vector<double>, double> cases[] = {
        {strict, sway, 43889.0 / 65536}, {large, {0.6492, 1.2660, 0.7889, -0.1604, 0.2576, 0.8528}, 51320.0 / 65536}};
    for (const auto& [p, input, scale] : cases) {
        const auto r = p.ApplyManualAngleLimit(input, Pose{}, kBase);
        EXPECT_TRUE(r.limited && r.angleLimited && r.scale == scale && r.maxAngle <= p.maxJointAngle - p.jointAngleMargin);
        EXPECT_EQ(r.values, OnLine(p, input, scale));
        for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(r.lengths[i], p.minLength + r.values[i] * (p.maxLength - p.minLength), 1e-9);
    }
    std::vector<double> nonFinite(6, 0.5);
    nonFinite[3] = std::numeric_limits<double>::quiet_NaN();
    const auto fromNaN = strict.ApplyManualAngleLimit(nonFinite, Pose{}, kBase);
    strict.bisectionSteps = 0;
    for (const auto& r : {fromNaN, strict.ApplyManualAngleLimit(sway, Pose{}, kBase)}) {
        EXPECT_EQ(r.values, OnLine(strict, nonFinite, 0.0));
        EXPECT_TRUE(r.scale == 0.0 && r.limited && r.withinStroke && r.pose == std::vector<double>(6, 0.0));
    }
    EXPECT_THROW(large.ApplyManualAngleLimit(std::vector<double>(7, 0.5), Pose{}, kBase), std::invalid_argument);
}

}  // namespace
