#include "lan_fuzz_support.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <thread>

#include "fuzz_support.h"

namespace zepta_fuzz {

namespace {

constexpr std::uint16_t kDevicePort = 33551;
constexpr std::uint16_t kControllerPort = 33552;
const std::string kPing = "KORVE-PING";

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

// Tells this thread that the discovery thread has finished.
struct DonePipe {
    int read = -1;
    int write = -1;
};

const DonePipe& Done()
{
    static const DonePipe pipe = [] {
        int fds[2];
        Require(pipe2(fds, O_CLOEXEC) == 0, "a pipe can be made");
        return DonePipe{fds[0], fds[1]};
    }();
    return pipe;
}

// Answers one datagram if it is a ping; true when it was.
bool AnswerPing(int fd, const std::vector<std::string>& replies)
{
    char ping[64];
    sockaddr_in from;
    socklen_t fromSize = sizeof from;
    const ssize_t size = recvfrom(fd, ping, sizeof ping, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (size < 0 || std::string(ping, static_cast<std::size_t>(size)) != kPing) return false;
    for (const std::string& reply : replies) {
        sendto(fd, reply.data(), reply.size(), 0, reinterpret_cast<const sockaddr*>(&from), fromSize);
    }
    return true;
}

}  // namespace

// Every ping is answered, not just the first: a discovery whose wait was cut
// short by a signal (libFuzzer's own timer) pings again, and a late ping of
// the previous input may arrive before this input's. The same replies again
// never change which one is chosen first.
std::unique_ptr<ZEPTASDK::ControllerLAN> DiscoverWithReplies(const std::string& assignedSerial,
                                                            const std::vector<std::string>& replies)
{
    const int fd = DeviceSocket();
    const DonePipe& done = Done();
    std::unique_ptr<ZEPTASDK::ControllerLAN> controller;
    std::thread discovery([&] {
        controller = std::make_unique<ZEPTASDK::ControllerLAN>("FUZZ", assignedSerial);
        const char byte = 1;
        Require(write(done.write, &byte, 1) == 1, "the discovery thread reports its end");
    });
    bool answered = false;
    for (;;) {
        pollfd watched[] = {{fd, POLLIN, 0}, {done.read, POLLIN, 0}};
        if (poll(watched, 2, -1) < 1) continue;
        if ((watched[0].revents & POLLIN) != 0) answered = AnswerPing(fd, replies) || answered;
        if ((watched[1].revents & POLLIN) != 0) break;
    }
    char byte;
    Require(read(done.read, &byte, 1) == 1, "the end of discovery is read");
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
