// Whatever an application writes, the converter hands on values the device can
// take: axes in 0.02..0.98, speeds in 0.01..1.0, acceleration in 0.02..0.98.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <random>

#include "motion/axis_converter.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::AxisConverter;
using Limits = std::numeric_limits<float>;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};
const float kExtremes[] = {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::max(),
                          -Limits::max(),      Limits::denorm_min(), -0.0f, 1e30f, -1e30f};

// Mostly ordinary values, some out of range, one in ten from kExtremes.
float Hostile(std::mt19937& rng)
{
    const int pick = std::uniform_int_distribution<int>(0, 9)(rng);
    if (pick == 0) return kExtremes[std::uniform_int_distribution<std::size_t>(0, 8)(rng)];
    return std::uniform_real_distribution<float>(pick < 4 ? -10.0f : -1.0f, pick < 4 ? 10.0f : 1.0f)(rng);
}

_korve_data_packet HostilePacket(std::mt19937& rng)
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    for (float* f : {&p.axis1, &p.axis2, &p.axis3, &p.axis4, &p.axis5, &p.axis6, &p.speedAxis1,
                     &p.speedAxis2, &p.speedAxis3, &p.speedAxis4, &p.speedAxis5, &p.speedAxis6,
                     &p.accelAxis, &p.roll, &p.pitch, &p.yaw, &p.heave, &p.sway, &p.surge,
                     &p.poseOffset1, &p.poseOffset2, &p.poseOffset3, &p.rotMR, &p.graMR}) {
        *f = Hostile(rng);
    }
    return p;
}

bool Within(float v, float lo, float hi) { return v >= lo && v <= hi; }

void ExpectDeviceSafe(const _korve_data_packet& p, const AxisConverter& converter)
{
    for (float a : {p.axis1, p.axis2, p.axis3, p.axis4, p.axis5, p.axis6}) ASSERT_TRUE(Within(a, 0.02f, 0.98f)) << a;
    for (float s : {p.speedAxis1, p.speedAxis2, p.speedAxis3, p.speedAxis4, p.speedAxis5, p.speedAxis6}) {
        ASSERT_TRUE(Within(s, 0.01f, 1.0f)) << s;
    }
    ASSERT_TRUE(Within(p.accelAxis, 0.02f, 0.98f)) << p.accelAxis;
    for (float v : {p.roll, p.pitch, p.yaw, p.heave, p.sway, p.surge}) ASSERT_FALSE(std::isnan(v));
    for (std::size_t i = 0; i < ZEPTASDK::PoseFilter::kChannels; ++i) {
        const auto& c = converter.Filter().Channel(i);
        for (double v : {c.limited, c.input1, c.input2, c.output1, c.output2}) ASSERT_TRUE(std::isfinite(v));
    }
}

class ConversionSafetyTest : public ::testing::TestWithParam<int> {};

TEST_P(ConversionSafetyTest, HostilePacketsLeaveDeviceSafeValues)
{
    const int kind = GetParam();
    std::mt19937 rng(static_cast<unsigned>(kind + 1000));
    for (int axisMode : {0, 1, 2, 3}) {
        for (int speedMode : {0, 1, 2}) {
            AxisConverter converter;
            converter.PrepareForDevice(kind);
            auto now = kNow;
            const int frames = (kind == 5 || kind == 6) && axisMode == 0 ? 60 : 250;
            for (int n = 0; n < frames; ++n) {
                _korve_data_packet p = HostilePacket(rng);
                now += std::chrono::microseconds(std::uniform_int_distribution<int>(-2000, 400000)(rng));
                converter.Convert(p, n % 20 == 0, {kind, axisMode, speedMode}, now);
                ExpectDeviceSafe(p, converter);
                if (HasFatalFailure()) FAIL() << "modes " << axisMode << " " << speedMode << " frame " << n;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, ConversionSafetyTest,
                         ::testing::Values(0, 1, 2, 3, 4, 5, 6, 100, 101, 102, 103, 104, 9999),
                         ::testing::PrintToStringParamName());

TEST(ConversionSafety, NonFiniteRequestCountsAsNeutral)
{
    AxisConverter converter;
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = Limits::quiet_NaN();
    p.pitch = Limits::infinity();
    p.surge = -Limits::infinity();
    converter.Convert(p, false, {4, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_EQ(p.roll, 0.0f);
    EXPECT_EQ(p.pitch, 0.0f);
    EXPECT_EQ(p.surge, 0.0f);
    EXPECT_EQ(p.axis1, 0.5f);

    // A non-finite ratio mixes nothing in.
    p = ZEPTASDK::DefaultZEPTAPacket();
    p.roll = 0.5f;
    p.sway = 0.5f;
    p.rotMR = Limits::quiet_NaN();
    p.graMR = 0.4f;
    converter.Convert(p, false, {3, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_EQ(p.roll, -0.2f);
    p.graMR = Limits::infinity();
    converter.Convert(p, false, {4, ZEPTA_AXIS_BASE, ZEPTA_SPEED_AS_WRITTEN}, kNow);
    EXPECT_EQ(p.sway, 0.0f);
}

}  // namespace
