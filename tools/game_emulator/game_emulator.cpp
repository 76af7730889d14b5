#include "game_emulator/game_emulator.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace zepta_tools {

GameEmulator::GameEmulator(zepta_ride::TelemetryFormat format, Scenario scenario, std::uint16_t port)
    : format(format), vehicle(scenario), socketFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)), port(port)
{
    if (socketFd < 0) throw std::runtime_error(std::string("cannot open a UDP socket: ") + std::strerror(errno));
}

GameEmulator::~GameEmulator() { close(socketFd); }

bool GameEmulator::Send(double dt)
{
    const zepta_ride::MotionSample& sample = vehicle.Advance(dt);
    const std::size_t size =
        zepta_ride::EncodeDatagram(format, sample, vehicle.GameTime(), datagram.data(), datagram.size());
    if (size == 0) return false;
    // The game runs on this machine: the datagrams go to the loopback
    // address and nowhere else.
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const ssize_t written =
        sendto(socketFd, datagram.data(), size, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    if (written != static_cast<ssize_t>(size)) return false;
    ++sent;
    return true;
}

}  // namespace zepta_tools
