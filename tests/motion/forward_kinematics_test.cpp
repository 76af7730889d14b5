#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "motion/platform_geometry.h"
#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

constexpr auto kBase = StewartPlatform::Base;

void ExpectPoseNear(const Pose& a, const Pose& b, double tolerance)
{
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
    EXPECT_NEAR(a.roll, b.roll, tolerance);
    EXPECT_NEAR(a.pitch, b.pitch, tolerance);
    EXPECT_NEAR(a.yaw, b.yaw, tolerance);
}

TEST(StewartPlatformForward, RecoversReachablePosesInBothCoordinateSystems)
{
    std::mt19937 rng(7);
    for (int kind : {5, 6}) {
        for (auto system : {kBase, StewartPlatform::Platform}) {
            StewartPlatform p = MakePlatformForKind(kind);
            p.pivotOffset = {15.0, -40.0, 120.0};
            for (int n = 0; n < 100; ++n) {
                const Pose pose = RandomPose(rng, 40, 8);
                const auto r = p.ForwardKinematics(LegLengths(p, pose, system), Pose{}, system, 50, 1e-10);
                ASSERT_TRUE(r.converged) << kind << " " << system << " " << n;
                EXPECT_GT(r.iterations, 0);
                ExpectPoseNear(r.pose, pose, 1e-6);
            }
        }
    }
}

TEST(StewartPlatformForward, HomeLengthsConvergeWithoutAStep)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const auto r = p.ForwardKinematics({p.homeLengths.begin(), p.homeLengths.end()}, Pose{}, kBase, 40, 1e-9);
    EXPECT_TRUE(r.converged);
    EXPECT_EQ(r.iterations, 0);
    EXPECT_EQ(r.residual, 0.0);
}

TEST(StewartPlatformForward, IterationLimitEndsTheSearchUnconverged)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const Pose guess{5, 6, 7, 1, 2, 3};
    const auto target = LegLengths(p, Pose{20, 0, 0, 0, 0, 0}, kBase);
    const auto atGuess = LegLengths(p, guess, kBase);
    double residual = 0;
    for (std::size_t i = 0; i < 6; ++i) residual += std::pow(atGuess[i] - target[i], 2);
    for (int limit : {0, -5}) {
        const auto r = p.ForwardKinematics(target, guess, kBase, limit, 1e-6);
        EXPECT_FALSE(r.converged);
        EXPECT_EQ(r.iterations, 0);
        ExpectPoseNear(r.pose, guess, 0.0);
        EXPECT_DOUBLE_EQ(r.residual, std::sqrt(residual));
    }
    // One step from nearby lands far below the tolerance, but the limit comes first.
    const auto near = p.ForwardKinematics(LegLengths(p, Pose{0.01, 0, 0, 0, 0, 0}, kBase), Pose{},
                                          kBase, 1, 1e-3);
    EXPECT_FALSE(near.converged);
    EXPECT_EQ(near.iterations, 1);
    EXPECT_LT(near.residual, 1e-3);
}

TEST(StewartPlatformForward, ZeroToleranceNeverConverges)
{
    const StewartPlatform p = MakePlatformForKind(5);
    const auto r = p.ForwardKinematics(LegLengths(p, Pose{10, -5, 3, 2, 1, -2}, kBase), Pose{}, kBase, 30, 0.0);
    EXPECT_FALSE(r.converged);
    EXPECT_GT(r.iterations, 0);
    EXPECT_LT(r.residual, 1e-6);
}

TEST(StewartPlatformForward, SingularJacobianStopsAtTheGuess)
{
    // All joints at the centre: rotations change no length.
    const std::vector<double> angles{0, 60, 120, 180, 240, 300};
    const StewartPlatform p(0, 0, 500, 400, 600, angles, angles);
    const Pose guess{1, 2, 3, 4, 5, 6};
    const auto r = p.ForwardKinematics(std::vector<double>(6, 520.0), guess, kBase, 40, 1e-6);
    EXPECT_FALSE(r.converged);
    EXPECT_EQ(r.iterations, 0);
    ExpectPoseNear(r.pose, guess, 0.0);
}

TEST(StewartPlatformForward, PivotsPastAZeroDiagonal)
{
    // The first leg lies in the y-z plane, so at the zero pose its length does
    // not change with x: the first Jacobian entry is exactly zero and only a
    // row exchange lets the elimination go on.
    const StewartPlatform p(2009.4, 1061.5, 821.6, 911.9, 1411.9, {90, 243, 357, 123, 237, 3},
                            {90, 294.5, 305.5, 174.5, 185.5, 54.5});
    const Pose pose{20, -10, 15, 2, -3, 4};
    const auto r = p.ForwardKinematics(LegLengths(p, pose, kBase), Pose{}, kBase, 40, 1e-9);
    EXPECT_TRUE(r.converged);
    ExpectPoseNear(r.pose, pose, 1e-6);
}

TEST(StewartPlatformForward, BadTargetsEndUnconvergedOrThrow)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto r = p.ForwardKinematics({nan, 1000, 1000, 1000, 1000, 1000}, Pose{}, kBase, 40, 1e-6);
    EXPECT_FALSE(r.converged);
    EXPECT_EQ(r.iterations, 0);
    EXPECT_THROW(p.ForwardKinematics(std::vector<double>(5, 1000.0), Pose{}, kBase, 40, 1e-6),
                 std::invalid_argument);
}

}  // namespace
