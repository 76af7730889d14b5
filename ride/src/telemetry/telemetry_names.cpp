// Names and default ports of the formats and of the reasons to drop.
#include <array>

#include "zepta/ride/telemetry.hpp"

namespace zepta_ride {

namespace {

struct FormatInfo {
    TelemetryFormat format;
    const char* name;
    std::uint16_t port;
};

// Codemasters and F1 share 20777; BeamNG and LFS are both commonly set to 4444.
constexpr std::array<FormatInfo, 6> kFormats{{
    {TelemetryFormat::Codemasters, "codemasters", 20777},
    {TelemetryFormat::Forza, "forza", 5300},
    {TelemetryFormat::BeamNG, "beamng", 4444},
    {TelemetryFormat::OutSim, "outsim", 4444},
    {TelemetryFormat::XPlane, "xplane", 49001},
    {TelemetryFormat::F1, "f1", 20777},
}};

constexpr std::array<const char*, kDropReasonCount> kDropReasonNames{
    "size", "magic", "not-motion", "non-finite", "absurd"};

const FormatInfo& Info(TelemetryFormat format) { return kFormats[static_cast<std::size_t>(format)]; }

}  // namespace

const char* FormatName(TelemetryFormat format) { return Info(format).name; }

std::uint16_t DefaultPort(TelemetryFormat format) { return Info(format).port; }

bool ParseFormatName(const std::string& name, TelemetryFormat& format)
{
    for (const FormatInfo& info : kFormats) {
        if (name == info.name) {
            format = info.format;
            return true;
        }
    }
    return false;
}

const char* DropReasonName(DropReason reason) { return kDropReasonNames[static_cast<std::size_t>(reason)]; }

}  // namespace zepta_ride
