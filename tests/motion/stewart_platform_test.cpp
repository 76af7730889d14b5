#include "motion/stewart_platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include "motion/platform_geometry.h"

namespace {

using ZEPTASDK::MakePlatformForKind;

using Pose = StewartPlatform::Pose;
constexpr auto kBase = StewartPlatform::Base;
constexpr auto kPlatform = StewartPlatform::Platform;

// Leg lengths and joint angles of a pose, measured from the public geometry
// and buildTransform rather than through the code under test.
struct Measured {
    std::vector<double> lengths;
    double largestAngle = 0.0;  // degrees between a leg and its home direction
};

Measured Measure(const StewartPlatform& p, const Pose& pose, StewartPlatform::CoordinateSystem system = kBase)
{
    const auto t = p.buildTransform(pose, system);
    Measured m;
    for (std::size_t i = 0; i < 6; ++i) {
        double leg[3], dot = 0.0;
        for (std::size_t r = 0; r < 3; ++r) {
            const auto& a = p.platformAnchors[i];
            leg[r] = t[r][0] * a[0] + t[r][1] * a[1] + t[r][2] * a[2] + t[r][3] - p.baseAnchors[i][r];
            dot += leg[r] * p.homeDirections[i][r];
        }
        m.lengths.push_back(std::sqrt(leg[0] * leg[0] + leg[1] * leg[1] + leg[2] * leg[2]));
        m.largestAngle = std::max(m.largestAngle, std::acos(std::clamp(dot / m.lengths[i], -1.0, 1.0)) * 180.0 / M_PI);
    }
    return m;
}

Pose Scaled(const Pose& p, double f) { return {p.x * f, p.y * f, p.z * f, p.roll * f, p.pitch * f, p.yaw * f}; }
std::vector<double> AsVector(const Pose& p) { return {p.x, p.y, p.z, p.roll, p.pitch, p.yaw}; }

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
        return "";
    };
    EXPECT_EQ(error(5, 5), "base_angles must have 6 elements");
    EXPECT_EQ(error(6, 7), "top_angles must have 6 elements");
    // Every leg of the large platform spans 51.5 degrees between its joints.
    const StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
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
    const auto rolled = p.buildTransform({0, 0, 0, 90, 0, 0}, kPlatform);
    const auto yawed = p.buildTransform({10, 0, 0, 0, 0, 90}, kPlatform);
    const double expected[2][4] = {{0, -70, 480.8 - 130, 1}, {10, 10 + 50, 480.8, 1}};
    for (std::size_t row = 0; row < 4; ++row) {
        EXPECT_NEAR(rolled[row][3], expected[0][row], 1e-12) << row;
        EXPECT_NEAR(yawed[row][3], expected[1][row], 1e-12) << row;
    }
    EXPECT_EQ(rolled[3], (std::array<double, 4>{0, 0, 0, 1}));
    EXPECT_TRUE(p.pivotOffset == (StewartPlatform::Vec3{20, -30, 100}) && p.homeLengths == MakePlatformForKind(ZEPTA_DEVICE_GRANDE_QX).homeLengths);
}

TEST(StewartPlatformSafeLengths, ReachablePosesAreUsedWholeAndNonFiniteOnesRest)
{
    const StewartPlatform p = MakePlatformForKind(ZEPTA_DEVICE_GRANDE_500QX);
    const auto r = p.GetActuatorLengthsSafe({40, -30, 20, 3, -4, 5}, kBase);
    const auto expected = Measure(p, {40, -30, 20, 3, -4, 5}).lengths;
    EXPECT_TRUE(r.scale == 1.0 && !r.limited && !r.angleLimited && r.withinStroke);
    EXPECT_EQ(r.pose, AsVector({40, -30, 20, 3, -4, 5}));
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
        // Sixteen halvings: the scale is a whole number of 2^-16 steps.
        EXPECT_FALSE(acceptable(Scaled(request, r.scale + std::ldexp(1.0, -16))));
        EXPECT_EQ(std::ldexp(r.scale, 16), std::floor(std::ldexp(r.scale, 16)));
        EXPECT_EQ(r.pose, AsVector(Scaled(request, r.scale)));
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
    // Unchecked range keeps the request; any margin up to half the stroke
    // (500 mm) compresses, one beyond it only clamps.
    p.rangeCheckEnabled = false;
    for (const auto& [margin, raw, soft] : {std::tuple<double, double, double>{200, 1450, 1211.9 + 200 * (1 - std::exp(-238.1 / 200))},
                                            {0.25, 1411.8, 1411.65 + 0.25 * (1 - std::exp(-0.15 / 0.25))}}) {
        p.softMargin = margin;
        EXPECT_NEAR(p.GetActuatorLengthsSafe(heave(raw), kBase).lengths[2], soft, 1e-9) << margin;
    }
    p.softMargin = 250.5;
    const auto clamped = p.GetActuatorLengthsSafe(heave(1450), kBase);
    EXPECT_TRUE(clamped.lengths[2] == 1411.9 && clamped.values[2] == 1.0 && clamped.limited && clamped.withinStroke);
    p.limitsEnabled = p.softLimitEnabled = false;
    const auto raw = p.GetActuatorLengthsSafe(heave(1450), kBase);
    EXPECT_TRUE(!raw.withinStroke && !raw.limited && raw.scale == 1.0 && std::fabs(raw.lengths[0] - 1450) < 1e-9);
    // Even unchecked, a value never leaves the stroke's 0..1.
    EXPECT_EQ(raw.values, std::vector<double>(6, 1.0));
}

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
    // One iteration allowed: one step is taken, counted and left unconverged.
    const auto one = large.ForwardKinematics(target, guess, kBase, 1, 1e-6);
    EXPECT_TRUE(!one.converged && one.iterations == 1 && one.residual < std::sqrt(sum) / 10);
    const auto zero = large.ForwardKinematics(Measure(large, {10, -5, 3, 2, 1, -2}).lengths, Pose{}, kBase, 30, 0.0);
    EXPECT_TRUE(!zero.converged && zero.iterations > 0 && zero.residual < 1e-6);
    // All joints at the centre: rotations change no length. A NaN target gives no step either.
    const std::vector<double> angles{0, 60, 120, 180, 240, 300};
    const auto singular = StewartPlatform(0, 0, 500, 400, 600, angles, angles)
                              .ForwardKinematics(std::vector<double>(6, 520.0), guess, kBase, 40, 1e-6);
    EXPECT_TRUE(!singular.converged && singular.iterations == 0 && AsVector(singular.pose) == AsVector(guess));
    EXPECT_EQ(large.ForwardKinematics({kNaN, 1000, 1000, 1000, 1000, 1000}, Pose{}, kBase, 40, 1e-6).iterations, 0);
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
    EXPECT_NEAR(within.maxAngle, Measure(large, {20, 50, -10, 3, -2, 4}).largestAngle, 1e-3);
    EXPECT_LT(large.ApplyManualAngleLimit(OnLine(large, fine, 0.0), Pose{}, kBase).maxAngle, 1e-3);
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
    // A guess nothing can be solved from measures no angle: the values go to rest.
    const auto badGuess = large.ApplyManualAngleLimit(fine, {0, kNaN, 0, 0, 0, 0}, kBase);
    EXPECT_TRUE(badGuess.angleLimited && badGuess.scale == 0.0 && badGuess.values == OnLine(large, fine, 0.0));
    const std::vector<double> nonFinite{0.5, 0.5, 0.5, kNaN, 0.5, 0.5};
    const auto fromNaN = strict.ApplyManualAngleLimit(nonFinite, Pose{}, kBase);
    strict.bisectionSteps = 0;
    for (const auto& r : {fromNaN, strict.ApplyManualAngleLimit(sway, Pose{}, kBase)}) {
        EXPECT_EQ(r.values, OnLine(strict, nonFinite, 0.0));
        EXPECT_TRUE(r.scale == 0.0 && r.limited && r.withinStroke && r.pose == std::vector<double>(6, 0.0));
    }
    EXPECT_THROW(large.ApplyManualAngleLimit(std::vector<double>(7, 0.5), Pose{}, kBase), std::invalid_argument);
}

}  // namespace
