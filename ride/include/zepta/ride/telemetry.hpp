// Telemetry decoders: one UDP datagram from a racing or flight game in, one
// MotionSample in the common frame out, or a counted reason to drop it.
#ifndef ZEPTA_RIDE_TELEMETRY_HPP
#define ZEPTA_RIDE_TELEMETRY_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "zepta/ride/motion_sample.hpp"

namespace zepta_ride {

enum class TelemetryFormat { Codemasters, Forza, BeamNG, OutSim, XPlane, F1 };

// "codemasters", "forza", "beamng", "outsim", "xplane", "f1".
const char* FormatName(TelemetryFormat format);
// Sets `format` and returns true when `name` is one of the names above.
bool ParseFormatName(const std::string& name, TelemetryFormat& format);
// The port the game sends to unless the player changes it.
std::uint16_t DefaultPort(TelemetryFormat format);

// NotMotion: a valid datagram that carries no motion, such as an F1 packet
// other than the motion packet or X-Plane data without the motion rows.
enum class DropReason { WrongSize, WrongMagic, NotMotion, NonFinite, Absurd };
constexpr std::size_t kDropReasonCount = 5;

// "size", "magic", "not-motion", "non-finite", "absurd".
const char* DropReasonName(DropReason reason);

// `format` is the format the datagram was taken for; one that fits no format
// is reported as codemasters, the format recognised by size alone. `reason`
// means something only when `decoded` is false.
struct DecodeOutcome {
    bool decoded;
    DropReason reason;
    TelemetryFormat format;
};

class TelemetryDecoder {
public:
    // Recognises the format of each datagram by its magic and size.
    TelemetryDecoder();
    // Accepts only this format.
    explicit TelemetryDecoder(TelemetryFormat only);
    ~TelemetryDecoder();
    TelemetryDecoder(TelemetryDecoder&&) noexcept;
    TelemetryDecoder& operator=(TelemetryDecoder&&) noexcept;
    TelemetryDecoder(const TelemetryDecoder&) = delete;
    TelemetryDecoder& operator=(const TelemetryDecoder&) = delete;

    // Decodes one datagram into `sample`; on a drop `sample` is untouched and
    // the reason is counted. Never allocates, never reads out of bounds.
    // Formats that send no angular velocity get their rates from successive
    // datagrams, so feed one decoder one game's stream in order.
    // A value beyond 20 g or 20 rad/s, or one not finite, drops the datagram.
    DecodeOutcome Decode(const std::uint8_t* data, std::size_t size, MotionSample& sample);

    std::uint64_t Dropped(DropReason reason) const;
    std::uint64_t Decoded() const;

private:
    struct Formats;

    DecodeOutcome DecodeAs(TelemetryFormat format, const std::uint8_t* data, std::size_t size,
                           MotionSample& sample);
    DecodeOutcome DecodeRecognised(const std::uint8_t* data, std::size_t size,
                                   MotionSample& sample);

    std::unique_ptr<Formats> formats;
    bool autoDetect;
    TelemetryFormat only;
    std::array<std::uint64_t, kDropReasonCount> dropped{};
    std::uint64_t decoded = 0;
};

}  // namespace zepta_ride

#endif
