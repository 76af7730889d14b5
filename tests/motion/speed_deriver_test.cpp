#include "motion/speed_deriver.h"

#include <gtest/gtest.h>

#include <chrono>

#include "zepta/ZEPTA.hpp"

namespace {

using namespace std::chrono_literals;
using ZEPTASDK::SpeedDeriver;

const SpeedDeriver::TimePoint kT0{std::chrono::hours(480000)};

// Reset at kT0, axes at 0.5 ten seconds later; Step converts at kT0 + 10 s + later.
struct Deriver {
    explicit Deriver(int speedMode = ZEPTA_SPEED_FROM_MOTION) : mode(speedMode)
    {
        Step(0.5f, 0.5f, -10s, true);
        Step(0.5f, 0.5f, 0s);
    }
    _korve_data_packet Step(float a1, float a2, std::chrono::nanoseconds later, bool reset = false, bool derived = false,
                            float gain = 1.0f)
    {
        packet.axis1 = a1, packet.axis2 = a2;
        deriver.Update(packet, reset, mode, derived, gain, kT0 + 10s + later);
        return packet;
    }
    void Expect(float s1, float s2, float s3, float acceleration) const
    {
        const float want[] = {s1, s2, s3};
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(ZEPTASDK::ReadSpeeds(packet)[i], want[i], 1e-5) << i + 1;
        EXPECT_EQ(packet.accelAxis, acceleration);
    }
    int mode;
    SpeedDeriver deriver;
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
};

// Reset: full speed (0.67) at acceleration 1, then three seconds of full speed
// at 0.05; axes without a previous value start at full speed.
TEST(SpeedDeriver, ResetStartsAThreeSecondPeriodOfGentleSpeeds)
{
    Deriver d;
    d.Step(0.2f, 0.3f, 0s, true, true);
    d.Expect(0.67f, 0.67f, 0.67f, 1.0f);
    EXPECT_EQ(d.packet.speedAxis6, 0.67f);
    for (auto later : {1ms, 2999ms, 3000ms}) {
        d.packet.speedAxis2 = 0.1f;
        d.Step(0.2f, 0.3f, later, false, true);
        d.Expect(0.67f, 0.67f, 0.67f, later < 3s ? 0.05f : 1.0f);
    }
    d.Step(0.21f, 0.3f, 3100ms, false, true);
    d.Expect(0.067f, 0.01f, 0.01f, 1.0f);
}

// v = 0.67 / dt * move * gain + carry, sent within 0.01..0.67; up to 6.7 more is carried.
TEST(SpeedDeriver, SpeedIsTheMoveOverTheFrameTimeTimesTheGainPlusTheCarry)
{
    Deriver d;
    d.Step(0.51f, 0.45f, 100ms + 999ns);  // whole microseconds only: exactly 0.1 s
    d.Expect(0.067f, 0.335f, 0.01f, 1.0f);
    d.Step(0.52f, 0.4f, 200ms + 999ns, false, false, 2.0f);
    d.Expect(0.134f, 0.67f, 0.01f, 1.0f);
    d.Step(0.5201f, 0.4f, 100ms);  // back in time: counts as one millisecond
    EXPECT_NEAR(d.packet.speedAxis1, 0.067f, 1e-4);
    // 0.15 in 0.1 s is 1.005: full speed, then 0.335 standing still.
    Deriver fast;
    EXPECT_NEAR(fast.Step(0.65f, 0.5f, 100ms).speedAxis1, 0.67f, 1e-6);
    EXPECT_NEAR(fast.Step(0.65f, 0.5f, 200ms).speedAxis1, 0.335f, 1e-5);
    EXPECT_EQ(fast.Step(0.65f, 0.5f, 300ms).speedAxis1, 0.01f);
    // A very fast move carries at most 6.7: ten more frames at full speed.
    for (int n = 0; n <= 10; ++n) EXPECT_NEAR(fast.Step(0.05f, 0.5f, 310ms + n * 10ms).speedAxis1, 0.67f, 1e-5) << n;
    EXPECT_EQ(fast.Step(0.05f, 0.5f, 420ms).speedAxis1, 0.01f);
}

// Without derived axes the application's speeds stand and the carries sit at the
// ceiling, so the first derived frames run fast. As written nothing is touched.
TEST(SpeedDeriver, DefaultModeDerivesOnlyForDerivedAxesAndAsWrittenNever)
{
    Deriver d(ZEPTA_SPEED_DEFAULT), written(ZEPTA_SPEED_AS_WRITTEN);
    for (Deriver* each : {&d, &written}) {
        each->packet.speedAxis1 = 0.3f, each->packet.accelAxis = 0.4f;
        each->Step(0.6f, 0.5f, 100ms, false, each == &written);
        each->Expect(0.3f, 0.67f, 0.67f, 0.4f);
    }
    for (int n = 0; n < 10; ++n) EXPECT_NEAR(d.Step(0.6f, 0.49f, 200ms + n * 10ms, false, true).speedAxis3, 0.67f, 1e-5);
    // Axis 2 moved 0.01 in 0.1 s on top of the ceiling: 0.067 left after ten frames.
    d.Step(0.6f, 0.49f, 300ms, false, true);
    d.Expect(0.01f, 0.067f, 0.01f, 1.0f);
    written.Step(0.9f, 0.1f, 0s, true);
    written.packet.speedAxis1 = 0.25f, written.packet.accelAxis = 0.33f;
    written.Step(0.9f, 0.1f, 1s, false, true, 5.0f);
    written.Expect(0.25f, 0.67f, 0.67f, 0.33f);
}

}  // namespace
