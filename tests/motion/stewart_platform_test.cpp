#include "motion/stewart_platform.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "platform_test_support.h"

namespace {

using namespace zepta_motion_test;
using ZEPTASDK::MakePlatformForKind;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
double Radians(double degrees) { return degrees * M_PI / 180.0; }

TEST(StewartPlatformGeometry, AngleCountsAndHomeLegs)
{
    const auto error = [](std::size_t base, std::size_t top) -> std::string {
        try {
            StewartPlatform(1000, 500, 400, 300, 500, std::vector<double>(base, 1.0), std::vector<double>(top, 1.0));
        } catch (const std::invalid_argument& e) {
            return e.what();
        }
        return "no exception";
    };
    EXPECT_EQ(error(5, 5), "base_angles must have 6 elements");
    EXPECT_EQ(error(6, 7), "top_angles must have 6 elements");
    // Every leg of the large platform spans 51.5 degrees between its joints.
    const StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    EXPECT_NEAR(p.baseAnchors[0][1], std::sin(Radians(117)) * 2009.4 / 2, 1e-12);
    const double rb = 2009.4 / 2, rp = 1061.5 / 2, h = 821.6;
    const double home = std::sqrt(rb * rb + rp * rp - 2 * rb * rp * std::cos(Radians(51.5)) + h * h);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_TRUE(std::fabs(p.homeLengths[i] - home) < 1e-9 && std::fabs(p.homeDirections[i][2] - h / home) < 1e-12);
}

// Rz(yaw) Ry(pitch) Rx(roll); in platform coordinates the translation turns
// too, about the pivot: roll 90 turns (20, -30, 100) to (20, -100, -30).
TEST(StewartPlatformTransform, RotationThenTranslationInEachSystem)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_QX);
    const auto t = p.buildTransform({12, -7, 30, 10, -20, 30}, kBase);
    const double r = Radians(10), q = Radians(-20), y = Radians(30);
    const double rx[3][3] = {{1, 0, 0}, {0, cos(r), -sin(r)}, {0, sin(r), cos(r)}};
    const double ry[3][3] = {{cos(q), 0, sin(q)}, {0, 1, 0}, {-sin(q), 0, cos(q)}};
    const double rz[3][3] = {{cos(y), -sin(y), 0}, {sin(y), cos(y), 0}, {0, 0, 1}};
    for (int ij = 0; ij < 9; ++ij) {
        double expected = 0;
        for (int k = 0; k < 9; ++k) expected += rz[ij / 3][k / 3] * ry[k / 3][k % 3] * rx[k % 3][ij % 3];
        EXPECT_NEAR(t[ij / 3][ij % 3], expected, 1e-15) << ij;
    }
    EXPECT_EQ((std::array<double, 4>{t[0][3], t[1][3], t[2][3], t[3][3]}), (std::array<double, 4>{12, -7, 510.8, 1}));
    p.pivotOffset = {20, -30, 100};
    const StewartPlatform before = p;
    const auto rolled = p.buildTransform({0, 0, 0, 90, 0, 0}, kPlatform);
    const auto yawed = p.buildTransform({10, 0, 0, 0, 0, 90}, kPlatform);
    const double expected[2][4] = {{0, -70, 480.8 - 130, 1}, {10, 10 + 50, 480.8, 1}};
    for (std::size_t row = 0; row < 4; ++row) {
        EXPECT_NEAR(rolled[row][3], expected[0][row], 1e-12) << row;
        EXPECT_NEAR(yawed[row][3], expected[1][row], 1e-12) << row;
    }
    EXPECT_EQ(rolled[3], (std::array<double, 4>{0, 0, 0, 1}));
    EXPECT_TRUE(p.pivotOffset == before.pivotOffset && p.homeLengths == before.homeLengths && p.softMargin == 8.0);
}

TEST(StewartPlatformSafeLengths, ReachablePosesAreUsedWholeAndNonFiniteOnesRest)
{
    const StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const auto r = p.GetActuatorLengthsSafe({40, -30, 20, 3, -4, 5}, kBase);
    const auto expected = Measure(p, {40, -30, 20, 3, -4, 5}).lengths;
    EXPECT_TRUE(r.scale == 1.0 && !r.limited && !r.angleLimited && r.withinStroke);
    EXPECT_EQ(r.pose, (std::vector<double>{40, -30, 20, 3, -4, 5}));
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(r.lengths[i], expected[i], 1e-9);
        EXPECT_NEAR(r.values[i], (expected[i] - 911.9) / 500.0, 1e-12);
    }
    for (const Pose& bad : {Pose{kNaN, 0, 0, 0, 0, 0}, Pose{0, 0, 0, 0, 0, -std::numeric_limits<double>::infinity()}}) {
        const auto rest = p.GetActuatorLengthsSafe(bad, kPlatform);
        EXPECT_TRUE(rest.scale == 0.0 && rest.limited && rest.pose == std::vector<double>(6, 0.0));
        EXPECT_EQ(rest.lengths, p.GetActuatorLengthsSafe({}, kBase).lengths);
    }
}

// Scaled to the largest acceptable fraction within 16 bisection steps; a 10-degree
// joint limit alone scales a 300 mm sway that stays in the stroke.
TEST(StewartPlatformSafeLengths, UnreachableOrBendingPosesScaleToTheBisectionBound)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const auto acceptable = [&p](const Pose& pose) {
        const Measured m = Measure(p, pose);
        return std::all_of(m.lengths.begin(), m.lengths.end(), [&p](double l) { return l >= p.minLength && l <= p.maxLength; }) &&
               m.largestAngle <= p.maxJointAngle - p.jointAngleMargin;
    };
    const Pose sway{0, 300, 0, 0, 0, 0};
    for (const Pose& request : {Pose{0, 0, 5000, 0, 0, 0}, Pose{0, 0, -5000, 0, 0, 0}, Pose{4000, -2500, 1500, 40, -30, 90},
                                Pose{1e300, 0, -1e300, 1e300, 0, 0}, sway}) {
        if (request.y == 300) p.maxJointAngle = 12.0;
        const auto r = p.GetActuatorLengthsSafe(request, kBase);
        EXPECT_TRUE(r.limited && acceptable(Scaled(request, r.scale)));
        EXPECT_FALSE(acceptable(Scaled(request, r.scale + std::ldexp(1.0, -16))));
        const Pose used = Scaled(request, r.scale);
        EXPECT_EQ(r.pose, (std::vector<double>{used.x, used.y, used.z, used.roll, used.pitch, used.yaw}));
    }
    EXPECT_TRUE(p.GetActuatorLengthsSafe(sway, kBase).angleLimited);
    p.angleCheckEnabled = false;
    const auto unchecked = p.GetActuatorLengthsSafe(sway, kBase);
    EXPECT_TRUE(!unchecked.angleLimited && unchecked.scale == 1.0);
}

// A pure heave gives all legs one length; 1 mm short of an end is 7 mm into the 8 mm margin.
TEST(StewartPlatformSafeLengths, SoftLimitCompressesOnlyWithinTheMarginOfTheStrokeEnds)
{
    StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const double horizontal2 = p.homeLengths[0] * p.homeLengths[0] - 821.6 * 821.6;
    const auto heave = [&](double length) { return Pose{0, 0, std::sqrt(length * length - horizontal2) - 821.6, 0, 0, 0}; };
    const std::tuple<double, double, bool> cases[] = {{1410.9, 1403.9 + 8 * (1 - std::exp(-7.0 / 8)), true},
                                                      {912.9, 919.9 - 8 * (1 - std::exp(-7.0 / 8)), true},
                                                      {1403.4, 1403.4, false},
                                                      {1403.9001, 1403.9 + 8 * (1 - std::exp(-0.0001 / 8)), false}};
    for (const auto& [raw, soft, limited] : cases) {
        const auto r = p.GetActuatorLengthsSafe(heave(raw), kBase);
        EXPECT_EQ(r.limited, limited) << raw;
        for (double length : r.lengths) EXPECT_NEAR(length, soft, 1e-9) << raw;
    }
    // Unchecked range keeps the request; a margin beyond half the stroke only clamps.
    p.rangeCheckEnabled = false;
    p.softMargin = 250.5;
    const auto clamped = p.GetActuatorLengthsSafe(heave(1450), kBase);
    EXPECT_TRUE(clamped.lengths[2] == 1411.9 && clamped.values[2] == 1.0 && clamped.limited && clamped.withinStroke);
    p.softMargin = 250.0;
    EXPECT_NEAR(p.GetActuatorLengthsSafe(heave(1450), kBase).lengths[0], 1161.9 + 250 * (1 - std::exp(-288.1 / 250)), 1e-9);
    p.limitsEnabled = p.softLimitEnabled = false;
    const auto raw = p.GetActuatorLengthsSafe(heave(1450), kBase);
    EXPECT_TRUE(!raw.withinStroke && !raw.limited && std::fabs(raw.lengths[0] - 1450) < 1e-9);
}

}  // namespace
