// Encoded then decoded, every format gives back the motion it was given: the
// encoder's and decoder's frame and sign conversions agree, and a braking
// left turn with the right side down keeps its signs through each game.
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "telemetry/telemetry_encoder.h"

namespace {

using zepta_ride::EncodeDatagram;
using zepta_ride::MotionSample;
using zepta_ride::TelemetryDecoder;
using zepta_ride::TelemetryFormat;

constexpr std::array<TelemetryFormat, 6> kAllFormats{TelemetryFormat::Codemasters, TelemetryFormat::Forza,
                                                     TelemetryFormat::BeamNG,      TelemetryFormat::OutSim,
                                                     TelemetryFormat::XPlane,      TelemetryFormat::F1};

// Braking (accelFwd < 0) in a left turn (yawRate > 0, accelLeft > 0) with the
// body rolled onto its right side (roll > 0).
MotionSample BrakingLeftTurn()
{
    return {-4.0, 6.0, 0.5, 0.2, 0.1, 0.4, 0.05, 0.03, 0.7, 25.0, true};
}

MotionSample RoundTrip(TelemetryDecoder& decoder, TelemetryFormat format, const MotionSample& in, double time)
{
    std::array<std::uint8_t, zepta_ride::kMaxDatagramSize> buffer{};
    const std::size_t size = EncodeDatagram(format, in, time, buffer.data(), buffer.size());
    MotionSample out;
    EXPECT_TRUE(decoder.Decode(buffer.data(), size, out).decoded) << zepta_ride::FormatName(format);
    return out;
}

TEST(RoundTrip, FormatsThatSendRatesGiveBackEveryField)
{
    const MotionSample in = BrakingLeftTurn();
    for (TelemetryFormat format : {TelemetryFormat::Forza, TelemetryFormat::BeamNG, TelemetryFormat::OutSim,
                                   TelemetryFormat::XPlane}) {
        SCOPED_TRACE(zepta_ride::FormatName(format));
        TelemetryDecoder decoder;
        RoundTrip(decoder, format, in, 1.0);
        const MotionSample out = RoundTrip(decoder, format, in, 1.02);
        EXPECT_NEAR(out.accelFwd, in.accelFwd, 1e-4);
        EXPECT_NEAR(out.accelLeft, in.accelLeft, 1e-4);
        EXPECT_NEAR(out.accelUp, in.accelUp, 1e-4);
        EXPECT_NEAR(out.rollRate, in.rollRate, 1e-5);
        EXPECT_NEAR(out.pitchRate, in.pitchRate, 1e-5);
        EXPECT_NEAR(out.yawRate, in.yawRate, 1e-5);
        EXPECT_NEAR(out.roll, in.roll, 1e-5);
        EXPECT_NEAR(out.pitch, in.pitch, 1e-5);
        EXPECT_NEAR(out.yaw, in.yaw, 1e-5);
        EXPECT_NEAR(out.speed, in.speed, 1e-3);
        EXPECT_TRUE(out.live);
    }
}

// Body rates of a path along which roll, pitch and yaw change at these rates,
// halfway through a step that starts level.
zepta_ride::MotionSample BodyRatesHalfway(const MotionSample& eulerRates, double dt)
{
    const double roll = 0.5 * eulerRates.rollRate * dt, pitch = 0.5 * eulerRates.pitchRate * dt;
    MotionSample body = eulerRates;
    body.rollRate = eulerRates.rollRate - eulerRates.yawRate * std::sin(pitch);
    body.pitchRate = eulerRates.pitchRate * std::cos(roll) + eulerRates.yawRate * std::sin(roll) * std::cos(pitch);
    body.yawRate = -eulerRates.pitchRate * std::sin(roll) + eulerRates.yawRate * std::cos(roll) * std::cos(pitch);
    return body;
}

// From level, 50 ms of turning: the rates come back from the change of the
// direction vectors, and pitching nose down at speed bends the path downward,
// so vertical acceleration is -speed * pitch rate.
TEST(RoundTrip, FormatsWithoutRatesDeriveThemFromSuccessiveDatagrams)
{
    const double dt = 0.05;
    MotionSample start = BrakingLeftTurn();
    start.roll = start.pitch = start.yaw = 0.0;
    MotionSample next = start;
    next.roll = start.rollRate * dt;
    next.pitch = start.pitchRate * dt;
    next.yaw = start.yawRate * dt;
    const MotionSample body = BodyRatesHalfway(start, dt);
    for (TelemetryFormat format : {TelemetryFormat::Codemasters, TelemetryFormat::F1}) {
        SCOPED_TRACE(zepta_ride::FormatName(format));
        TelemetryDecoder decoder;
        EXPECT_FALSE(RoundTrip(decoder, format, start, 3.0).live) << "no clock step yet";
        const MotionSample out = RoundTrip(decoder, format, next, 3.0 + dt);
        EXPECT_NEAR(out.accelFwd, start.accelFwd, 1e-4);
        EXPECT_NEAR(out.accelLeft, start.accelLeft, 1e-4);
        // Direction vectors in F1 are 16-bit, which limits the derivatives.
        EXPECT_NEAR(out.accelUp, -start.speed * body.pitchRate, 2e-3);
        EXPECT_NEAR(out.rollRate, body.rollRate, 5e-4);
        EXPECT_NEAR(out.pitchRate, body.pitchRate, 5e-4);
        EXPECT_NEAR(out.yawRate, body.yawRate, 5e-4);
        EXPECT_NEAR(out.roll, next.roll, 1e-4);
        EXPECT_NEAR(out.pitch, next.pitch, 1e-4);
        EXPECT_NEAR(out.yaw, next.yaw, 1e-4);
        EXPECT_NEAR(out.speed, start.speed, 1e-3);
        EXPECT_TRUE(out.live);
    }
}

TEST(RoundTrip, AutoDetectionNamesEveryFormat)
{
    std::array<std::uint8_t, zepta_ride::kMaxDatagramSize> buffer{};
    TelemetryDecoder decoder;
    for (TelemetryFormat format : kAllFormats) {
        const std::size_t size = EncodeDatagram(format, BrakingLeftTurn(), buffer.data(), buffer.size());
        MotionSample out;
        const zepta_ride::DecodeOutcome outcome = decoder.Decode(buffer.data(), size, out);
        EXPECT_TRUE(outcome.decoded) << zepta_ride::FormatName(format);
        EXPECT_EQ(outcome.format, format) << zepta_ride::FormatName(format);
    }
    EXPECT_EQ(decoder.Decoded(), kAllFormats.size());
}

TEST(RoundTrip, EncoderRefusesASmallBuffer)
{
    std::array<std::uint8_t, 100> small{};
    EXPECT_EQ(EncodeDatagram(TelemetryFormat::Forza, {}, small.data(), small.size()), 0u);
    EXPECT_EQ(EncodeDatagram(TelemetryFormat::BeamNG, {}, small.data(), small.size()), 88u);
}

}  // namespace
