// An emulated game: drives a VehicleModel and sends its motion as the
// telemetry datagrams of one format, over UDP to 127.0.0.1 only.
#ifndef ZEPTA_TOOLS_GAME_EMULATOR_H
#define ZEPTA_TOOLS_GAME_EMULATOR_H

#include <array>
#include <cstdint>

#include "game_emulator/vehicle_model.h"
#include "telemetry/telemetry_encoder.h"
#include "zepta/ride/telemetry.hpp"

namespace zepta_tools {

class GameEmulator {
public:
    // Opens the sending socket; throws std::runtime_error when it cannot.
    GameEmulator(zepta_ride::TelemetryFormat format, Scenario scenario, std::uint16_t port);
    ~GameEmulator();
    GameEmulator(const GameEmulator&) = delete;
    GameEmulator& operator=(const GameEmulator&) = delete;

    // Advances the vehicle by dt seconds and sends one datagram of its
    // motion; false when the datagram could not be sent (nobody may be
    // listening yet, which a game does not mind either).
    bool Send(double dt);

    std::uint64_t Sent() const { return sent; }
    const VehicleModel& Vehicle() const { return vehicle; }

private:
    zepta_ride::TelemetryFormat format;
    VehicleModel vehicle;
    int socketFd;
    std::uint16_t port;
    std::array<std::uint8_t, zepta_ride::kMaxDatagramSize> datagram{};
    std::uint64_t sent = 0;
};

}  // namespace zepta_tools

#endif
