#include "lan_fuzz_support.h"

#include <atomic>
#include <chrono>
#include <thread>

#include "fuzz_support.h"
#include "lan/lan_discovery.h"
#include "lan/udp_socket.h"

namespace zepta_fuzz {

namespace {

using namespace ZEPTASDK;

constexpr std::uint32_t kLoopback = 0x7F000001;
// How often the device looks whether discovery has ended.
constexpr std::chrono::milliseconds kPollInterval{1};

// The device's socket on the discovery port, opened once per process.
UdpSocket& DeviceSocket()
{
    static UdpSocket socket;
    static const bool bound = [] {
        RequireSandbox();
        return socket.Open() && socket.Bind({LanDiscovery::kAnyAddress, LanDiscovery::kDevicePort});
    }();
    Require(bound, "the device socket binds the discovery port");
    return socket;
}

// Answers one datagram if it is a ping; true when it was.
bool AnswerPing(UdpSocket& socket, const std::vector<std::string>& replies)
{
    char ping[64];
    Ipv4Endpoint from;
    const long size = socket.ReceiveFrom(ping, sizeof ping, &from);
    if (size < 0 || std::string(ping, static_cast<std::size_t>(size)) != LanDiscovery::kPing) return false;
    for (const std::string& reply : replies) socket.SendTo(reply.data(), reply.size(), from);
    return true;
}

}  // namespace

// Every ping is answered, not just the first: a discovery whose wait was cut
// short by a signal (libFuzzer's own timer) pings again, and a late ping of
// the previous input may arrive before this input's. The same replies again
// never change which one is chosen first.
std::unique_ptr<ControllerLAN> DiscoverWithReplies(const std::string& assignedSerial,
                                                   const std::vector<std::string>& replies)
{
    UdpSocket& socket = DeviceSocket();
    std::unique_ptr<ControllerLAN> controller;
    std::atomic<bool> done{false};
    std::thread discovery([&] {
        controller = std::make_unique<ControllerLAN>("FUZZ", assignedSerial);
        done = true;
    });
    bool answered = false;
    while (!done) {
        if (socket.WaitReadable(kPollInterval)) answered = AnswerPing(socket, replies) || answered;
    }
    discovery.join();
    Require(answered, "discovery pings the discovery port");
    return controller;
}

void SendToController(const std::string& datagram)
{
    DeviceSocket().SendTo(datagram.data(), datagram.size(), {kLoopback, LanDiscovery::kLocalPort});
}

}  // namespace zepta_fuzz
