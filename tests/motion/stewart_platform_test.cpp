#include "motion/stewart_platform.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include "motion/platform_geometry.h"
#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

constexpr auto kBase = StewartPlatform::Base;
constexpr auto kPlatform = StewartPlatform::Platform;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

double Radians(double degrees) { return degrees * 3.141592653589793 / 180.0; }

TEST(StewartPlatformGeometry, AnglesAndHomeLegs)
{
    const std::vector<double> five(5, 1.0), six(6, 1.0), seven(7, 1.0);
    const auto error = [](const std::vector<double>& base, const std::vector<double>& top) -> std::string {
        try {
            StewartPlatform(1000, 500, 400, 300, 500, base, top);
        } catch (const std::invalid_argument& e) {
            return e.what();
        }
        return "no exception";
    };
    EXPECT_EQ(error(five, five), "base_angles must have 6 elements");
    EXPECT_EQ(error(six, seven), "top_angles must have 6 elements");
    // Every leg of the large platform spans 51.5 degrees between its joints.
    const StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    EXPECT_NEAR(p.baseAnchors[0][1], std::sin(Radians(117)) * 2009.4 / 2, 1e-12);
    EXPECT_NEAR(p.platformAnchors[5][0], std::cos(Radians(54.5)) * 1061.5 / 2, 1e-12);
    const double rb = 2009.4 / 2, rp = 1061.5 / 2, h = 821.6;
    const double home = std::sqrt(rb * rb + rp * rp - 2 * rb * rp * std::cos(Radians(51.5)) + h * h);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(p.homeLengths[i], home, 1e-9) << i;
        EXPECT_NEAR(p.homeDirections[i][2], h / home, 1e-12) << i;
    }
}

TEST(StewartPlatformTransform, RotationIsYawPitchRollAndTranslationDependsOnTheSystem)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_QX);
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
    EXPECT_EQ((std::array<double, 4>{t[0][3], t[1][3], t[2][3], t[3][3]}), (std::array<double, 4>{12, -7, 510.8, 1}));
    // In platform coordinates the translation turns with the platform: yaw 90 makes x into y.
    const auto yawed = p.buildTransform({10, 0, 0, 0, 0, 90}, kPlatform);
    EXPECT_NEAR(yawed[0][3], 0.0, 1e-12);
    EXPECT_NEAR(yawed[1][3], 10.0, 1e-12);
}

// Rolling 90 degrees about a pivot at (20, -30, 100) turns the pivot to
// (20, -100, -30); the origin moves by the difference, (0, -70, -130). Each
// pivot component counts, and nothing beyond the translation changes.
TEST(StewartPlatformTransform, PlatformTurnsAboutEveryComponentOfThePivot)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_QX);
    p.pivotOffset = {20, -30, 100};
    const StewartPlatform before = p;
    const Pose roll{0, 0, 0, 90, 0, 0};
    const auto t = p.buildTransform(roll, kPlatform);
    EXPECT_NEAR(t[0][3], 0.0, 1e-12);
    EXPECT_NEAR(t[1][3], -70.0, 1e-12);
    EXPECT_NEAR(t[2][3], 480.8 - 130.0, 1e-12);
    EXPECT_EQ(t[3], (std::array<double, 4>{0, 0, 0, 1}));
    const auto noPivot = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_QX).buildTransform(roll, kPlatform);
    for (std::size_t r = 0; r < 4; ++r) {
        for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(t[r][c], noPivot[r][c]) << r << "," << c;
    }
    EXPECT_EQ(p.pivotOffset, before.pivotOffset);
    EXPECT_EQ(p.homeLengths, before.homeLengths);
    EXPECT_EQ(p.buildTransform(roll, kBase)[2][3], 480.8);
}

TEST(StewartPlatformSafeLengths, ReachablePosesAreUsedWholeAndNonFiniteOnesRest)
{
    const StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const Pose pose{40, -30, 20, 3, -4, 5};
    const auto r = p.GetActuatorLengthsSafe(pose, kBase);
    const auto expected = LegLengths(p, pose);
    EXPECT_TRUE(r.scale == 1.0 && !r.limited && !r.angleLimited && r.withinStroke);
    EXPECT_EQ(r.pose, (std::vector<double>{40, -30, 20, 3, -4, 5}));
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(r.lengths[i], expected[i], 1e-9);
        EXPECT_NEAR(r.values[i], (expected[i] - 911.9) / 500.0, 1e-12);
    }
    for (const Pose& bad : {Pose{kNaN, 0, 0, 0, 0, 0}, Pose{0, -kInf, 0, 0, 0, kInf}}) {
        const auto rest = p.GetActuatorLengthsSafe(bad, kPlatform);
        EXPECT_TRUE(rest.scale == 0.0 && rest.limited);
        EXPECT_EQ(rest.pose, std::vector<double>(6, 0.0));
        for (std::size_t i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(rest.lengths[i], p.homeLengths[i]);
    }
}

// The largest acceptable fraction to 16 bisection steps: within the stroke
// and the joint limit at the scale, not one step further.
void ExpectScaledToTheBound(const StewartPlatform& p, const Pose& request)
{
    const auto acceptable = [&p](const Pose& pose) {
        const auto lengths = LegLengths(p, pose);
        return std::all_of(lengths.begin(), lengths.end(), [&p](double l) { return l >= p.minLength && l <= p.maxLength; }) &&
               LargestJointAngle(p, pose) <= AngleLimit(p);
    };
    const auto r = p.GetActuatorLengthsSafe(request, kBase);
    EXPECT_TRUE(r.limited);
    EXPECT_TRUE(acceptable(Scaled(request, r.scale)));
    EXPECT_FALSE(acceptable(Scaled(request, r.scale + std::ldexp(1.0, -16))));
    EXPECT_EQ(r.pose, (std::vector<double>{request.x * r.scale, request.y * r.scale, request.z * r.scale,
                                           request.roll * r.scale, request.pitch * r.scale, request.yaw * r.scale}));
}

TEST(StewartPlatformSafeLengths, UnreachableOrBendingPosesScaleToTheBisectionBound)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    for (const Pose& far : {Pose{0, 0, 5000, 0, 0, 0}, Pose{0, 0, -5000, 0, 0, 0}, Pose{4000, -2500, 1500, 40, -30, 90}}) {
        ExpectScaledToTheBound(p, far);
    }
    p.maxJointAngle = 12.0;  // limit 10 degrees: a 300 mm sway stays in the stroke but bends about 15
    const Pose sway{0, 300, 0, 0, 0, 0};
    ExpectScaledToTheBound(p, sway);
    EXPECT_TRUE(p.GetActuatorLengthsSafe(sway, kBase).angleLimited);
    p.angleCheckEnabled = false;
    const auto unchecked = p.GetActuatorLengthsSafe(sway, kBase);
    EXPECT_TRUE(!unchecked.angleLimited && unchecked.scale == 1.0);
}

// Under a pure heave all legs of these platforms have one length.
TEST(StewartPlatformSafeLengths, SoftLimitCompressesOnlyWithinTheMarginOfTheStrokeEnds)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const double horizontal2 = p.homeLengths[0] * p.homeLengths[0] - 821.6 * 821.6;
    const auto heaveFor = [&](double length) { return Pose{0, 0, std::sqrt(length * length - horizontal2) - 821.6, 0, 0, 0}; };
    // Margin 8 mm: 1 mm short of the top end is 7 mm into the margin.
    const struct {
        double raw, expected;
        bool limited;
    } cases[] = {{1410.9, 1403.9 + 8 * (1 - std::exp(-7.0 / 8)), true}, {912.9, 919.9 - 8 * (1 - std::exp(-7.0 / 8)), true},
                 {1403.4, 1403.4, false}, {1403.9001, 1403.9 + 8 * (1 - std::exp(-0.0001 / 8)), false}};
    for (const auto& c : cases) {
        const auto r = p.GetActuatorLengthsSafe(heaveFor(c.raw), kBase);
        EXPECT_EQ(r.limited, c.limited) << c.raw;
        for (double length : r.lengths) EXPECT_NEAR(length, c.expected, 1e-9) << c.raw;
    }
    // A margin that does not fit half the stroke only clamps; without the range check
    // the request is kept whole, and without any limit the raw length goes out.
    p.rangeCheckEnabled = false;
    for (double margin : {0.0, -3.0, 250.5}) {
        p.softMargin = margin;
        const auto r = p.GetActuatorLengthsSafe(heaveFor(1450), kBase);
        EXPECT_TRUE(r.lengths[2] == 1411.9 && r.values[2] == 1.0 && r.limited && r.withinStroke && r.scale == 1.0) << margin;
    }
    p.softMargin = 250.0;  // exactly half the stroke still compresses
    EXPECT_NEAR(p.GetActuatorLengthsSafe(heaveFor(1450), kBase).lengths[0], 1161.9 + 250 * (1 - std::exp(-288.1 / 250)), 1e-9);
    p.limitsEnabled = p.softLimitEnabled = false;
    const auto raw = p.GetActuatorLengthsSafe(heaveFor(1450), kBase);
    EXPECT_FALSE(raw.withinStroke || raw.limited);
    EXPECT_NEAR(raw.lengths[0], 1450, 1e-9);
}

// Whatever is asked for, the lengths stay in the stroke and, unless the request
// had to be scaled to nothing, the pose used keeps every joint within its limit.
TEST(StewartPlatformSafeLengths, AnyRequestStaysWithinStrokeAndJointLimit)
{
    std::mt19937 rng(20240611);
    std::uniform_real_distribution<double> mm(-5000, 5000), deg(-180, 180), pivot(-300, 300);
    for (int kind : {ZEPTA_DEVICE_GRANDE_QX, ZEPTA_DEVICE_GRANDE_500QX}) {
        StewartPlatform p = MakePlatformForKind(kind);
        for (int n = 0; n < 1000; ++n) {
            const auto system = n % 2 ? kBase : kPlatform;
            p.pivotOffset = {pivot(rng), pivot(rng), pivot(rng)};
            const Pose request{mm(rng), mm(rng), mm(rng), deg(rng), deg(rng), deg(rng)};
            const auto r = p.GetActuatorLengthsSafe(request, system);
            ASSERT_TRUE(r.withinStroke) << kind << " " << n;
            for (double length : r.lengths) ASSERT_TRUE(length >= p.minLength && length <= p.maxLength);
            ASSERT_TRUE(r.scale == 0.0 || LargestJointAngle(p, Scaled(request, r.scale), system) <= AngleLimit(p)) << n;
        }
    }
}

}  // namespace
