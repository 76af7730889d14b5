#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "motion/platform_geometry.h"
#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

constexpr auto kBase = StewartPlatform::Base;

std::vector<double> RestValues(const StewartPlatform& p)
{
    std::vector<double> rest;
    for (double home : p.homeLengths) rest.push_back((home - p.minLength) / (p.maxLength - p.minLength));
    return rest;
}

std::vector<double> OnLine(const std::vector<double>& rest, const std::vector<double>& input, double f)
{
    std::vector<double> out;
    for (std::size_t i = 0; i < 6; ++i) out.push_back(rest[i] + f * (input[i] - rest[i]));
    return out;
}

// A fraction passes when the solve converges and every joint stays within the
// limit; measured with the public solver and our own angles.
bool FractionPasses(const StewartPlatform& p, const std::vector<double>& input, double f)
{
    std::vector<double> lengths;
    for (double v : OnLine(RestValues(p), input, f)) lengths.push_back(p.minLength + v * (p.maxLength - p.minLength));
    const auto solved = p.ForwardKinematics(lengths, Pose{}, kBase, 40, 0.0001);
    return solved.converged && LargestJointAngle(p, solved.pose, kBase) <= p.maxJointAngle - p.jointAngleMargin;
}

// The large platform with a 10-degree limit: a 300 mm sway stays in the stroke
// but bends the joints about 15 degrees.
StewartPlatform StrictPlatform()
{
    StewartPlatform p = MakePlatformForKind(6);
    p.maxJointAngle = 12.0;
    return p;
}
const Pose kBendingSway{0, 300, 0, 0, 0, 0};

void ExpectPulledBackToTheLargestPassingFraction(const StewartPlatform& p, const std::vector<double>& input)
{
    const auto r = p.ApplyManualAngleLimit(input, Pose{}, kBase);
    EXPECT_TRUE(r.limited && r.angleLimited);
    EXPECT_GT(r.scale, 0.5);
    const auto expected = OnLine(RestValues(p), input, r.scale);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(r.values[i], expected[i], 1e-12);
        EXPECT_NEAR(r.lengths[i], p.minLength + expected[i] * (p.maxLength - p.minLength), 1e-9);
    }
    EXPECT_TRUE(FractionPasses(p, input, r.scale));
    EXPECT_FALSE(FractionPasses(p, input, r.scale + std::ldexp(1.0, -16)));
    EXPECT_LE(r.maxAngle, p.maxJointAngle - p.jointAngleMargin);
}

TEST(StewartPlatformManualLimit, ValuesWithinTheLimitComeBackUnchanged)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const Pose pose{20, 50, -10, 3, -2, 4};
    for (const auto& values : {RestValues(p), ValuesOf(p, pose)}) {
        const auto r = p.ApplyManualAngleLimit(values, Pose{}, kBase);
        EXPECT_EQ(r.values, values);
        EXPECT_EQ(r.scale, 1.0);
        EXPECT_FALSE(r.limited || r.angleLimited);
    }
    const auto r = p.ApplyManualAngleLimit(ValuesOf(p, pose), Pose{}, kBase);
    EXPECT_NEAR(r.pose[1], 50.0, 1e-3);
    EXPECT_NEAR(r.maxAngle, LargestJointAngle(p, pose, kBase), 1e-3);
}

TEST(StewartPlatformManualLimit, BentValuesArePulledBackToTheLargestPassingFraction)
{
    const StewartPlatform strict = StrictPlatform();
    const auto input = ValuesOf(strict, kBendingSway);
    ExpectPulledBackToTheLargestPassingFraction(strict, input);
    const auto r = strict.ApplyManualAngleLimit(input, Pose{}, kBase);
    EXPECT_NEAR(r.pose[1], 300.0 * r.scale, 5.0);
}

// Partly beyond the stroke: on the way back to rest some fractions have no
// pose at all, and a solve that does not converge must not pass.
TEST(StewartPlatformManualLimit, FractionsWithoutAConvergedPoseDoNotPass)
{
    ExpectPulledBackToTheLargestPassingFraction(MakePlatformForKind(6),
                                                {0.6492, 1.2660, 0.7889, -0.1604, 0.2576, 0.8528});
}

TEST(StewartPlatformManualLimit, SwitchedOffCheckReturnsValuesUnchanged)
{
    const auto input = ValuesOf(StrictPlatform(), kBendingSway);
    for (int which = 0; which < 2; ++which) {
        StewartPlatform p = StrictPlatform();
        (which == 0 ? p.angleCheckEnabled : p.limitsEnabled) = false;
        const auto r = p.ApplyManualAngleLimit(input, Pose{}, kBase);
        EXPECT_EQ(r.values, input);
        EXPECT_FALSE(r.limited);
    }
}

TEST(StewartPlatformManualLimit, NoBisectionStepsOrNonFiniteValuesGoToRest)
{
    StewartPlatform p = StrictPlatform();
    std::vector<double> nonFinite(6, 0.5);
    nonFinite[3] = std::numeric_limits<double>::quiet_NaN();
    const auto fromNaN = p.ApplyManualAngleLimit(nonFinite, Pose{}, kBase);
    p.bisectionSteps = 0;
    const auto unsearched = p.ApplyManualAngleLimit(ValuesOf(p, kBendingSway), Pose{}, kBase);
    for (const auto& r : {fromNaN, unsearched}) {
        EXPECT_EQ(r.values, RestValues(p));
        EXPECT_EQ(r.scale, 0.0);
        EXPECT_TRUE(r.limited);
    }
    EXPECT_THROW(p.ApplyManualAngleLimit(std::vector<double>(7, 0.5), Pose{}, kBase), std::invalid_argument);
}

}  // namespace
