// The per-kind mixing, run through the converter as the session runs it. Every
// component of the request and both ratios differ from each other and from
// the formulas' factors, so a wrong sign, factor or field changes a value.
#include <gtest/gtest.h>

#include <chrono>

#include "motion/axis_converter.h"
#include "motion/packet_access.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisArray;
using ZEPTASDK::AxisConverter;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};
const AxisArray kUntouched{0.5f, -0.3f, 0.4f, -0.2f, -0.7f, 0.1f};  // roll, pitch, yaw, heave, sway, surge
const AxisArray kIdle{0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f};

TEST(KindFormula, AxesWrittenBackPoseAndSpeedGainOfEveryKind)
{
    // Speed: a 0.01 move in 100 ms at the kind's gain (0.067 at gain 1). The
    // platforms' axes ({} here) come from the kinematics, tested with the converter.
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
        _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
        p.roll = 0.5f, p.pitch = -0.3f, p.yaw = 0.4f, p.heave = -0.2f, p.sway = -0.7f, p.surge = 0.1f;
        p.rotMR = 0.9f, p.graMR = 0.6f;
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

}  // namespace
