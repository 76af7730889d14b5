// Datagrams that are not motion, or whose values no vehicle can have, are
// dropped with their reason counted and the caller's sample left alone.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>

#include "datagram_builder.h"
#include "telemetry/telemetry_encoder.h"

namespace {

using zepta_ride::DropReason;
using zepta_ride::MotionSample;
using zepta_ride::TelemetryDecoder;
using zepta_ride::TelemetryFormat;
using zepta_ride_test::Datagram;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

Datagram Encoded(TelemetryFormat format)
{
    Datagram d(zepta_ride::kMaxDatagramSize);
    d.bytes.resize(EncodeDatagram(format, MotionSample{}, 1.0, d.bytes.data(), d.bytes.size()));
    return d;
}

// Decodes and expects a drop for `reason`, with `sample` untouched.
void ExpectDropped(TelemetryDecoder& decoder, const Datagram& d, DropReason reason, const std::string& what)
{
    MotionSample sample;
    sample.speed = 123.0;
    const zepta_ride::DecodeOutcome outcome = d.DecodeWith(decoder, sample);
    EXPECT_FALSE(outcome.decoded) << what;
    EXPECT_EQ(outcome.reason, reason) << what;
    EXPECT_EQ(sample.speed, 123.0) << what;
}

TEST(Rejection, WrongSizesAndMagicsPerFormat)
{
    TelemetryDecoder any;
    ExpectDropped(any, Datagram(0), DropReason::WrongSize, "empty");
    ExpectDropped(any, Datagram(100), DropReason::WrongSize, "no format is 100 bytes");
    ExpectDropped(any, Datagram(266), DropReason::WrongSize, "not a whole number of floats");
    ExpectDropped(any, Datagram(148), DropReason::WrongSize, "shorter than extradata 1");
    ExpectDropped(any, Datagram(87).Text(0, "BNG1"), DropReason::WrongSize, "short BeamNG");
    ExpectDropped(any, Datagram(40).Text(0, "DATA"), DropReason::WrongSize, "partial X-Plane record");
    ExpectDropped(any, Datagram(1348).U16(0, 2023).U8(2, 23), DropReason::WrongSize, "short F1 motion");
    ExpectDropped(any, Datagram(280).Text(0, "LFST"), DropReason::WrongMagic, "extended OutSim");
    ExpectDropped(any, Datagram(1464).U16(0, 2021).U8(5, 2), DropReason::NotMotion, "F1 2021 lap data");
    ExpectDropped(any, Datagram(1343).U16(0, 2018), DropReason::WrongSize, "F1 2019 motion size, 2018 header");
    ExpectDropped(any, Datagram(41).Text(0, "DATA").S32(5, 20), DropReason::NotMotion, "X-Plane position only");
    ExpectDropped(any, Datagram(1352).U16(0, 2024).U8(2, 24).U8(6, 6), DropReason::NotMotion, "F1 telemetry");
    ExpectDropped(any, Datagram(96).Text(4, "beam"), DropReason::NotMotion, "OutGauge");

    TelemetryDecoder beamng(TelemetryFormat::BeamNG);
    ExpectDropped(beamng, Datagram(88).Text(0, "BNG2"), DropReason::WrongMagic, "other BeamNG protocol");
    TelemetryDecoder f1(TelemetryFormat::F1);
    ExpectDropped(f1, Encoded(TelemetryFormat::Codemasters), DropReason::WrongMagic, "not an F1 header");
    TelemetryDecoder forza(TelemetryFormat::Forza);
    ExpectDropped(forza, Encoded(TelemetryFormat::Codemasters), DropReason::WrongSize, "264 is not Forza");
    TelemetryDecoder outsim(TelemetryFormat::OutSim);
    ExpectDropped(outsim, Datagram(65), DropReason::WrongSize, "65-byte OutSim");

    EXPECT_EQ(any.Dropped(DropReason::WrongSize), 8u);
    EXPECT_EQ(any.Dropped(DropReason::WrongMagic), 1u);
    EXPECT_EQ(any.Dropped(DropReason::NotMotion), 4u);
    EXPECT_EQ(any.Decoded(), 0u);
}

TEST(Rejection, NonFiniteAndAbsurdValuesAreCountedApart)
{
    TelemetryDecoder decoder;
    ExpectDropped(decoder, Encoded(TelemetryFormat::Forza).F32(20, kNaN), DropReason::NonFinite, "NaN accel");
    ExpectDropped(decoder, Encoded(TelemetryFormat::BeamNG).F32(72, kInf), DropReason::NonFinite, "inf yaw rate");
    ExpectDropped(decoder, Encoded(TelemetryFormat::Codemasters).F32(0, kNaN), DropReason::NonFinite, "NaN clock");
    ExpectDropped(decoder, Encoded(TelemetryFormat::OutSim).F32(40, kInf), DropReason::NonFinite, "inf velocity");
    ExpectDropped(decoder, Encoded(TelemetryFormat::F1).U8(27, 0).F32(29 + 12, kNaN), DropReason::NonFinite,
                  "NaN velocity of the F1 player's car");
    ExpectDropped(decoder, Encoded(TelemetryFormat::Forza).F32(28, 20.5f * 9.80665f), DropReason::Absurd, "20.5 g");
    ExpectDropped(decoder, Encoded(TelemetryFormat::Forza).F32(48, 20.5f), DropReason::Absurd, "20.5 rad/s");
    ExpectDropped(decoder, Encoded(TelemetryFormat::BeamNG).F32(28, 1e30f), DropReason::Absurd, "huge accel");
    ExpectDropped(decoder, Encoded(TelemetryFormat::XPlane).F32(21, 1e30f), DropReason::Absurd, "huge speed");
    ExpectDropped(decoder, Encoded(TelemetryFormat::Codemasters).F32(56, 3.0f), DropReason::Absurd,
                  "forward vector of length 3");
    ExpectDropped(decoder, Encoded(TelemetryFormat::F1).U8(27, 22), DropReason::Absurd, "no 23rd car");
    EXPECT_EQ(decoder.Dropped(DropReason::NonFinite), 5u);
    EXPECT_EQ(decoder.Dropped(DropReason::Absurd), 6u);

    MotionSample s;
    ASSERT_TRUE(Encoded(TelemetryFormat::Forza).F32(28, 19.5f * 9.80665f).DecodeWith(decoder, s).decoded);
    EXPECT_EQ(decoder.Decoded(), 1u);
}

TEST(Rejection, GarbageOfEveryLengthIsDecodedOrCountedNeverMore)
{
    std::array<std::uint8_t, 1500> bytes{};
    std::uint32_t state = 12345;
    TelemetryDecoder decoder;
    MotionSample s;
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
        if (decoder.Decode(bytes.data(), size, s).decoded) {
            EXPECT_LE(std::fabs(s.accelFwd), 20 * 9.80665);
            EXPECT_LE(std::fabs(s.yawRate), 20.0);
        }
    }
    std::uint64_t total = decoder.Decoded();
    for (DropReason r : {DropReason::WrongSize, DropReason::WrongMagic, DropReason::NotMotion,
                         DropReason::NonFinite, DropReason::Absurd}) {
        total += decoder.Dropped(r);
    }
    EXPECT_EQ(total, bytes.size() + 1);
    EXPECT_EQ(decoder.Decode(nullptr, 64, s).reason, DropReason::WrongSize);
}

TEST(Rejection, NamesPortsAndParsing)
{
    const std::array<std::pair<TelemetryFormat, std::uint16_t>, 6> formats{{
        {TelemetryFormat::Codemasters, 20777}, {TelemetryFormat::Forza, 5300}, {TelemetryFormat::BeamNG, 4444},
        {TelemetryFormat::OutSim, 4444}, {TelemetryFormat::XPlane, 49001}, {TelemetryFormat::F1, 20777}}};
    for (const auto& [format, port] : formats) {
        TelemetryFormat parsed = TelemetryFormat::Forza;
        EXPECT_TRUE(zepta_ride::ParseFormatName(zepta_ride::FormatName(format), parsed));
        EXPECT_EQ(parsed, format);
        EXPECT_EQ(zepta_ride::DefaultPort(format), port);
    }
    EXPECT_STREQ(zepta_ride::FormatName(TelemetryFormat::XPlane), "xplane");
    TelemetryFormat unchanged = TelemetryFormat::OutSim;
    EXPECT_FALSE(zepta_ride::ParseFormatName("Forza", unchanged));
    EXPECT_EQ(unchanged, TelemetryFormat::OutSim);
    EXPECT_STREQ(zepta_ride::DropReasonName(DropReason::WrongSize), "size");
    EXPECT_STREQ(zepta_ride::DropReasonName(DropReason::WrongMagic), "magic");
    EXPECT_STREQ(zepta_ride::DropReasonName(DropReason::NotMotion), "not-motion");
    EXPECT_STREQ(zepta_ride::DropReasonName(DropReason::NonFinite), "non-finite");
    EXPECT_STREQ(zepta_ride::DropReasonName(DropReason::Absurd), "absurd");
}

}  // namespace
