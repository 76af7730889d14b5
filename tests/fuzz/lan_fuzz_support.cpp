#include "lan_fuzz_support.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <thread>

#include "fuzz_check.h"

namespace zepta_fuzz {

namespace {

constexpr std::uint16_t kDevicePort = 33551;
constexpr std::uint16_t kControllerPort = 33552;
const std::string kPing = "KORVE-PING";
// Far longer than a discovery needs to bind and ping.
constexpr int kPingPatienceMs = 5000;

sockaddr_in Endpoint(std::uint32_t address, std::uint16_t port)
{
    sockaddr_in endpoint;
    std::memset(&endpoint, 0, sizeof endpoint);
    endpoint.sin_family = AF_INET;
    endpoint.sin_port = htons(port);
    endpoint.sin_addr.s_addr = htonl(address);
    return endpoint;
}

// The device's socket on the discovery port, opened once per process.
int DeviceSocket()
{
    static const int fd = [] {
        RequireSandbox();
        const int socketFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        Require(socketFd >= 0, "the device socket opens");
        const int enable = 1;
        setsockopt(socketFd, SOL_SOCKET, SO_REUSEADDR, &enable, sizeof enable);
        const sockaddr_in local = Endpoint(INADDR_ANY, kDevicePort);
        Require(bind(socketFd, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0,
                "the device socket binds the discovery port");
        return socketFd;
    }();
    return fd;
}

// Pings of an earlier discovery that listened for more than one round.
void DropStalePings(int fd)
{
    char stale[64];
    while (recv(fd, stale, sizeof stale, MSG_DONTWAIT) >= 0) {
    }
}

}  // namespace

std::unique_ptr<ZEPTASDK::ControllerLAN> DiscoverWithReplies(const std::string& assignedSerial,
                                                            const std::vector<std::string>& replies)
{
    const int fd = DeviceSocket();
    DropStalePings(fd);
    std::unique_ptr<ZEPTASDK::ControllerLAN> controller;
    std::thread discovery([&] { controller = std::make_unique<ZEPTASDK::ControllerLAN>("FUZZ", assignedSerial); });
    bool answered = false;
    pollfd readable{fd, POLLIN, 0};
    if (poll(&readable, 1, kPingPatienceMs) == 1) {
        char ping[64];
        sockaddr_in from;
        socklen_t fromSize = sizeof from;
        const ssize_t size = recvfrom(fd, ping, sizeof ping, 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
        answered = size >= 0 && std::string(ping, static_cast<std::size_t>(size)) == kPing;
        for (const std::string& reply : replies) {
            if (answered) sendto(fd, reply.data(), reply.size(), 0, reinterpret_cast<const sockaddr*>(&from), fromSize);
        }
    }
    discovery.join();
    Require(answered, "discovery pings the discovery port");
    return controller;
}

void SendToController(const std::string& datagram)
{
    const sockaddr_in to = Endpoint(INADDR_LOOPBACK, kControllerPort);
    sendto(DeviceSocket(), datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

}  // namespace zepta_fuzz
