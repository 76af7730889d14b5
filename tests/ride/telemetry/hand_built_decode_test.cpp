// Datagrams laid out by hand at the offsets the games publish, decoded into
// exact fields of the common frame (x forward, y left, z up).
#include <gtest/gtest.h>

#include <cmath>

#include "datagram_builder.h"

namespace {

using zepta_ride::DecodeOutcome;
using zepta_ride::DropReason;
using zepta_ride::MotionSample;
using zepta_ride::TelemetryDecoder;
using zepta_ride::TelemetryFormat;
using zepta_ride_test::Datagram;

constexpr double kG = 9.80665;
constexpr double kDeg = 3.14159265358979323846 / 180.0;

void ExpectSample(const MotionSample& s, const MotionSample& expected, double tolerance)
{
    EXPECT_NEAR(s.accelFwd, expected.accelFwd, tolerance);
    EXPECT_NEAR(s.accelLeft, expected.accelLeft, tolerance);
    EXPECT_NEAR(s.accelUp, expected.accelUp, tolerance);
    EXPECT_NEAR(s.rollRate, expected.rollRate, tolerance);
    EXPECT_NEAR(s.pitchRate, expected.pitchRate, tolerance);
    EXPECT_NEAR(s.yawRate, expected.yawRate, tolerance);
    EXPECT_NEAR(s.roll, expected.roll, tolerance);
    EXPECT_NEAR(s.pitch, expected.pitch, tolerance);
    EXPECT_NEAR(s.yaw, expected.yaw, tolerance);
    EXPECT_NEAR(s.speed, expected.speed, tolerance);
    EXPECT_EQ(s.live, expected.live);
}

TEST(HandBuiltDatagrams, ForzaEveryLengthFlipsItsLeftHandedAxes)
{
    for (std::size_t size : {232u, 311u, 324u, 331u}) {
        Datagram d(size);
        d.S32(0, 1).F32(20, 2.0f).F32(24, 0.5f).F32(28, -3.0f);  // acceleration right, up, forward
        d.F32(32, 3.0f).F32(40, 4.0f);                           // velocity right, forward
        d.F32(44, 0.25f).F32(48, -0.5f).F32(52, 0.125f);         // pitch, yaw, roll rate
        d.F32(56, 1.0f).F32(60, 0.25f).F32(64, -0.5f);           // yaw, pitch, roll
        TelemetryDecoder decoder(TelemetryFormat::Forza);
        MotionSample s;
        ASSERT_TRUE(d.DecodeWith(decoder, s).decoded) << size;
        ExpectSample(s, {-3.0, -2.0, 0.5, -0.125, 0.25, 0.5, 0.5, 0.25, -1.0, 5.0, true}, 0.0);
        d.S32(0, 0);
        ASSERT_TRUE(d.DecodeWith(decoder, s).decoded);
        EXPECT_FALSE(s.live) << "IsRaceOn 0 is a menu or a pause";
    }
}

TEST(HandBuiltDatagrams, CodemastersAttitudeFromVectorsAndRatesFromTheirChange)
{
    const double roll = 0.2;
    // The extradata lengths, and the 2016/2017 F1 full packet before and
    // after its update, all recognised by their length.
    for (std::size_t size : {152u, 264u, 280u, 1237u, 1289u}) {
        Datagram d(size);
        d.F32(0, 10.0f).F32(28, 20.0f).F32(40, 20.0f);                              // time, speed, velocity z
        d.F32(44, static_cast<float>(-std::cos(roll))).F32(48, static_cast<float>(-std::sin(roll)));  // right
        d.F32(64, 1.0f);                                                            // forward +Z
        d.F32(136, 0.5f).F32(140, -1.0f);                                           // lateral, longitudinal g
        TelemetryDecoder decoder;
        MotionSample s;
        ASSERT_TRUE(d.DecodeWith(decoder, s).decoded) << size;
        ExpectSample(s, {-kG, 0.5 * kG, 0.0, 0.0, 0.0, 0.0, roll, 0.0, 0.0, 20.0, false}, 1e-6);
    }
    // A left turn: forward swings from +Z toward +X (the car's left at this
    // heading) while the car climbs at 1 m/s after 0.1 s.
    const double turn = 0.05;
    Datagram first(264), second(264);
    first.F32(0, 10.0f).F32(28, 20.0f).F32(40, 20.0f).F32(44, -1.0f).F32(64, 1.0f);
    second.F32(0, 10.1f).F32(28, 20.0f).F32(36, 1.0f).F32(40, 20.0f);
    second.F32(44, static_cast<float>(-std::cos(turn))).F32(52, static_cast<float>(std::sin(turn)));
    second.F32(56, static_cast<float>(std::sin(turn))).F32(64, static_cast<float>(std::cos(turn)));
    TelemetryDecoder decoder(TelemetryFormat::Codemasters);
    MotionSample s;
    first.DecodeWith(decoder, s);
    ASSERT_TRUE(second.DecodeWith(decoder, s).decoded);
    EXPECT_NEAR(s.yawRate, std::sin(turn) / 0.1, 1e-4);
    EXPECT_NEAR(s.yaw, turn, 1e-6);
    EXPECT_NEAR(s.accelUp, 10.0, 1e-3);
    EXPECT_TRUE(s.live);
}

TEST(HandBuiltDatagrams, BeamNGNegatedSensorAndAngleSenses)
{
    Datagram d(88);
    d.Text(0, "BNG1").F32(16, 3.0f).F32(20, 4.0f);                 // world velocity
    d.F32(28, 1.5f).F32(32, -2.0f).F32(36, 0.5f);                  // acceleration
    d.F32(52, 0.25f).F32(56, -0.125f).F32(60, 1.0f);               // roll, pitch, yaw
    d.F32(64, 0.5f).F32(68, 0.25f).F32(72, -0.75f);                // their rates
    TelemetryDecoder decoder(TelemetryFormat::BeamNG);
    MotionSample s;
    ASSERT_TRUE(d.DecodeWith(decoder, s).decoded);
    ExpectSample(s, {-2.0, -1.5, -0.5, -0.5, 0.25, 0.75, 0.25, -0.125, 1.0, 5.0, true}, 0.0);
}

TEST(HandBuiltDatagrams, OutSimWorldValuesRotateIntoTheCar)
{
    // Heading 90 degrees: the car faces world -X, its right is world +Y.
    Datagram d(68);
    d.U32(0, 1000).F32(8, 0.3f).F32(12, 0.5f).F32(16, static_cast<float>(90 * kDeg));
    d.F32(28, -3.0f).F32(32, 2.0f).F32(36, 0.5f).F32(40, -20.0f).S32(64, 7);
    TelemetryDecoder decoder(TelemetryFormat::OutSim);
    MotionSample s;
    ASSERT_TRUE(d.DecodeWith(decoder, s).decoded);
    ExpectSample(s, {3.0, -2.0, 0.5, 0.0, -0.3, 0.5, 0.0, 0.0, 90 * kDeg, 20.0, false}, 1e-6);

    d.U32(0, 1010);
    d.DecodeWith(decoder, s);
    EXPECT_TRUE(s.live) << "the clock moved";
    d.DecodeWith(decoder, s);
    EXPECT_FALSE(s.live) << "the clock stood still";

    Datagram tilted(64);
    tilted.F32(20, 0.1f).F32(24, 0.2f);  // nose up, right side down
    ASSERT_TRUE(tilted.DecodeWith(decoder, s).decoded);
    EXPECT_DOUBLE_EQ(s.pitch, -0.1f);
    EXPECT_DOUBLE_EQ(s.roll, 0.2f);
}

Datagram XPlaneRows(float pitchDeg, float axial, float normal)
{
    Datagram d(5 + 5 * 36);
    d.Text(0, "DATA").U8(4, '@');
    d.S32(5, 16).F32(9, 10.0f).F32(13, 5.0f).F32(17, -20.0f);            // P, Q, R deg/s
    d.S32(41, 20).F32(45, 47.5f);                                        // lat/lon row, ignored
    d.S32(77, 3).F32(93, 100.0f);                                        // ground speed, kt
    d.S32(113, 4).F32(133, normal).F32(137, axial).F32(141, 0.5f);       // load factors
    d.S32(149, 17).F32(153, pitchDeg).F32(157, 0.0f).F32(161, 90.0f);    // pitch, roll, heading
    return d;
}

TEST(HandBuiltDatagrams, XPlaneRowsByIndexWithGravityTakenOut)
{
    TelemetryDecoder decoder(TelemetryFormat::XPlane);
    MotionSample s;
    ASSERT_TRUE(XPlaneRows(0.0f, 0.25f, 1.0f).DecodeWith(decoder, s).decoded);
    ExpectSample(s, {0.25 * kG, -0.5 * kG, 0.0, 10 * kDeg, -5 * kDeg, 20 * kDeg, 0.0, 0.0, -90 * kDeg,
                     100 * 1852.0 / 3600.0, true}, 1e-5);
    // A steady 30-degree climb: the load factors are gravity alone.
    ASSERT_TRUE(XPlaneRows(30.0f, 0.5f, static_cast<float>(std::sqrt(0.75))).DecodeWith(decoder, s).decoded);
    EXPECT_NEAR(s.accelFwd, 0.0, 1e-5);
    EXPECT_NEAR(s.accelLeft, -0.5 * kG, 1e-5);
    EXPECT_NEAR(s.accelUp, 0.0, 1e-5);
    EXPECT_NEAR(s.pitch, -30 * kDeg, 1e-6);
}

TEST(HandBuiltDatagrams, F1ReadsThePlayersCar)
{
    Datagram d(1349);
    d.U16(0, 2023).U8(2, 23).U8(6, 0).F32(15, 5.0f).U8(27, 1).U8(28, 255);
    d.F32(29 + 40, 3.0f);                                       // car 0, not the player
    const std::size_t car = 29 + 60;
    d.F32(car + 12, 3.0f).F32(car + 20, 4.0f);                  // world velocity
    d.S16(car + 28, 32767).S16(car + 30, -32767);               // forward +Z, right -X
    d.F32(car + 36, 0.5f).F32(car + 40, -1.0f).F32(car + 44, 1.0f);
    d.F32(car + 48, 0.5f).F32(car + 52, 0.125f).F32(car + 56, -0.25f);
    TelemetryDecoder decoder(TelemetryFormat::F1);
    MotionSample s;
    ASSERT_TRUE(d.DecodeWith(decoder, s).decoded);
    ExpectSample(s, {-kG, 0.5 * kG, 0.0, 0.0, 0.0, 0.0, -0.25, 0.125, 0.5, 5.0, false}, 1e-6);

    Datagram motionEx(217);
    motionEx.U16(0, 2023).U8(2, 23).U8(6, 13);
    EXPECT_EQ(motionEx.DecodeWith(decoder, s).reason, DropReason::NotMotion);
}

// Before 2023 the header is shorter (2018: 21 bytes, player index at 20;
// 2020 to 2022: 24 bytes, player at 22), and the attitude comes from the
// direction vectors, not the fields: here the nose is up by asin(0.6).
TEST(HandBuiltDatagrams, OlderF1HeadersReadThePlayersCarAndItsVectors)
{
    const std::int16_t up = 19660;     // 0.6 of 32767
    const std::int16_t ahead = 26214;  // 0.8 of 32767
    struct Year {
        int format;
        std::size_t size, player, car;
    };
    for (const Year& year : {Year{2018, 1341, 20, 21 + 60}, Year{2022, 1464, 22, 24 + 60}}) {
        Datagram d(year.size);
        d.U16(0, static_cast<std::uint16_t>(year.format)).U8(year.player, 1);
        d.F32(year.car + 20, 4.0f);  // world velocity, forward
        d.S16(year.car + 26, up).S16(year.car + 28, ahead).S16(year.car + 30, -32767);
        d.F32(year.car + 36, 0.5f).F32(year.car + 40, -1.0f);
        d.F32(year.car + 48, 0.5f).F32(year.car + 52, 0.125f).F32(year.car + 56, -0.25f);  // not read
        TelemetryDecoder decoder;
        MotionSample s;
        const DecodeOutcome outcome = d.DecodeWith(decoder, s);
        ASSERT_TRUE(outcome.decoded) << year.format;
        EXPECT_EQ(outcome.format, TelemetryFormat::F1);
        ExpectSample(s, {-kG, 0.5 * kG, 0.0, 0.0, 0.0, 0.0, 0.0, -std::asin(0.6), 0.0, 4.0, false}, 1e-4);
    }
}

}  // namespace
