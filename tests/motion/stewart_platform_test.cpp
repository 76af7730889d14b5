#include "motion/stewart_platform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "motion/platform_geometry.h"
#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

constexpr double kPi = 3.141592653589793;
constexpr auto kBase = StewartPlatform::Base;
constexpr auto kPlatform = StewartPlatform::Platform;

std::string ConstructionError(std::vector<double> base, std::vector<double> top)
{
    try {
        StewartPlatform(1000, 500, 400, 300, 500, base, top);
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
    return "no exception";
}

double Radians(double degrees) { return degrees * kPi / 180.0; }

// On these platforms every leg spans 51.5 degrees between its joints, so a
// pure heave moves all legs alike: the heave that gives every leg this length.
double HeaveForLength(const StewartPlatform& p, double length)
{
    const double horizontal2 = p.homeLengths[0] * p.homeLengths[0] - p.homeHeight * p.homeHeight;
    return std::sqrt(length * length - horizontal2) - p.homeHeight;
}

double SoftUpper(const StewartPlatform& p, double l)
{
    const double m = p.softMargin;
    return (p.maxLength - m) + m * (1.0 - std::exp(-(l - (p.maxLength - m)) / m));
}

double SoftLower(const StewartPlatform& p, double l)
{
    const double m = p.softMargin;
    return (p.minLength + m) - m * (1.0 - std::exp(-((p.minLength + m) - l) / m));
}

std::vector<double> AsVector(const Pose& p) { return {p.x, p.y, p.z, p.roll, p.pitch, p.yaw}; }

TEST(StewartPlatformConstruction, RejectsWrongAngleCountsBaseFirst)
{
    const std::vector<double> six{117, 243, 357, 123, 237, 3};
    EXPECT_EQ(ConstructionError({1, 2, 3, 4, 5}, {1, 2, 3, 4, 5}), "base_angles must have 6 elements");
    EXPECT_EQ(ConstructionError(six, {1, 2, 3, 4, 5, 6, 7}), "top_angles must have 6 elements");
}

TEST(StewartPlatformConstruction, HomeLegsFollowTheGeometry)
{
    const StewartPlatform p = MakePlatformForKind(6);
    EXPECT_NEAR(p.baseAnchors[0][1], std::sin(Radians(117)) * 2009.4 / 2, 1e-12);
    EXPECT_NEAR(p.platformAnchors[5][0], std::cos(Radians(54.5)) * 1061.5 / 2, 1e-12);
    const double rb = 2009.4 / 2, rp = 1061.5 / 2, h = 821.6;
    const double home = std::sqrt(rb * rb + rp * rp - 2 * rb * rp * std::cos(Radians(51.5)) + h * h);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(p.homeLengths[i], home, 1e-9) << i;
        EXPECT_NEAR(p.homeDirections[i][2], h / home, 1e-12) << i;
    }
    EXPECT_EQ(MakePlatformForKind(5).maxJointAngle, 25.0);
}

TEST(StewartPlatformTransform, RotationIsYawPitchRollAndBaseTranslationIsDirect)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const auto t = p.buildTransform({12, -7, 30, 10, -20, 30}, kBase);
    const double r = Radians(10), q = Radians(-20), y = Radians(30);
    const double rx[3][3] = {{1, 0, 0}, {0, cos(r), -sin(r)}, {0, sin(r), cos(r)}};
    const double ry[3][3] = {{cos(q), 0, sin(q)}, {0, 1, 0}, {-sin(q), 0, cos(q)}};
    const double rz[3][3] = {{cos(y), -sin(y), 0}, {sin(y), cos(y), 0}, {0, 0, 1}};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            double expected = 0;
            for (int k = 0; k < 3; ++k) {
                for (int l = 0; l < 3; ++l) expected += rz[i][k] * ry[k][l] * rx[l][j];
            }
            EXPECT_NEAR(t[i][j], expected, 1e-15) << i << "," << j;
        }
    }
    EXPECT_EQ(t[0][3], 12.0);
    EXPECT_EQ(t[1][3], -7.0);
    EXPECT_EQ(t[2][3], 30.0 + 821.6);
    EXPECT_EQ(t[3], (std::array<double, 4>{0, 0, 0, 1}));
}

TEST(StewartPlatformTransform, PlatformTranslationTurnsWithThePlatformAboutThePivot)
{
    StewartPlatform p = MakePlatformForKind(5);
    auto t = p.buildTransform({10, 0, 0, 0, 0, 90}, kPlatform);
    EXPECT_NEAR(t[0][3], 0.0, 1e-12);
    EXPECT_NEAR(t[1][3], 10.0, 1e-12);
    // Rolling 90 degrees about a pivot 100 mm up swings the origin sideways and down.
    p.pivotOffset = {0, 0, 100};
    t = p.buildTransform({0, 0, 0, 90, 0, 0}, kPlatform);
    EXPECT_NEAR(t[1][3], -100.0, 1e-12);
    EXPECT_NEAR(t[2][3], 480.8 - 100.0, 1e-12);
    t = p.buildTransform({0, 0, 0, 90, 0, 0}, kBase);
    EXPECT_EQ(t[1][3], 0.0);
    EXPECT_EQ(t[2][3], 480.8);
}

TEST(StewartPlatformSafeLengths, PosesWithinReachAreUsedWhole)
{
    const StewartPlatform p = MakePlatformForKind(6);
    for (const Pose& pose : {Pose{}, Pose{40, -30, 20, 3, -4, 5}}) {
        const auto r = p.GetActuatorLengthsSafe(pose, kBase);
        const auto expected = LegLengths(p, pose, kBase);
        EXPECT_EQ(r.scale, 1.0);
        EXPECT_FALSE(r.limited || r.angleLimited);
        EXPECT_TRUE(r.withinStroke);
        EXPECT_EQ(r.pose, AsVector(pose));
        ASSERT_EQ(r.values.size(), 6u);
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_NEAR(r.lengths[i], expected[i], 1e-9);
            EXPECT_NEAR(r.values[i], (expected[i] - 911.9) / 500.0, 1e-12);
        }
    }
    const auto home = p.GetActuatorLengthsSafe({}, kBase);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(home.lengths[i], p.homeLengths[i]);
}

TEST(StewartPlatformSafeLengths, UnreachablePoseScalesToTheBisectionBound)
{
    const StewartPlatform p = MakePlatformForKind(6);
    for (const Pose& request : {Pose{0, 0, 5000, 0, 0, 0}, Pose{0, 0, -5000, 0, 0, 0},
                                Pose{4000, -2500, 1500, 40, -30, 90}}) {
        const auto r = p.GetActuatorLengthsSafe(request, kBase);
        // Independent bound: the first fraction on a fine grid that fails.
        const double grid = std::ldexp(1.0, -20);
        double firstFailing = 1.0;
        for (double f = 0; f <= 1.0; f += grid) {
            if (!Acceptable(p, Scaled(request, f), kBase)) {
                firstFailing = f;
                break;
            }
        }
        EXPECT_TRUE(r.limited);
        EXPECT_LE(r.scale, firstFailing);
        EXPECT_LE(firstFailing - r.scale, std::ldexp(1.0, -16));
        EXPECT_EQ(r.pose, AsVector(Scaled(request, r.scale)));
    }
}

TEST(StewartPlatformSafeLengths, SoftLimitCompressesOnlyNearTheStrokeEnds)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const double top = p.maxLength, bottom = p.minLength, m = p.softMargin;
    struct {
        double raw, expected;
        bool limited;
    } const cases[] = {
        {top - 1.0, SoftUpper(p, top - 1.0), true},
        {bottom + 1.0, SoftLower(p, bottom + 1.0), true},
        {top - m - 0.5, top - m - 0.5, false},
        // Just inside the soft zone the change stays below the reporting threshold.
        {top - m + 1e-4, SoftUpper(p, top - m + 1e-4), false},
    };
    for (const auto& c : cases) {
        const auto r = p.GetActuatorLengthsSafe({0, 0, HeaveForLength(p, c.raw), 0, 0, 0}, kBase);
        EXPECT_EQ(r.limited, c.limited) << c.raw;
        for (double length : r.lengths) EXPECT_NEAR(length, c.expected, 1e-9) << c.raw;
    }
    EXPECT_LT(SoftUpper(p, top - 1.0), top - 1.0);
    EXPECT_GT(SoftLower(p, bottom + 1.0), bottom + 1.0);
}

TEST(StewartPlatformSafeLengths, MarginThatDoesNotFitTheStrokeOnlyClamps)
{
    StewartPlatform p = MakePlatformForKind(5);
    p.rangeCheckEnabled = false;
    const Pose high{0, 0, 400, 0, 0, 0};
    for (double margin : {0.0, -3.0, 100.5}) {
        p.softMargin = margin;
        const auto r = p.GetActuatorLengthsSafe(high, kBase);
        EXPECT_EQ(r.lengths[2], p.maxLength) << margin;
        EXPECT_EQ(r.values[2], 1.0) << margin;
        EXPECT_TRUE(r.limited && r.withinStroke) << margin;
    }
    p.softMargin = 100.0;  // exactly half the stroke still compresses
    EXPECT_NEAR(p.GetActuatorLengthsSafe(high, kBase).lengths[0],
                SoftUpper(p, LegLengths(p, high, kBase)[0]), 1e-9);
}

TEST(StewartPlatformSafeLengths, JointAngleCheckScalesPosesThatBendTooFar)
{
    StewartPlatform p = MakePlatformForKind(6);
    p.maxJointAngle = 12.0;  // limit 10 degrees, below what the stroke allows
    const Pose sway{0, 300, 0, 0, 0, 0};
    ASSERT_GT(LargestJointAngle(p, sway, kBase), 10.0);
    const auto r = p.GetActuatorLengthsSafe(sway, kBase);
    EXPECT_TRUE(r.angleLimited && r.limited);
    EXPECT_GT(r.scale, 0.5);
    EXPECT_LE(LargestJointAngle(p, Scaled(sway, r.scale), kBase), 10.0);
    EXPECT_GT(LargestJointAngle(p, Scaled(sway, r.scale + std::ldexp(1.0, -16)), kBase), 10.0);

    p.angleCheckEnabled = false;
    const auto unchecked = p.GetActuatorLengthsSafe(sway, kBase);
    EXPECT_FALSE(unchecked.angleLimited);
    EXPECT_EQ(unchecked.scale, 1.0);
}

TEST(StewartPlatformSafeLengths, SwitchedOffChecksKeepTheRequestButNotTheSoftLimit)
{
    const Pose far{0, 0, 150, 0, 0, 0};  // about 13 mm beyond the stroke
    StewartPlatform p = MakePlatformForKind(5);
    p.rangeCheckEnabled = false;
    auto r = p.GetActuatorLengthsSafe(far, kBase);
    EXPECT_EQ(r.scale, 1.0);
    EXPECT_EQ(r.pose[2], 150.0);
    EXPECT_TRUE(r.withinStroke);
    EXPECT_LT(r.lengths[0], p.maxLength);

    p.limitsEnabled = false;
    p.softLimitEnabled = false;
    r = p.GetActuatorLengthsSafe(far, kBase);
    EXPECT_FALSE(r.withinStroke || r.limited);
    EXPECT_NEAR(r.lengths[0], LegLengths(p, far, kBase)[0], 1e-9);
    EXPECT_EQ(r.values[0], 1.0);
}

TEST(StewartPlatformSafeLengths, NonFinitePoseRestsAtTheZeroPose)
{
    const StewartPlatform p = MakePlatformForKind(6);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const Pose& pose : {Pose{nan, 0, 0, 0, 0, 0}, Pose{0, -inf, 0, 0, 0, inf}}) {
        const auto r = p.GetActuatorLengthsSafe(pose, kPlatform);
        EXPECT_EQ(r.scale, 0.0);
        EXPECT_TRUE(r.limited);
        EXPECT_EQ(r.pose, AsVector(Pose{}));
        for (std::size_t i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(r.lengths[i], p.homeLengths[i]);
    }
}

// Whatever is asked for, the lengths stay in the stroke and, unless the request
// had to be scaled to nothing, the pose used keeps every joint within its limit.
TEST(StewartPlatformSafeLengths, AnyRequestStaysWithinStrokeAndJointLimit)
{
    std::mt19937 rng(20240611);
    std::uniform_real_distribution<double> pivot(-300, 300);
    for (int kind : {5, 6}) {
        for (auto system : {kBase, kPlatform}) {
            StewartPlatform p = MakePlatformForKind(kind);
            for (int n = 0; n < 1500; ++n) {
                p.pivotOffset = {pivot(rng), pivot(rng), pivot(rng)};
                const Pose request = RandomPose(rng, 5000, 180);
                const auto r = p.GetActuatorLengthsSafe(request, system);
                ASSERT_TRUE(r.withinStroke) << kind << " " << n;
                for (std::size_t i = 0; i < 6; ++i) {
                    ASSERT_TRUE(r.lengths[i] >= p.minLength && r.lengths[i] <= p.maxLength);
                    ASSERT_TRUE(r.values[i] >= 0.0 && r.values[i] <= 1.0);
                }
                if (r.scale > 0.0) {
                    ASSERT_LE(LargestJointAngle(p, Scaled(request, r.scale), system),
                              p.maxJointAngle - p.jointAngleMargin)
                        << kind << " " << n;
                }
            }
        }
    }
}

}  // namespace
