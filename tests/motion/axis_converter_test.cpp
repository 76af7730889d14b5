#include "motion/axis_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>

#include "motion/platform_geometry.h"
#include "zepta/ZEPTA.hpp"

namespace {

using namespace std::chrono_literals;
using ZEPTASDK::AxisConverter;
using ZEPTASDK::ConversionModes;
using ZEPTASDK::MakePlatformForKind;
using ZEPTASDK::PoseFilter;
using Pose = StewartPlatform::Pose;
using Axes = std::array<float, 6>;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};
constexpr auto kBase = StewartPlatform::Base;

_korve_data_packet Request(float roll, float pitch, float yaw, float heave, float sway, float surge)
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = roll, p.pitch = pitch, p.yaw = yaw, p.heave = heave, p.sway = sway, p.surge = surge;
    p.rotMR = 0.9f;
    p.graMR = 0.6f;
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
    EXPECT_EQ(converter.Platform().maxJointAngle, 25.0);
    EXPECT_EQ(converter.Filter().Channel(0).stepScale, 0.0);
    converter.PrepareForDevice(6);
    EXPECT_EQ(converter.Platform().homeHeight, 821.6);
    EXPECT_EQ(converter.Platform().maxJointAngle, 30.0);
    EXPECT_EQ(converter.Filter().Channel(5).stepScale, 0.05);
    converter.PrepareForDevice(3);
    EXPECT_EQ(converter.Platform().homeHeight, 821.6);
    converter.PrepareForDevice(5);
    EXPECT_EQ(converter.Platform().homeHeight, 480.8);
}

// Unfiltered, the large platform sees surge, sway and heave times 225 mm and
// the mixed rotations times 25 degrees, with sway, heave, pitch and yaw mirrored.
TEST(AxisConverterPlatform, BaseModeSendsTheSafeLengthsOfTheMirroredPose)
{
    AxisConverter converter = ConverterFor(6);
    _korve_data_packet p = Request(0.3f, -0.2f, 0.1f, 0.25f, -0.4f, 0.35f);
    converter.Convert(p, false, {6, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_TRUE(converter.DerivedAxes());
    const float roll = 0.9f * 0.3f - 0.6f * -0.4f, pitch = 0.9f * -0.2f + 0.6f * 0.35f, yaw = 0.9f * 0.1f;
    EXPECT_EQ(p.roll, roll);
    EXPECT_EQ(p.pitch, pitch);
    const Pose pose{225.0 * 0.35f, -225.0 * -0.4f, -225.0 * 0.25f, 25.0 * roll, -25.0 * pitch, -25.0 * yaw};
    ExpectAxes(p, MakePlatformForKind(6).GetActuatorLengthsSafe(pose, kBase).values);
}

TEST(AxisConverterPlatform, PlatformModeUsesThePoseOffsetAsPivot)
{
    AxisConverter converter = ConverterFor(5);
    _korve_data_packet p = Request(0.5f, 0.4f, -0.3f, 0.1f, 0.2f, -0.1f);
    p.poseOffset1 = 10.0f, p.poseOffset2 = 20.0f, p.poseOffset3 = 30.0f;
    converter.Convert(p, false, {5, ZEPTA_AXIS_PLATFORM, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_EQ(converter.Platform().pivotOffset, (StewartPlatform::Vec3{30.0, 10.0, -20.0}));
    StewartPlatform reference = MakePlatformForKind(5);
    reference.pivotOffset = {30.0, 10.0, -20.0};
    const float roll = 0.9f * 0.5f - 0.6f * 0.2f, pitch = 0.9f * 0.4f + 0.6f * -0.1f, yaw = 0.9f * -0.3f;
    const Pose pose{90.0 * -0.1f, -90.0 * 0.2f, -90.0 * 0.1f, 20.0 * roll, -20.0 * pitch, -20.0 * yaw};
    ExpectAxes(p, reference.GetActuatorLengthsSafe(pose, StewartPlatform::Platform).values);
}

TEST(AxisConverterPlatform, FilterStartsAtRestThenLimitsTheStep)
{
    AxisConverter converter = ConverterFor(6);
    const ConversionModes modes{6, ZEPTA_AXIS_BASE, ZEPTA_SPEED_DEFAULT};
    const StewartPlatform reference = MakePlatformForKind(6);
    _korve_data_packet first = Request(0.1f, 0.1f, 0.1f, 0.1f, 0.1f, 0.1f);
    converter.Convert(first, false, modes, kNow);
    // Feed a second filter the same channels (surge, sway, heave and the
    // written-back rotations), then a jump to full heave.
    PoseFilter filter;
    filter.Preset();
    PoseFilter::Values f{first.surge, first.sway, first.heave, first.roll, first.pitch, first.yaw};
    const Pose atRest{225 * f[0], -225 * f[1], -225 * f[2], 25 * f[3], -25 * f[4], -25 * f[5]};
    ExpectAxes(first, reference.GetActuatorLengthsSafe(atRest, kBase).values);
    filter.Process(f, 0.5f, 0.667f);
    f[2] = 1.0;
    f = filter.Process(f, 0.5f, 0.667f);
    EXPECT_LT(f[2], 0.1 + 0.667 * 5 * 0.05);  // at most one rate-limit step, then smoothed

    _korve_data_packet second = Request(0.1f, 0.1f, 0.1f, 1.0f, 0.1f, 0.1f);
    converter.Convert(second, false, modes, kNow + 10ms);
    const Pose pose{225 * f[0], -225 * f[1], -225 * f[2], 25 * f[3], -25 * f[4], -25 * f[5]};
    ExpectAxes(second, reference.GetActuatorLengthsSafe(pose, kBase).values);
}

TEST(AxisConverterPlatform, ManualModeLimitsOnlyBentAxes)
{
    AxisConverter converter = ConverterFor(6);
    const ConversionModes modes{6, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN};
    _korve_data_packet p = Request(0, 0, 0, 0, 0, 0);
    const Axes comfortable{0.45f, 0.5f, 0.55f, 0.5f, 0.45f, 0.52f};
    SetAxes(p, comfortable);
    converter.Convert(p, false, modes, kNow);
    EXPECT_FALSE(converter.DerivedAxes());
    ExpectAxes(p, {comfortable.begin(), comfortable.end()});

    // Inside the stroke, but the pose bends a joint past 28 degrees.
    const Axes bent{0.2739f, 0.0100f, 0.2199f, 0.0320f, 0.9349f, 0.7821f};
    const auto limited = MakePlatformForKind(6).ApplyManualAngleLimit({bent.begin(), bent.end()}, Pose{}, kBase);
    ASSERT_TRUE(limited.limited);
    SetAxes(p, bent);
    converter.Convert(p, false, modes, kNow);
    EXPECT_TRUE(converter.DerivedAxes());
    ExpectAxes(p, limited.values);

    const Axes written{0.3f, 0.4f, 0.5f, 0.6f, 0.7f, 0.8f};
    SetAxes(p, written);
    converter.Convert(p, false, {6, 7, ZEPTA_SPEED_AS_WRITTEN}, kNow);  // no such mode: axes stay
    EXPECT_FALSE(converter.DerivedAxes());
    ExpectAxes(p, {written.begin(), written.end()});
}

TEST(AxisConverterClamp, OutputsAreHeldToTheirRanges)
{
    AxisConverter converter;
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    SetAxes(p, {-5.0f, 7.0f, std::numeric_limits<float>::quiet_NaN(), 0.3f, 0.5f, 0.5f});
    p.speedAxis1 = 5.0f;
    p.speedAxis2 = -1.0f;
    p.speedAxis3 = std::numeric_limits<float>::infinity();
    p.accelAxis = 5.0f;
    const ConversionModes modes{2, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN};
    converter.Convert(p, false, modes, kNow);
    ExpectAxes(p, {0.02, 0.98, 0.5, 0.3, 0.5, 0.5});
    EXPECT_EQ(p.speedAxis1, 1.0f);
    EXPECT_EQ(p.speedAxis2, 0.01f);
    EXPECT_EQ(p.speedAxis3, 0.01f);
    EXPECT_EQ(p.accelAxis, 0.98f);
    p.accelAxis = -1.0f;
    converter.Convert(p, false, modes, kNow);
    EXPECT_EQ(p.accelAxis, 0.02f);
}

}  // namespace
