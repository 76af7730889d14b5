// Decoding, in steady state, never touches the heap.
#include <gtest/gtest.h>

#include <array>

#include "support/allocation_counter.h"
#include "telemetry/telemetry_encoder.h"

namespace {

using zepta_ride::TelemetryFormat;

TEST(DecodeAllocation, EveryFormatDecodesWithoutHeapAllocation)
{
    constexpr std::array<TelemetryFormat, 6> kFormats{TelemetryFormat::Codemasters, TelemetryFormat::Forza,
                                                      TelemetryFormat::BeamNG,      TelemetryFormat::OutSim,
                                                      TelemetryFormat::XPlane,      TelemetryFormat::F1};
    std::array<std::array<std::uint8_t, zepta_ride::kMaxDatagramSize>, kFormats.size()> datagrams{};
    std::array<std::size_t, kFormats.size()> sizes{};
    const zepta_ride::MotionSample moving{-4.0, 6.0, 0.5, 0.2, 0.1, 0.4, 0.05, 0.03, 0.7, 25.0, true};
    for (std::size_t i = 0; i < kFormats.size(); ++i) {
        sizes[i] = zepta_ride::EncodeDatagram(kFormats[i], moving, datagrams[i].data(), datagrams[i].size());
    }
    zepta_ride::TelemetryDecoder decoder;
    zepta_ride::MotionSample sample;
    zepta_test::CountAllocationsOnThisThread();
    zepta_test::StartCountingAllocations();
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < kFormats.size(); ++i) decoder.Decode(datagrams[i].data(), sizes[i], sample);
        decoder.Decode(datagrams[0].data(), 7, sample);
    }
    EXPECT_EQ(zepta_test::StopCountingAllocations(), 0u);
    EXPECT_EQ(decoder.Decoded(), 3 * kFormats.size());
}

}  // namespace
