#include "motion/speed_deriver.h"

#include <gtest/gtest.h>

#include <chrono>

#include "zepta/ZEPTA.hpp"

namespace {

using namespace std::chrono_literals;
using ZEPTASDK::SpeedDeriver;

constexpr int kDefault = ZEPTA_SPEED_DEFAULT;
constexpr int kFromMotion = ZEPTA_SPEED_FROM_MOTION;
constexpr int kAsWritten = ZEPTA_SPEED_AS_WRITTEN;
const SpeedDeriver::TimePoint kT0{std::chrono::hours(480000)};

_korve_data_packet Axes(float a1, float a2)
{
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.axis1 = a1, p.axis2 = a2, p.axis3 = 0.5f;
    return p;
}

void ExpectSpeeds(const _korve_data_packet& p, float a, float b, float c)
{
    const float want[] = {a, b, c};
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(ZEPTASDK::ReadSpeeds(p)[i], want[i], 1e-5) << "axis " << i + 1;
}

// Past its start period, having seen axes at 0.5 at time t.
struct Running {
    explicit Running(int mode = kFromMotion)
    {
        _korve_data_packet p = Axes(0.5f, 0.5f);
        deriver.Update(p, true, mode, false, 1.0f, kT0);
        deriver.Update(p, false, mode, false, 1.0f, t);
    }
    // One frame at t + later.
    _korve_data_packet Frame(_korve_data_packet p, std::chrono::nanoseconds later, int mode = kFromMotion,
                             bool derived = false, float gain = 1.0f)
    {
        deriver.Update(p, false, mode, derived, gain, t + later);
        return p;
    }
    SpeedDeriver deriver;
    SpeedDeriver::TimePoint t = kT0 + 10s;
};

TEST(SpeedDeriver, ResetStartsAThreeSecondPeriodOfGentleSpeeds)
{
    for (int mode : {kDefault, kFromMotion, kAsWritten}) {
        SpeedDeriver d;
        _korve_data_packet p = Axes(0.2f, 0.3f);
        p.speedAxis6 = 0.2f;
        d.Update(p, true, mode, false, 1.0f, kT0);
        ExpectSpeeds(p, 0.67f, 0.67f, 0.67f);
        EXPECT_EQ(p.speedAxis6, 0.67f);
        EXPECT_EQ(p.accelAxis, 1.0f);
    }
    SpeedDeriver d;
    _korve_data_packet p = Axes(0.2f, 0.3f);
    d.Update(p, true, kFromMotion, true, 1.0f, kT0);
    for (auto later : {1ms, 2999ms}) {
        p.speedAxis2 = 0.1f;
        d.Update(p, false, kFromMotion, true, 1.0f, kT0 + later);
        ExpectSpeeds(p, 0.67f, 0.67f, 0.67f);
        EXPECT_EQ(p.accelAxis, 0.05f);
    }
    // From three seconds on speeds are derived; axes without a previous value start at full speed.
    d.Update(p, false, kFromMotion, true, 1.0f, kT0 + 3s);
    ExpectSpeeds(p, 0.67f, 0.67f, 0.67f);
    EXPECT_EQ(p.accelAxis, 1.0f);
    p.axis1 = 0.21f;
    d.Update(p, false, kFromMotion, true, 1.0f, kT0 + 3100ms);
    ExpectSpeeds(p, 0.067f, 0.01f, 0.01f);
}

TEST(SpeedDeriver, SpeedIsTheMoveOverTheFrameTimeTimesTheGain)
{
    Running r;
    // 100 ms and 999 ns: whole microseconds only, so exactly 0.1 s.
    ExpectSpeeds(r.Frame(Axes(0.51f, 0.45f), 100ms + 999ns), 0.067f, 0.335f, 0.01f);
    ExpectSpeeds(r.Frame(Axes(0.52f, 0.4f), 200ms + 999ns, kFromMotion, false, 2.0f), 0.134f, 0.67f, 0.01f);
    // Frames closer than a millisecond, or going back in time, count as one millisecond.
    for (std::chrono::nanoseconds gap : {200ms + 999ns, 200ms + 400000ns, 100000000ns}) {
        Running again;
        again.Frame(Axes(0.5f, 0.5f), 200ms);
        EXPECT_NEAR(again.Frame(Axes(0.5001f, 0.5f), gap).speedAxis1, 0.067f, 1e-4);
    }
}

TEST(SpeedDeriver, FastMoveCarriesItsSurplusIntoTheNextFrames)
{
    Running r;
    // v = 0.67 / 0.1 * 0.15 = 1.005: speed 0.67, the surplus 0.335 is spent standing still.
    EXPECT_NEAR(r.Frame(Axes(0.65f, 0.5f), 100ms).speedAxis1, 0.67f, 1e-6);
    EXPECT_NEAR(r.Frame(Axes(0.65f, 0.5f), 200ms).speedAxis1, 0.335f, 1e-5);
    EXPECT_EQ(r.Frame(Axes(0.65f, 0.5f), 300ms).speedAxis1, 0.01f);
    // A very fast move carries at most 6.7: ten more frames at full speed.
    for (int n = 0; n <= 10; ++n) EXPECT_NEAR(r.Frame(Axes(0.05f, 0.5f), 310ms + n * 10ms).speedAxis1, 0.67f, 1e-5) << n;
    EXPECT_EQ(r.Frame(Axes(0.05f, 0.5f), 420ms).speedAxis1, 0.01f);
}

// Without derived axes the application's speeds and acceleration stand, and
// the carries sit at the ceiling so that the first derived frame starts fast.
TEST(SpeedDeriver, DefaultModeDerivesOnlyForDerivedAxes)
{
    Running r(kDefault);
    _korve_data_packet p = Axes(0.6f, 0.5f);
    p.speedAxis1 = 0.3f, p.accelAxis = 0.4f;
    p = r.Frame(p, 100ms, kDefault);
    ExpectSpeeds(p, 0.3f, 0.667f, 0.667f);
    EXPECT_EQ(p.accelAxis, 0.4f);
    for (int n = 0; n < 10; ++n) ExpectSpeeds(r.Frame(Axes(0.6f, 0.49f), 200ms + n * 10ms, kDefault, true), 0.67f, 0.67f, 0.67f);
    // Axis 2 moved 0.01 in 0.1 s on top of the ceiling: 0.067 left after ten frames.
    ExpectSpeeds(r.Frame(Axes(0.6f, 0.49f), 300ms, kDefault, true), 0.01f, 0.067f, 0.01f);
}

TEST(SpeedDeriver, AsWrittenModeLeavesSpeedsAndAccelerationAlone)
{
    _korve_data_packet p = Axes(0.9f, 0.1f);
    p.speedAxis1 = 0.25f, p.accelAxis = 0.33f;
    Running r(kAsWritten);
    SpeedDeriver inStartPeriod;
    _korve_data_packet reset = p;
    inStartPeriod.Update(reset, true, kAsWritten, true, 1.0f, kT0);
    inStartPeriod.Update(p, false, kAsWritten, true, 1.0f, kT0 + 1s);
    for (const auto& out : {p, r.Frame(p, 10ms, kAsWritten, true, 5.0f)}) {
        ExpectSpeeds(out, 0.25f, 0.667f, 0.667f);
        EXPECT_EQ(out.accelAxis, 0.33f);
    }
}

}  // namespace
