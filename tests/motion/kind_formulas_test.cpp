// The per-kind formulas, run through the converter as the session runs them.
#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "motion/axis_converter.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisConverter;
using ZEPTASDK::ConversionModes;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};

struct Request {
    float roll, pitch, yaw, heave, sway, surge, rotMR, graMR;
};

// Two requests with every component non-zero and no axis near a clamp.
const Request kFirst{0.5f, -0.25f, 0.4f, -0.1f, -0.6f, 0.2f, 0.8f, 0.5f};
const Request kSecond{-0.3f, 0.2f, -0.7f, 0.45f, 0.35f, -0.5f, 0.6f, 0.4f};

struct KindCase {
    int kind;
    const Request* request;
    std::array<float, 6> axes;       // after the final clamp
    std::array<float, 6> writeBack;  // roll, pitch, yaw, heave, sway, surge
};

const KindCase kCases[] = {
    {1, &kFirst, {0.72f, 0.56f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.4f, 0.2f, 0.32f, -0.1f, -0.3f, 0.1f}},
    {1, &kSecond, {0.326f, 0.394f, 0.02f, 0.02f, 0.02f, 0.02f}, {-0.18f, -0.12f, -0.42f, 0.45f, 0.14f, -0.2f}},
    {100, &kFirst, {0.72f, 0.56f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.4f, 0.2f, 0.32f, -0.1f, -0.3f, 0.1f}},
    {2, &kFirst, {0.577f, 0.173f, 0.873f, 0.7f, 0.5f, 0.5f}, {0.5f, -0.25f, 0.4f, -0.1f, -0.6f, 0.2f}},
    {2, &kSecond, {0.3288f, 0.3812f, 0.0612f, 0.15f, 0.5f, 0.5f}, {-0.3f, 0.2f, -0.7f, 0.45f, 0.35f, -0.5f}},
    {3, &kFirst, {0.67f, 0.474f, 0.21f, 0.31f, 0.816f, 0.714f}, {0.7f, -0.1f, 0.32f, -0.1f, -0.6f, 0.2f}},
    {3, &kSecond, {0.06485f, 0.26335f, 0.49985f, 0.55015f, 0.12665f, 0.37835f}, {-0.32f, -0.08f, -0.42f, 0.45f, 0.35f, -0.5f}},
    {4, &kFirst, {0.5f, 0.42f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.4f, -0.2f, 0.32f, -0.05f, -0.3f, 0.1f}},
    {4, &kSecond, {0.452f, 0.484f, 0.02f, 0.02f, 0.02f, 0.02f}, {-0.18f, 0.12f, -0.42f, 0.18f, 0.14f, -0.2f}},
    {103, &kFirst, {0.468f, 0.452f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.32f, -0.2f, 0.32f, -0.05f, -0.3f, 0.1f}},
    {103, &kSecond, {0.4664f, 0.4696f, 0.02f, 0.02f, 0.02f, 0.02f}, {-0.144f, 0.12f, -0.42f, 0.18f, 0.14f, -0.2f}},
    {104, &kFirst, {0.48f, 0.4f, 0.02f, 0.02f, 0.02f, 0.02f}, {0.32f, -0.2f, 0.32f, -0.05f, -0.3f, 0.1f}},
    {104, &kSecond, {0.464f, 0.496f, 0.02f, 0.02f, 0.02f, 0.02f}, {-0.144f, 0.12f, -0.42f, 0.18f, 0.14f, -0.2f}},
    {101, &kFirst, {0.575f, 0.185f, 0.765f, 0.5f, 0.5f, 0.5f}, {0.5f, -0.25f, 0.4f, -0.1f, -0.6f, 0.2f}},
    {101, &kSecond, {0.45f, 0.503f, 0.237f, 0.5f, 0.5f, 0.5f}, {-0.3f, 0.2f, -0.7f, 0.45f, 0.35f, -0.5f}},
    {102, &kFirst, {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f}, {0.5f, -0.25f, 0.4f, -0.1f, -0.6f, 0.2f}},
    {0, &kSecond, {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f}, {-0.3f, 0.2f, -0.7f, 0.45f, 0.35f, -0.5f}},
};

_korve_data_packet PacketFor(const Request& q)
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = q.roll;
    p.pitch = q.pitch;
    p.yaw = q.yaw;
    p.heave = q.heave;
    p.sway = q.sway;
    p.surge = q.surge;
    p.rotMR = q.rotMR;
    p.graMR = q.graMR;
    return p;
}

std::array<float, 6> Axes(const _korve_data_packet& p)
{
    return {p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6};
}

std::array<float, 6> Pose(const _korve_data_packet& p)
{
    return {p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge};
}

class KindFormulaTest : public ::testing::TestWithParam<KindCase> {};

TEST_P(KindFormulaTest, DerivedAxesAndWrittenBackPose)
{
    const KindCase& c = GetParam();
    AxisConverter converter;
    _korve_data_packet p = PacketFor(*c.request);
    converter.Convert(p, false, {c.kind, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(Axes(p)[i], c.axes[i], 1e-6) << "axis " << i + 1;
        EXPECT_NEAR(Pose(p)[i], c.writeBack[i], 1e-6) << "pose field " << i;
    }
    EXPECT_FALSE(converter.DerivedAxes());
}

TEST_P(KindFormulaTest, ManualModeKeepsApplicationAxesButStillMixes)
{
    const KindCase& c = GetParam();
    AxisConverter converter;
    _korve_data_packet p = PacketFor(*c.request);
    const std::array<float, 6> written{0.11f, 0.22f, 0.33f, 0.44f, 0.55f, 0.66f};
    p.axis1 = written[0], p.axis2 = written[1], p.axis3 = written[2];
    p.axis4 = written[3], p.axis5 = written[4], p.axis6 = written[5];
    converter.Convert(p, false, {c.kind, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    const bool idle = c.kind == 0 || c.kind == 102;
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(Axes(p)[i], idle ? 0.5f : written[i]) << "axis " << i + 1;
        EXPECT_NEAR(Pose(p)[i], c.writeBack[i], 1e-6) << "pose field " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, KindFormulaTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<KindCase>& info) {
                             return "Kind" + std::to_string(info.param.kind) + "_" +
                                    std::to_string(info.index);
                         });

TEST(KindFormula, InputIsClampedBeforeMixing)
{
    AxisConverter converter;
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = 3.0f;
    p.surge = -7.0f;
    p.heave = 1.5f;
    p.rotMR = 1.0f;
    p.graMR = 1.0f;
    converter.Convert(p, false, {4, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_EQ(p.roll, 1.0f);
    EXPECT_EQ(p.surge, -1.0f);
    EXPECT_EQ(p.heave, 1.0f);
}

// The speed gain of each kind shows in a derived speed: a 0.01 move in 100 ms
// is speed 0.067 at gain 1.
TEST(KindFormula, EachKindHasItsSpeedGain)
{
    const std::pair<int, float> gains[] = {{1, 1.0f},   {100, 0.68f}, {2, 1.0f},  {3, 1.0f},
                                           {4, 1.0f},   {103, 1.0f},  {104, 0.5f}, {101, 2.0f},
                                           {5, 2.0f},   {6, 5.0f}};
    for (const auto& [kind, gain] : gains) {
        AxisConverter converter;
        converter.PrepareForDevice(kind);
        const ConversionModes modes{kind, ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_FROM_MOTION};
        _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
        converter.Convert(p, true, modes, kNow);
        p = ZEPTASDK::DefaultZEPTAPacket();
        converter.Convert(p, false, modes, kNow + std::chrono::seconds(5));
        p = ZEPTASDK::DefaultZEPTAPacket();
        p.axis1 = 0.51f;
        converter.Convert(p, false, modes, kNow + std::chrono::milliseconds(5100));
        EXPECT_NEAR(p.speedAxis1, 0.067f * gain, 1e-5) << "kind " << kind;
    }
}

}  // namespace
