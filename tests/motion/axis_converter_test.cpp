#include "motion/axis_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "motion/packet_access.h"
#include "motion/platform_geometry.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisArray;
using ZEPTASDK::AxisConverter;
using ZEPTASDK::MakePlatformForKind;
using ZEPTASDK::ReadAxes;
using Pose = StewartPlatform::Pose;
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

// The request's components and ratios differ from each other and from the
// formulas' factors, so a wrong sign, factor or field changes a value.
const AxisArray kUntouched{0.5f, -0.3f, 0.4f, -0.2f, -0.7f, 0.1f};  // roll, pitch, yaw, heave, sway, surge
const AxisArray kIdle{0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f};

TEST(KindFormula, AxesWrittenBackPoseAndSpeedGainOfEveryKind)
{
    // Speed: 0.01 in 100 ms at the kind's gain (0.067 at 1); platforms' axes ({}) tested below.
    const struct {
        int kind;
        AxisArray axes, pose;
        float speed;
    } cases[] = {
        {ZEPTA_DEVICE_KORVE_2DOF, {0.716f, 0.602f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.45f, 0.27f, 0.36f, -0.2f, -0.42f, 0.06f}, 0.067f},
        {ZEPTA_DEVICE_NEBULO_2DOF, {0.716f, 0.602f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.45f, 0.27f, 0.36f, -0.2f, -0.42f, 0.06f}, 0.04556f},
        {ZEPTA_DEVICE_KORVE_4DOF, {0.67395f, 0.09105f, 0.96105f, 0.7f, 0.5f, 0.5f}, kUntouched, 0.067f},
        {ZEPTA_DEVICE_KICKBOARD_QX, {0.665f, 0.0875f, 0.8225f, 0.5f, 0.5f, 0.5f}, kUntouched, 0.134f},
        {ZEPTA_DEVICE_KORVE_6DOF, {0.6832f, 0.4352f, 0.1932f, 0.3368f, 0.9198f, 0.8152f}, {0.87f, -0.21f, 0.36f, -0.2f, -0.7f, 0.1f}, 0.067f},
        {ZEPTA_DEVICE_MOSSPOD, {0.428f, 0.404f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.45f, -0.27f, 0.36f, -0.12f, -0.42f, 0.06f}, 0.067f},
        {ZEPTA_DEVICE_TRAXEL, {0.392f, 0.44f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.36f, -0.27f, 0.36f, -0.12f, -0.42f, 0.06f}, 0.067f},
        {ZEPTA_DEVICE_PLIX, {0.401f, 0.377f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.36f, -0.27f, 0.36f, -0.12f, -0.42f, 0.06f}, 0.0335f},
        {ZEPTA_DEVICE_GRANDE_QX, {}, {0.87f, -0.21f, 0.36f, -0.2f, -0.7f, 0.1f}, 0.134f},
        {ZEPTA_DEVICE_GRANDE_500QX, {}, {0.87f, -0.21f, 0.36f, -0.2f, -0.7f, 0.1f}, 0.335f},
        {ZEPTA_DEVICE_GRANDE, kIdle, kUntouched, 0.01f},
        {ZEPTA_DEVICE_NONE, kIdle, kUntouched, 0.01f},
    };
    for (const auto& c : cases) {
        AxisConverter converter;
        converter.PrepareForDevice(c.kind);
        _korve_data_packet p = Request(0.5f, -0.3f, 0.4f, -0.2f, -0.7f, 0.1f);
        converter.Convert(p, false, {c.kind, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
        const AxisArray pose{p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge};
        for (std::size_t i = 0; i < 6; ++i) {
            const float axis = ZEPTASDK::ReadAxes(p)[i];
            EXPECT_NEAR(axis, c.axes == AxisArray{} ? axis : c.axes[i], 1e-6) << "kind " << c.kind << " axis " << i + 1;
            EXPECT_NEAR(pose[i], c.pose[i], 1e-6) << "kind " << c.kind << " pose field " << i;
        }
        const ZEPTASDK::ConversionModes modes{c.kind, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_FROM_MOTION};
        converter.Convert(p, true, modes, kNow);
        converter.Convert(p, false, modes, kNow + std::chrono::seconds(5));
        p.axis1 += 0.01f;
        converter.Convert(p, false, modes, kNow + std::chrono::milliseconds(5100));
        EXPECT_NEAR(p.speedAxis1, c.speed, 1e-5) << "kind " << c.kind;
    }
}

void ExpectAxes(const _korve_data_packet& p, const std::vector<double>& v)
{
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(ReadAxes(p)[i], std::clamp(float(v[i]), 0.02f, 0.98f)) << "axis " << i + 1;
}

AxisConverter ConverterFor(int kind)
{
    AxisConverter converter;
    converter.PrepareForDevice(kind);
    return converter;
}

// Unfiltered: surge, sway, heave times 225 mm (90 compact), the mixed rotations times 25
// degrees (20); sway, heave, pitch, yaw mirrored. The pivot is (offset 3, 1, -2).
TEST(AxisConverterPlatform, DerivedModesSendTheSafeLengthsOfTheMirroredPose)
{
    AxisConverter large = ConverterFor(kLarge);
    _korve_data_packet p = Request(0.3f, -0.2f, 0.1f, 0.25f, -0.4f, 0.35f);
    large.Convert(p, false, {kLarge, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_TRUE(large.DerivedAxes());
    float roll = 0.9f * 0.3f - 0.6f * -0.4f, pitch = 0.9f * -0.2f + 0.6f * 0.35f, yaw = 0.9f * 0.1f;
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

// Unless speeds go as written, the preset filter runs on the frame's acceleration and speed.
TEST(AxisConverterPlatform, FilteredChannelsFollowThePresetFilter)
{
    AxisConverter converter = ConverterFor(kLarge);
    ZEPTASDK::PoseFilter filter;
    filter.Preset();
    for (float heave : {0.1f, 1.0f}) {
        _korve_data_packet p = Request(0.1f, 0.1f, 0.1f, heave, 0.1f, 0.1f);
        p.accelAxis = 0.5f, p.speedAxis1 = 0.667f;
        converter.Convert(p, false, {kLarge, ZEPTA_AXIS_BASE, ZEPTA_SPEED_DEFAULT}, kNow);
        const auto f = filter.Process({p.surge, p.sway, p.heave, p.roll, p.pitch, p.yaw}, 0.5f, 0.667f);
        const Pose pose{225 * f[0], -225 * f[1], -225 * f[2], 25 * f[3], -25 * f[4], -25 * f[5]};
        ExpectAxes(p, MakePlatformForKind(kLarge).GetActuatorLengthsSafe(pose, kBase).values);
    }
}

// Only axes that bend a joint past 28 degrees are limited; unknown modes keep them.
TEST(AxisConverterPlatform, ManualModeLimitsOnlyBentAxes)
{
    AxisConverter converter = ConverterFor(kLarge);
    const AxisArray fine{0.45f, 0.5f, 0.55f, 0.5f, 0.45f, 0.52f}, bent{0.2739f, 0.01f, 0.2199f, 0.032f, 0.9349f, 0.7821f};
    const auto limited = MakePlatformForKind(kLarge).ApplyManualAngleLimit({bent.begin(), bent.end()}, Pose{}, kBase);
    ASSERT_TRUE(limited.limited);
    const std::tuple<int, AxisArray, bool, std::vector<double>> cases[] = {
        {ZEPTA_AXIS_MANUAL, fine, false, {fine.begin(), fine.end()}}, {ZEPTA_AXIS_MANUAL, bent, true, limited.values},
        {7, bent, false, {bent.begin(), bent.end()}}};
    for (const auto& [axisMode, written, derived, sent] : cases) {
        _korve_data_packet p = Request(0, 0, 0, 0, 0, 0);
        ZEPTASDK::WriteAxes(p, written);
        converter.Convert(p, false, {kLarge, axisMode, ZEPTA_SPEED_AS_WRITTEN}, kNow);
        EXPECT_EQ(converter.DerivedAxes(), derived);
        ExpectAxes(p, sent);
    }
}

TEST(AxisConverterClamp, RequestAndOutputsAreHeldToTheirRanges)
{
    AxisConverter converter;
    _korve_data_packet p = Request(3.0f, Limits::quiet_NaN(), Limits::infinity(), 1.5f, -7.0f, -Limits::infinity());
    p.rotMR = p.graMR = 1.0f, p.accelAxis = 5.0f;
    ZEPTASDK::WriteAxes(p, {-5.0f, Limits::max(), Limits::quiet_NaN(), 0.3f, 0.5f, 0.5f});
    ZEPTASDK::WriteSpeeds(p, {1e30f, -1.0f, Limits::infinity(), 0.3f, 0.5f, 0.5f});
    const ZEPTASDK::ConversionModes manual{ZEPTA_DEVICE_MOSSPOD, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN};
    converter.Convert(p, false, manual, kNow);
    EXPECT_EQ((AxisArray{p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge}), (AxisArray{1, 0, 0, 1, -1, 0}));
    ExpectAxes(p, {0.02, 0.98, 0.5, 0.3, 0.5, 0.5});
    EXPECT_EQ(ZEPTASDK::ReadSpeeds(p), (AxisArray{1.0f, 0.01f, 0.01f, 0.3f, 0.5f, 0.5f}));
    EXPECT_EQ(p.accelAxis, 0.98f);
    p.accelAxis = -1.0f;
    p.rotMR = Limits::quiet_NaN(), p.graMR = 0.4f, p.sway = 0.5f;  // a non-finite ratio mixes nothing in
    converter.Convert(p, false, {ZEPTA_DEVICE_KORVE_6DOF, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_TRUE(p.accelAxis == 0.02f && p.roll == -0.2f);
}

// The speeds of a gain-1 kind frame by frame: after a reset three seconds of
// full speed (0.67) at acceleration 0.05, then 0.67 / dt * move within 0.01..0.67,
// the surplus up to 6.7 carried on. Time counts in whole microseconds and at
// least a millisecond. The application's speeds (0.3 at 0.4) stand as written,
// and by default without derived axes, which also fills the carry. The final
// clamp holds the running acceleration 1 to 0.98.
TEST(AxisConverterSpeeds, FrameByFrame)
{
    using namespace std::chrono_literals;
    AxisConverter converter;
    const auto frame = [&](int speedMode, float axis1, std::chrono::nanoseconds at, float speed, float acceleration) {
        _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
        p.axis1 = axis1, p.speedAxis1 = 0.3f, p.accelAxis = 0.4f;
        converter.Convert(p, at == 0ns, {ZEPTA_DEVICE_MOSSPOD, ZEPTA_AXIS_MANUAL, speedMode}, kNow + at);
        EXPECT_NEAR(p.speedAxis1, speed, 1e-4) << at.count();
        EXPECT_EQ(p.accelAxis, acceleration) << at.count();
    };
    const int fromMotion = ZEPTA_SPEED_FROM_MOTION, asWritten = ZEPTA_SPEED_AS_WRITTEN;
    frame(asWritten, 0.5f, 0ns, 0.67f, 0.98f);
    frame(fromMotion, 0.5f, 1ms, 0.67f, 0.05f);
    frame(asWritten, 0.5f, 2ms, 0.3f, 0.4f);
    frame(fromMotion, 0.5f, 2999ms, 0.67f, 0.05f);
    frame(fromMotion, 0.5f, 3000ms, 0.67f, 0.98f);
    frame(fromMotion, 0.51f, 3100ms + 999ns, 0.067f, 0.98f);
    frame(fromMotion, 0.5101f, 3000ms, 0.067f, 0.98f);
    frame(fromMotion, 0.6601f, 3100ms, 0.67f, 0.98f);
    frame(fromMotion, 0.6601f, 3200ms, 0.335f, 0.98f);
    frame(fromMotion, 0.6601f, 3300ms, 0.01f, 0.98f);
    for (int n = 0; n <= 10; ++n) frame(fromMotion, 0.0601f, 3310ms + n * 10ms, 0.67f, 0.98f);
    frame(fromMotion, 0.0601f, 3420ms, 0.01f, 0.98f);
    frame(ZEPTA_SPEED_DEFAULT, 0.9f, 3430ms, 0.3f, 0.4f);
    frame(fromMotion, 0.9f, 3440ms, 0.67f, 0.98f);
}

}  // namespace
