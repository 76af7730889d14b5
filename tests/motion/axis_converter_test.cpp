#include "motion/axis_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <random>

#include "motion/packet_access.h"
#include "motion/platform_geometry.h"
#include "zepta/ZEPTA.hpp"

namespace {

using namespace std::chrono_literals;
using ZEPTASDK::AxisConverter;
using ZEPTASDK::ConversionModes;
using ZEPTASDK::MakePlatformForKind;
using Pose = StewartPlatform::Pose;
using Axes = std::array<float, 6>;
using Limits = std::numeric_limits<float>;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};
constexpr auto kBase = StewartPlatform::Base;
constexpr int kLarge = ZEPTA_DEVICE_GRANDE_500QX;
constexpr int kCompact = ZEPTA_DEVICE_GRANDE_QX;

_korve_data_packet Request(float roll, float pitch, float yaw, float heave, float sway, float surge)
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = roll, p.pitch = pitch, p.yaw = yaw, p.heave = heave, p.sway = sway, p.surge = surge;
    p.rotMR = 0.9f, p.graMR = 0.6f;
    return p;
}

void SetAxes(_korve_data_packet& p, const Axes& a)
{
    p.axis1 = a[0], p.axis2 = a[1], p.axis3 = a[2], p.axis4 = a[3], p.axis5 = a[4], p.axis6 = a[5];
}

void ExpectAxes(const _korve_data_packet& p, const std::vector<double>& v)
{
    const Axes axes{p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(axes[i], std::clamp(static_cast<float>(v[i]), 0.02f, 0.98f)) << "axis " << i + 1;
    }
}

AxisConverter ConverterFor(int kind)
{
    AxisConverter converter;
    converter.PrepareForDevice(kind);
    return converter;
}

TEST(AxisConverterPlatform, StartsCompactAndTakesTheConnectedGeometry)
{
    AxisConverter converter;
    EXPECT_EQ(converter.Platform().homeHeight, 480.8);
    EXPECT_EQ(converter.Filter().Channel(0).stepScale, 0.0);
    converter.PrepareForDevice(kLarge);
    EXPECT_EQ(converter.Platform().homeHeight, 821.6);
    EXPECT_EQ(converter.Platform().maxJointAngle, 30.0);
    EXPECT_EQ(converter.Filter().Channel(5).stepScale, 0.05);
    converter.PrepareForDevice(ZEPTA_DEVICE_KORVE_6DOF);
    EXPECT_EQ(converter.Platform().homeHeight, 821.6);
    converter.PrepareForDevice(kCompact);
    EXPECT_EQ(converter.Platform().homeHeight, 480.8);
    EXPECT_EQ(converter.Platform().maxJointAngle, 25.0);
}

// Unfiltered, a platform sees surge, sway and heave times 225 mm (large) or
// 90 mm (compact) and the mixed rotations times 25 or 20 degrees, with sway,
// heave, pitch and yaw mirrored. The pose offset is the pivot: x from the
// third field, y from the first, z from the second, negated.
TEST(AxisConverterPlatform, DerivedModesSendTheSafeLengthsOfTheMirroredPose)
{
    AxisConverter large = ConverterFor(kLarge);
    _korve_data_packet p = Request(0.3f, -0.2f, 0.1f, 0.25f, -0.4f, 0.35f);
    large.Convert(p, false, {kLarge, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_TRUE(large.DerivedAxes());
    float roll = 0.9f * 0.3f - 0.6f * -0.4f, pitch = 0.9f * -0.2f + 0.6f * 0.35f, yaw = 0.9f * 0.1f;
    EXPECT_EQ(p.roll, roll);
    EXPECT_EQ(p.pitch, pitch);
    EXPECT_EQ(p.yaw, yaw);
    Pose pose{225.0 * 0.35f, -225.0 * -0.4f, -225.0 * 0.25f, 25.0 * roll, -25.0 * pitch, -25.0 * yaw};
    ExpectAxes(p, MakePlatformForKind(kLarge).GetActuatorLengthsSafe(pose, kBase).values);

    AxisConverter compact = ConverterFor(kCompact);
    p = Request(0.5f, 0.4f, -0.3f, 0.1f, 0.2f, -0.1f);
    p.poseOffset1 = 10.0f, p.poseOffset2 = 20.0f, p.poseOffset3 = 30.0f;
    compact.Convert(p, false, {kCompact, ZEPTA_AXIS_PLATFORM, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    StewartPlatform reference = MakePlatformForKind(kCompact);
    reference.pivotOffset = {30.0, 10.0, -20.0};
    roll = 0.9f * 0.5f - 0.6f * 0.2f, pitch = 0.9f * 0.4f + 0.6f * -0.1f, yaw = 0.9f * -0.3f;
    pose = {90.0 * -0.1f, -90.0 * 0.2f, -90.0 * 0.1f, 20.0 * roll, -20.0 * pitch, -20.0 * yaw};
    ExpectAxes(p, reference.GetActuatorLengthsSafe(pose, StewartPlatform::Platform).values);
}

// Outside as-written speeds the channels go through the preset filter, which
// starts at rest on the first frame.
TEST(AxisConverterPlatform, FilteredChannelsStartAtRestThenFollowTheFilter)
{
    AxisConverter converter = ConverterFor(kLarge);
    const ConversionModes modes{kLarge, ZEPTA_AXIS_BASE, ZEPTA_SPEED_DEFAULT};
    const StewartPlatform reference = MakePlatformForKind(kLarge);
    ZEPTASDK::PoseFilter filter;
    filter.Preset();
    const auto expect = [&](float heave, std::chrono::milliseconds later) {
        _korve_data_packet p = Request(0.1f, 0.1f, 0.1f, heave, 0.1f, 0.1f);
        p.accelAxis = 0.5f, p.speedAxis1 = 0.667f;
        converter.Convert(p, false, modes, kNow + later);
        const auto f = filter.Process({p.surge, p.sway, p.heave, p.roll, p.pitch, p.yaw}, 0.5f, 0.667f);
        const Pose pose{225 * f[0], -225 * f[1], -225 * f[2], 25 * f[3], -25 * f[4], -25 * f[5]};
        ExpectAxes(p, reference.GetActuatorLengthsSafe(pose, kBase).values);
    };
    expect(0.1f, 0ms);
    expect(1.0f, 10ms);
}

TEST(AxisConverterPlatform, ManualModeLimitsOnlyBentAxes)
{
    AxisConverter converter = ConverterFor(kLarge);
    const ConversionModes modes{kLarge, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN};
    _korve_data_packet p = Request(0, 0, 0, 0, 0, 0);
    const Axes comfortable{0.45f, 0.5f, 0.55f, 0.5f, 0.45f, 0.52f};
    SetAxes(p, comfortable);
    converter.Convert(p, false, modes, kNow);
    EXPECT_FALSE(converter.DerivedAxes());
    ExpectAxes(p, {comfortable.begin(), comfortable.end()});

    // Inside the stroke, but the pose bends a joint past 28 degrees.
    const Axes bent{0.2739f, 0.0100f, 0.2199f, 0.0320f, 0.9349f, 0.7821f};
    const auto limited = MakePlatformForKind(kLarge).ApplyManualAngleLimit({bent.begin(), bent.end()}, Pose{}, kBase);
    ASSERT_TRUE(limited.limited);
    SetAxes(p, bent);
    converter.Convert(p, false, modes, kNow);
    EXPECT_TRUE(converter.DerivedAxes());
    ExpectAxes(p, limited.values);

    SetAxes(p, bent);
    converter.Convert(p, false, {kLarge, 7, ZEPTA_SPEED_AS_WRITTEN}, kNow);  // no such mode: axes stay
    EXPECT_FALSE(converter.DerivedAxes());
    ExpectAxes(p, {bent.begin(), bent.end()});
}

TEST(AxisConverterClamp, RequestAndOutputsAreHeldToTheirRanges)
{
    AxisConverter converter;
    _korve_data_packet p = Request(3.0f, Limits::quiet_NaN(), Limits::infinity(), 1.5f, -7.0f, -Limits::infinity());
    p.rotMR = p.graMR = 1.0f;
    SetAxes(p, {-5.0f, 7.0f, Limits::quiet_NaN(), 0.3f, 0.5f, 0.5f});
    p.speedAxis1 = 5.0f, p.speedAxis2 = -1.0f, p.speedAxis3 = Limits::infinity();
    p.accelAxis = 5.0f;
    const ConversionModes manual{ZEPTA_DEVICE_MOSSPOD, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN};
    converter.Convert(p, false, manual, kNow);
    EXPECT_EQ((Axes{p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge}), (Axes{1, 0, 0, 1, -1, 0}));
    ExpectAxes(p, {0.02, 0.98, 0.5, 0.3, 0.5, 0.5});
    EXPECT_EQ((Axes{p.speedAxis1, p.speedAxis2, p.speedAxis3}), (Axes{1.0f, 0.01f, 0.01f}));
    EXPECT_EQ(p.accelAxis, 0.98f);
    p.accelAxis = -1.0f;
    converter.Convert(p, false, manual, kNow);
    EXPECT_EQ(p.accelAxis, 0.02f);

    // A non-finite ratio mixes nothing in.
    p = Request(0.5f, 0, 0, 0, 0.5f, 0);
    p.rotMR = Limits::quiet_NaN(), p.graMR = 0.4f;
    converter.Convert(p, false, {ZEPTA_DEVICE_KORVE_6DOF, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_EQ(p.roll, -0.2f);
    p.graMR = Limits::infinity();
    converter.Convert(p, false, manual, kNow);
    EXPECT_EQ(p.sway, 0.0f);
}

// Mostly ordinary values, some out of range, one in ten NaN, infinite or huge.
float Hostile(std::mt19937& rng)
{
    const float extremes[] = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::max(),
                              -Limits::max(), Limits::denorm_min(), 1e30f, -1e30f};
    const int pick = std::uniform_int_distribution<int>(0, 9)(rng);
    if (pick == 0) return extremes[std::uniform_int_distribution<std::size_t>(0, 7)(rng)];
    return std::uniform_real_distribution<float>(pick < 4 ? -10.0f : -1.0f, pick < 4 ? 10.0f : 1.0f)(rng);
}

bool Within(float v, float lo, float hi) { return v >= lo && v <= hi; }

void Fill(_korve_data_packet& p, std::mt19937& rng)
{
    for (float* f : {&p.axis1, &p.axis2, &p.axis3, &p.axis4, &p.axis5, &p.axis6, &p.speedAxis1,
                     &p.speedAxis2, &p.speedAxis3, &p.speedAxis4, &p.speedAxis5, &p.speedAxis6,
                     &p.accelAxis, &p.roll, &p.pitch, &p.yaw, &p.heave, &p.sway, &p.surge,
                     &p.poseOffset1, &p.poseOffset2, &p.poseOffset3, &p.rotMR, &p.graMR}) {
        *f = Hostile(rng);
    }
}

void ExpectDeviceSafe(const _korve_data_packet& p, const AxisConverter& converter)
{
    for (float a : ZEPTASDK::ReadAxes(p)) ASSERT_TRUE(Within(a, 0.02f, 0.98f)) << a;
    for (float s : ZEPTASDK::ReadSpeeds(p)) ASSERT_TRUE(Within(s, 0.01f, 1.0f)) << s;
    ASSERT_TRUE(Within(p.accelAxis, 0.02f, 0.98f)) << p.accelAxis;
    for (float v : {p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge}) ASSERT_FALSE(std::isnan(v));
    for (std::size_t i = 0; i < ZEPTASDK::PoseFilter::kChannels; ++i) {
        const auto& c = converter.Filter().Channel(i);
        for (double v : {c.limited, c.input1, c.input2, c.output1, c.output2}) ASSERT_TRUE(std::isfinite(v));
    }
}

// Whatever an application writes, the device gets axes in 0.02..0.98, speeds
// in 0.01..1.0 and an acceleration in 0.02..0.98, and the filter stays finite.
TEST(AxisConverterClamp, HostilePacketsLeaveDeviceSafeValuesForEveryKind)
{
    constexpr int kUnknownKind = 9999;
    constexpr int kNoSuchAxisMode = 3;
    const int kinds[] = {ZEPTA_DEVICE_NONE, ZEPTA_DEVICE_KORVE_2DOF, ZEPTA_DEVICE_KORVE_4DOF, ZEPTA_DEVICE_KORVE_6DOF,
                         ZEPTA_DEVICE_MOSSPOD, kCompact, kLarge, ZEPTA_DEVICE_NEBULO_2DOF, ZEPTA_DEVICE_KICKBOARD_QX,
                         ZEPTA_DEVICE_GRANDE, ZEPTA_DEVICE_TRAXEL, ZEPTA_DEVICE_PLIX, kUnknownKind};
    const int axisModes[] = {ZEPTA_AXIS_MANUAL, ZEPTA_AXIS_BASE, ZEPTA_AXIS_PLATFORM, kNoSuchAxisMode};
    for (int kind : kinds) {
        std::mt19937 rng(static_cast<unsigned>(kind + 1000));
        for (int axisMode : axisModes) {
            for (int speedMode : {ZEPTA_SPEED_DEFAULT, ZEPTA_SPEED_FROM_MOTION, ZEPTA_SPEED_AS_WRITTEN}) {
                AxisConverter converter = ConverterFor(kind);
                auto now = kNow;
                for (int n = 0; n < (axisMode == ZEPTA_AXIS_MANUAL ? 40 : 150); ++n) {
                    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
                    Fill(p, rng);
                    now += std::chrono::microseconds(std::uniform_int_distribution<int>(-2000, 400000)(rng));
                    converter.Convert(p, n % 20 == 0, {kind, axisMode, speedMode}, now);
                    ExpectDeviceSafe(p, converter);
                    if (HasFatalFailure()) FAIL() << "kind " << kind << " modes " << axisMode << speedMode << " frame " << n;
                }
            }
        }
    }
}

}  // namespace
