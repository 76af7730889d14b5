// The forward solve, and the manual angle limit that is built on it.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>

#include "motion/platform_geometry.h"
#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

constexpr auto kBase = StewartPlatform::Base;
constexpr ZEPTADeviceKind kLarge = ZEPTA_DEVICE_GRANDE_500QX;

void ExpectPoseNear(const Pose& a, const Pose& b, double tolerance)
{
    const double da[] = {a.x, a.y, a.z, a.roll, a.pitch, a.yaw}, db[] = {b.x, b.y, b.z, b.roll, b.pitch, b.yaw};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(da[i], db[i], tolerance) << "component " << i;
}

TEST(StewartPlatformForward, RecoversReachablePosesInBothSystemsAboutAPivot)
{
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> mm(-40, 40), deg(-8, 8);
    for (int kind : {ZEPTA_DEVICE_GRANDE_QX, kLarge}) {
        StewartPlatform p = MakePlatformForKind(kind);
        p.pivotOffset = {15.0, -40.0, 120.0};
        for (int n = 0; n < 100; ++n) {
            const auto system = n % 2 ? kBase : StewartPlatform::Platform;
            const Pose pose{mm(rng), mm(rng), mm(rng), deg(rng), deg(rng), deg(rng)};
            const auto r = p.ForwardKinematics(LegLengths(p, pose, system), Pose{}, system, 50, 1e-10);
            ASSERT_TRUE(r.converged && r.iterations > 0) << kind << " " << n;
            ExpectPoseNear(r.pose, pose, 1e-6);
        }
    }
    // The first leg lies in the y-z plane, so its length does not change with x
    // at the zero pose: only a row exchange lets the elimination go on.
    const StewartPlatform pivoting(2009.4, 1061.5, 821.6, 911.9, 1411.9, {90, 243, 357, 123, 237, 3},
                                   {90, 294.5, 305.5, 174.5, 185.5, 54.5});
    const Pose pose{20, -10, 15, 2, -3, 4};
    const auto r = pivoting.ForwardKinematics(LegLengths(pivoting, pose), Pose{}, kBase, 40, 1e-9);
    EXPECT_TRUE(r.converged);
    ExpectPoseNear(r.pose, pose, 1e-6);
}

TEST(StewartPlatformForward, LimitsToleranceAndSingularitiesEndTheSearch)
{
    const StewartPlatform p = MakePlatformForKind(kLarge);
    const auto home = p.ForwardKinematics({p.homeLengths.begin(), p.homeLengths.end()}, Pose{}, kBase, 40, 1e-9);
    EXPECT_TRUE(home.converged && home.iterations == 0 && home.residual == 0.0);
    // No iteration allowed: the guess comes back with its residual.
    const Pose guess{5, 6, 7, 1, 2, 3};
    const auto target = LegLengths(p, Pose{20, 0, 0, 0, 0, 0});
    const auto atGuess = LegLengths(p, guess);
    double sum = 0;
    for (std::size_t i = 0; i < 6; ++i) sum += (atGuess[i] - target[i]) * (atGuess[i] - target[i]);
    for (int limit : {0, -5}) {
        const auto r = p.ForwardKinematics(target, guess, kBase, limit, 1e-6);
        EXPECT_TRUE(!r.converged && r.iterations == 0);
        ExpectPoseNear(r.pose, guess, 0.0);
        EXPECT_DOUBLE_EQ(r.residual, std::sqrt(sum));
    }
    // One step lands below the tolerance, but the limit comes first; a zero tolerance never converges.
    const auto one = p.ForwardKinematics(LegLengths(p, Pose{0.01, 0, 0, 0, 0, 0}), Pose{}, kBase, 1, 1e-3);
    EXPECT_TRUE(!one.converged && one.iterations == 1 && one.residual < 1e-3);
    const auto exact = p.ForwardKinematics(LegLengths(p, Pose{10, -5, 3, 2, 1, -2}), Pose{}, kBase, 30, 0.0);
    EXPECT_TRUE(!exact.converged && exact.iterations > 0 && exact.residual < 1e-6);
    // All joints at the centre: rotations change no length. A NaN target gives no step either.
    const std::vector<double> angles{0, 60, 120, 180, 240, 300};
    const auto singular = StewartPlatform(0, 0, 500, 400, 600, angles, angles)
                              .ForwardKinematics(std::vector<double>(6, 520.0), guess, kBase, 40, 1e-6);
    EXPECT_TRUE(!singular.converged && singular.iterations == 0);
    ExpectPoseNear(singular.pose, guess, 0.0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto bad = p.ForwardKinematics({nan, 1000, 1000, 1000, 1000, 1000}, Pose{}, kBase, 40, 1e-6);
    EXPECT_TRUE(!bad.converged && bad.iterations == 0);
    EXPECT_THROW(p.ForwardKinematics(std::vector<double>(5, 1000.0), Pose{}, kBase, 40, 1e-6), std::invalid_argument);
}

std::vector<double> RestValues(const StewartPlatform& p)
{
    std::vector<double> rest;
    for (double home : p.homeLengths) rest.push_back((home - p.minLength) / (p.maxLength - p.minLength));
    return rest;
}

std::vector<double> ValuesOf(const StewartPlatform& p, const Pose& pose)
{
    std::vector<double> values;
    for (double l : LegLengths(p, pose)) values.push_back((l - p.minLength) / (p.maxLength - p.minLength));
    return values;
}

std::vector<double> OnLine(const std::vector<double>& rest, const std::vector<double>& input, double f)
{
    std::vector<double> out;
    for (std::size_t i = 0; i < 6; ++i) out.push_back(rest[i] + f * (input[i] - rest[i]));
    return out;
}

// A fraction of the way from rest passes when its solve converges and every
// joint stays within the limit.
bool FractionPasses(const StewartPlatform& p, const std::vector<double>& input, double f)
{
    std::vector<double> lengths;
    for (double v : OnLine(RestValues(p), input, f)) lengths.push_back(p.minLength + v * (p.maxLength - p.minLength));
    const auto solved = p.ForwardKinematics(lengths, Pose{}, kBase, 40, 0.0001);
    return solved.converged && LargestJointAngle(p, solved.pose) <= AngleLimit(p);
}

// The large platform with a 10-degree limit: a 300 mm sway stays in the stroke
// but bends the joints about 15 degrees.
StewartPlatform StrictPlatform()
{
    StewartPlatform p = MakePlatformForKind(kLarge);
    p.maxJointAngle = 12.0;
    return p;
}

TEST(StewartPlatformManualLimit, ValuesWithinTheLimitOrWithTheCheckOffComeBackUnchanged)
{
    const StewartPlatform p = MakePlatformForKind(kLarge);
    const auto values = ValuesOf(p, Pose{20, 50, -10, 3, -2, 4});
    const auto r = p.ApplyManualAngleLimit(values, Pose{}, kBase);
    EXPECT_TRUE(r.values == values && r.scale == 1.0 && !r.limited && !r.angleLimited && r.withinStroke);
    EXPECT_NEAR(r.pose[1], 50.0, 1e-3);
    EXPECT_NEAR(r.maxAngle, LargestJointAngle(p, Pose{20, 50, -10, 3, -2, 4}), 1e-3);
    const auto bent = ValuesOf(StrictPlatform(), Pose{0, 300, 0, 0, 0, 0});
    for (int which = 0; which < 2; ++which) {
        StewartPlatform off = StrictPlatform();
        (which == 0 ? off.angleCheckEnabled : off.limitsEnabled) = false;
        const auto unchecked = off.ApplyManualAngleLimit(bent, Pose{}, kBase);
        EXPECT_TRUE(unchecked.values == bent && !unchecked.limited);
    }
    EXPECT_THROW(p.ApplyManualAngleLimit(std::vector<double>(7, 0.5), Pose{}, kBase), std::invalid_argument);
}

// Bent values are pulled back along the line to rest to the largest passing
// fraction; partly beyond the stroke, fractions without a converged solve fail.
TEST(StewartPlatformManualLimit, BentValuesArePulledBackToTheLargestPassingFraction)
{
    const StewartPlatform strict = StrictPlatform();
    const std::pair<StewartPlatform, std::vector<double>> cases[] = {
        {strict, ValuesOf(strict, Pose{0, 300, 0, 0, 0, 0})},
        {MakePlatformForKind(kLarge), {0.6492, 1.2660, 0.7889, -0.1604, 0.2576, 0.8528}}};
    for (const auto& [p, input] : cases) {
        const auto r = p.ApplyManualAngleLimit(input, Pose{}, kBase);
        EXPECT_TRUE(r.limited && r.angleLimited && r.scale > 0.5);
        const auto expected = OnLine(RestValues(p), input, r.scale);
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_NEAR(r.values[i], expected[i], 1e-12);
            EXPECT_NEAR(r.lengths[i], p.minLength + expected[i] * (p.maxLength - p.minLength), 1e-9);
        }
        EXPECT_TRUE(FractionPasses(p, input, r.scale));
        EXPECT_FALSE(FractionPasses(p, input, r.scale + std::ldexp(1.0, -16)));
        EXPECT_LE(r.maxAngle, AngleLimit(p));
    }
}

TEST(StewartPlatformManualLimit, NonFiniteValuesOrNoBisectionStepsGoToRest)
{
    StewartPlatform p = StrictPlatform();
    std::vector<double> nonFinite(6, 0.5);
    nonFinite[3] = std::numeric_limits<double>::quiet_NaN();
    const auto fromNaN = p.ApplyManualAngleLimit(nonFinite, Pose{}, kBase);
    p.bisectionSteps = 0;
    const auto unsearched = p.ApplyManualAngleLimit(ValuesOf(p, Pose{0, 300, 0, 0, 0, 0}), Pose{}, kBase);
    for (const auto& r : {fromNaN, unsearched}) {
        EXPECT_EQ(r.values, RestValues(p));
        EXPECT_TRUE(r.scale == 0.0 && r.limited && r.withinStroke);
        EXPECT_EQ(r.pose, std::vector<double>(6, 0.0));
    }
}

}  // namespace
