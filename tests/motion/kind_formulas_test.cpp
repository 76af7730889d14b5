// The per-kind mixing, run through the converter as the session runs it. Every
// component of the request and both ratios differ from each other and from
// the formulas' factors, so a wrong sign, factor or field changes an axis.
#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "motion/axis_converter.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisConverter;
using Six = std::array<float, 6>;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};

// roll 0.5, pitch -0.3, yaw 0.4, heave -0.2, sway -0.7, surge 0.1; rotMR 0.9, graMR 0.6.
_korve_data_packet Request()
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = 0.5f, p.pitch = -0.3f, p.yaw = 0.4f, p.heave = -0.2f, p.sway = -0.7f, p.surge = 0.1f;
    p.rotMR = 0.9f, p.graMR = 0.6f;
    return p;
}

Six Axes(const _korve_data_packet& p) { return {p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6}; }
Six PoseOf(const _korve_data_packet& p) { return {p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge}; }

struct KindCase {
    int kind;
    Six axes;       // after the final clamp
    Six writeBack;  // roll, pitch, yaw, heave, sway, surge
};

const Six kUntouched{0.5f, -0.3f, 0.4f, -0.2f, -0.7f, 0.1f};
const Six kIdle{0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f};
const KindCase kCases[] = {
    {ZEPTA_DEVICE_KORVE_2DOF, {0.716f, 0.602f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.45f, 0.27f, 0.36f, -0.2f, -0.42f, 0.06f}},
    {ZEPTA_DEVICE_NEBULO_2DOF, {0.716f, 0.602f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.45f, 0.27f, 0.36f, -0.2f, -0.42f, 0.06f}},
    {ZEPTA_DEVICE_KORVE_4DOF, {0.67395f, 0.09105f, 0.96105f, 0.7f, 0.5f, 0.5f}, kUntouched},
    {ZEPTA_DEVICE_KICKBOARD_QX, {0.665f, 0.0875f, 0.8225f, 0.5f, 0.5f, 0.5f}, kUntouched},
    {ZEPTA_DEVICE_KORVE_6DOF, {0.6832f, 0.4352f, 0.1932f, 0.3368f, 0.9198f, 0.8152f}, {0.87f, -0.21f, 0.36f, -0.2f, -0.7f, 0.1f}},
    {ZEPTA_DEVICE_MOSSPOD, {0.428f, 0.404f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.45f, -0.27f, 0.36f, -0.12f, -0.42f, 0.06f}},
    {ZEPTA_DEVICE_TRAXEL, {0.392f, 0.44f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.36f, -0.27f, 0.36f, -0.12f, -0.42f, 0.06f}},
    {ZEPTA_DEVICE_PLIX, {0.401f, 0.377f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.36f, -0.27f, 0.36f, -0.12f, -0.42f, 0.06f}},
    {ZEPTA_DEVICE_GRANDE, kIdle, kUntouched},
    {ZEPTA_DEVICE_NONE, kIdle, kUntouched},
};

void ExpectNear(const Six& actual, const Six& expected, const char* what, int kind)
{
    for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-6) << what << " " << i << " kind " << kind;
}

TEST(KindFormula, DerivedAxesAndWrittenBackPoseOfEveryKind)
{
    for (const KindCase& c : kCases) {
        AxisConverter converter;
        _korve_data_packet p = Request();
        converter.Convert(p, false, {c.kind, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
        ExpectNear(Axes(p), c.axes, "axis", c.kind);
        ExpectNear(PoseOf(p), c.writeBack, "pose", c.kind);
        EXPECT_FALSE(converter.DerivedAxes());
    }
}

// Manual mode keeps the application's axes (except on idle kinds) but still mixes the pose.
TEST(KindFormula, ManualModeKeepsApplicationAxes)
{
    const Six written{0.11f, 0.22f, 0.33f, 0.44f, 0.55f, 0.66f};
    for (const KindCase& c : kCases) {
        AxisConverter converter;
        _korve_data_packet p = Request();
        p.axis1 = written[0], p.axis2 = written[1], p.axis3 = written[2];
        p.axis4 = written[3], p.axis5 = written[4], p.axis6 = written[5];
        converter.Convert(p, false, {c.kind, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN}, kNow);
        ExpectNear(Axes(p), c.axes == kIdle ? kIdle : written, "axis", c.kind);
        ExpectNear(PoseOf(p), c.writeBack, "pose", c.kind);
    }
}

// A 0.01 move in 100 ms is speed 0.067 at gain 1.
TEST(KindFormula, EachKindDerivesSpeedsWithItsGain)
{
    const std::pair<int, float> speeds[] = {
        {ZEPTA_DEVICE_KORVE_2DOF, 0.067f}, {ZEPTA_DEVICE_NEBULO_2DOF, 0.04556f}, {ZEPTA_DEVICE_KORVE_4DOF, 0.067f},
        {ZEPTA_DEVICE_KORVE_6DOF, 0.067f}, {ZEPTA_DEVICE_MOSSPOD, 0.067f},       {ZEPTA_DEVICE_TRAXEL, 0.067f},
        {ZEPTA_DEVICE_PLIX, 0.0335f},      {ZEPTA_DEVICE_KICKBOARD_QX, 0.134f},  {ZEPTA_DEVICE_GRANDE_QX, 0.134f},
        {ZEPTA_DEVICE_GRANDE_500QX, 0.335f}};
    for (const auto& [kind, speed] : speeds) {
        AxisConverter converter;
        converter.PrepareForDevice(kind);
        const ZEPTASDK::ConversionModes modes{kind, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_FROM_MOTION};
        _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
        converter.Convert(p, true, modes, kNow);
        p = ZEPTASDK::DefaultZEPTAPacket();
        converter.Convert(p, false, modes, kNow + std::chrono::seconds(5));
        p = ZEPTASDK::DefaultZEPTAPacket();
        p.axis1 = 0.51f;
        converter.Convert(p, false, modes, kNow + std::chrono::milliseconds(5100));
        EXPECT_NEAR(p.speedAxis1, speed, 1e-5) << "kind " << kind;
    }
}

}  // namespace
