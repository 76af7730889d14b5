#include "motion/axis_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <random>

#include "motion/packet_access.h"
#include "motion/platform_geometry.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisArray;
using ZEPTASDK::AxisConverter;
using ZEPTASDK::ConversionModes;
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

void ExpectAxes(const _korve_data_packet& p, const std::vector<double>& v)
{
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(ReadAxes(p)[i], std::clamp(static_cast<float>(v[i]), 0.02f, 0.98f)) << "axis " << i + 1;
    }
}

AxisConverter ConverterFor(int kind)
{
    AxisConverter converter;
    converter.PrepareForDevice(kind);
    return converter;
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
    EXPECT_EQ((AxisArray{p.roll, p.pitch, p.yaw}), (AxisArray{roll, pitch, yaw}));
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

// Outside as-written speeds the channels go through the preset filter, with the
// frame's acceleration and first speed; the first frame starts it at rest.
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

TEST(AxisConverterPlatform, ManualModeLimitsOnlyBentAxes)
{
    AxisConverter converter = ConverterFor(kLarge);
    // Inside the stroke, but the second set bends a joint past 28 degrees.
    const AxisArray comfortable{0.45f, 0.5f, 0.55f, 0.5f, 0.45f, 0.52f};
    const AxisArray bent{0.2739f, 0.0100f, 0.2199f, 0.0320f, 0.9349f, 0.7821f};
    const auto limited = MakePlatformForKind(kLarge).ApplyManualAngleLimit({bent.begin(), bent.end()}, Pose{}, kBase);
    ASSERT_TRUE(limited.limited);
    const struct {
        int axisMode;
        AxisArray written;
        bool derived;
        std::vector<double> sent;
    } cases[] = {{ZEPTA_AXIS_MANUAL, comfortable, false, {comfortable.begin(), comfortable.end()}},
                 {ZEPTA_AXIS_MANUAL, bent, true, limited.values},
                 {7, bent, false, {bent.begin(), bent.end()}}};  // no such mode: axes stay
    for (const auto& c : cases) {
        _korve_data_packet p = Request(0, 0, 0, 0, 0, 0);
        ZEPTASDK::WriteAxes(p, c.written);
        converter.Convert(p, false, {kLarge, c.axisMode, ZEPTA_SPEED_AS_WRITTEN}, kNow);
        EXPECT_EQ(converter.DerivedAxes(), c.derived);
        ExpectAxes(p, c.sent);
    }
}

TEST(AxisConverterClamp, RequestAndOutputsAreHeldToTheirRanges)
{
    AxisConverter converter;
    _korve_data_packet p = Request(3.0f, Limits::quiet_NaN(), Limits::infinity(), 1.5f, -7.0f, -Limits::infinity());
    p.rotMR = p.graMR = 1.0f;
    ZEPTASDK::WriteAxes(p, {-5.0f, 7.0f, Limits::quiet_NaN(), 0.3f, 0.5f, 0.5f});
    ZEPTASDK::WriteSpeeds(p, {5.0f, -1.0f, Limits::infinity(), 0.3f, 0.5f, 0.5f});
    p.accelAxis = 5.0f;
    const ConversionModes manual{ZEPTA_DEVICE_MOSSPOD, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN};
    converter.Convert(p, false, manual, kNow);
    EXPECT_EQ((AxisArray{p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge}), (AxisArray{1, 0, 0, 1, -1, 0}));
    ExpectAxes(p, {0.02, 0.98, 0.5, 0.3, 0.5, 0.5});
    EXPECT_EQ(ZEPTASDK::ReadSpeeds(p), (AxisArray{1.0f, 0.01f, 0.01f, 0.3f, 0.5f, 0.5f}));
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

// Every field of the packet hostile: mostly ordinary values, some out of range,
// one in ten NaN, infinite or huge. The device still gets axes in 0.02..0.98,
// speeds in 0.01..1.0 and an acceleration in 0.02..0.98.
TEST(AxisConverterClamp, HostilePacketsLeaveDeviceSafeValuesForEveryKind)
{
    const float extremes[] = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::max(), -1e30f};
    std::mt19937 rng(1000);
    const auto hostile = [&]() {
        const int pick = std::uniform_int_distribution<int>(0, 9)(rng);
        if (pick == 0) return extremes[std::uniform_int_distribution<std::size_t>(0, 4)(rng)];
        return std::uniform_real_distribution<float>(pick < 4 ? -10.0f : -1.0f, pick < 4 ? 10.0f : 1.0f)(rng);
    };
    const int unknownKind = 9999, noSuchAxisMode = 3;
    for (int kind : {int{ZEPTA_DEVICE_NONE}, int{ZEPTA_DEVICE_KORVE_2DOF}, int{ZEPTA_DEVICE_KORVE_4DOF},
                     int{ZEPTA_DEVICE_KORVE_6DOF}, int{ZEPTA_DEVICE_MOSSPOD}, kCompact, kLarge,
                     int{ZEPTA_DEVICE_NEBULO_2DOF}, int{ZEPTA_DEVICE_KICKBOARD_QX}, int{ZEPTA_DEVICE_GRANDE},
                     int{ZEPTA_DEVICE_TRAXEL}, int{ZEPTA_DEVICE_PLIX}, unknownKind}) {
        for (int axisMode : {int{ZEPTA_AXIS_MANUAL}, int{ZEPTA_AXIS_BASE}, int{ZEPTA_AXIS_PLATFORM}, noSuchAxisMode}) {
            for (int speedMode : {ZEPTA_SPEED_DEFAULT, ZEPTA_SPEED_FROM_MOTION, ZEPTA_SPEED_AS_WRITTEN}) {
                AxisConverter converter = ConverterFor(kind);
                auto now = kNow;
                for (int n = 0; n < 60; ++n) {
                    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
                    float fields[24];  // axis1 .. graMR
                    for (float& f : fields) f = hostile();
                    std::memcpy(&p, fields, sizeof fields);
                    now += std::chrono::microseconds(std::uniform_int_distribution<int>(-2000, 400000)(rng));
                    converter.Convert(p, n % 20 == 0, {kind, axisMode, speedMode}, now);
                    for (float a : ReadAxes(p)) ASSERT_TRUE(a >= 0.02f && a <= 0.98f) << kind << " " << a;
                    for (float s : ZEPTASDK::ReadSpeeds(p)) ASSERT_TRUE(s >= 0.01f && s <= 1.0f) << kind << " " << s;
                    ASSERT_TRUE(p.accelAxis >= 0.02f && p.accelAxis <= 0.98f) << kind;
                }
            }
        }
    }
}

}  // namespace
