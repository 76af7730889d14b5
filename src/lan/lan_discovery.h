// Discovery of motion devices on the local network: a "KORVE-PING" broadcast
// from the local port, answered by each device with "<model>-<serial>". The
// session's ControllerLAN selects one device with these pieces; tools list
// every device that answers with DiscoverLanDevices.
#ifndef ZEPTA_LAN_LAN_DISCOVERY_H
#define ZEPTA_LAN_LAN_DISCOVERY_H

#include <cstdint>
#include <string>
#include <vector>

#include "lan/udp_socket.h"
#include "zepta/zepta.h"

namespace ZEPTASDK {
namespace LanDiscovery {

inline const std::string kPing = "KORVE-PING";
constexpr std::uint32_t kAnyAddress = 0x00000000;        // 0.0.0.0
constexpr std::uint32_t kBroadcastAddress = 0xFFFFFFFF;  // 255.255.255.255
constexpr std::uint16_t kDevicePort = 33551;
constexpr std::uint16_t kLocalPort = 33552;
// A discovery pings this often, for devices that miss one.
constexpr int kPingRounds = 3;
// Longer replies are cut to this size.
constexpr std::size_t kReplyBytes = 128;

struct KnownModel {
    const char* name;
    ZEPTADeviceKind deviceType;
    const std::string& foundText;   // logged followed by the serial number
};

// The model whose name is exactly model; null for none.
const KnownModel* FindKnownModel(const std::string& model);

struct Reply {
    std::string model;
    std::string serial;
};

// The text of a datagram ends at its first NUL byte or at its last byte.
std::string DatagramText(const char* bytes, long received);
// "<model>-<serial>", empty pieces between hyphens skipped: "-A--B-" gives
// model A and serial B. False for fewer than two pieces.
bool ParseReply(const std::string& text, Reply& reply);
// "a.b.c.d" for an address in host byte order.
inline std::string DottedAddress(std::uint32_t address)
{
    return std::to_string(address >> 24) + "." + std::to_string((address >> 16) & 0xFF) + "." +
           std::to_string((address >> 8) & 0xFF) + "." + std::to_string(address & 0xFF);
}
// The local end of every discovery: any address, the local discovery port.
constexpr Ipv4Endpoint kLocalEndpoint{kAnyAddress, kLocalPort};
// Opens the socket with broadcast enabled and binds it to local.
bool OpenPingSocket(UdpSocket& socket, const Ipv4Endpoint& local);
void SendPing(UdpSocket& socket);

}  // namespace LanDiscovery

// One device that answered a discovery ping.
struct LanDeviceInfo {
    std::string model;
    unsigned deviceType = ZEPTA_DEVICE_NONE;   // the model's kind; none for a model the library does not drive
    std::string serialNumber;
    std::string address;       // the sender of the reply, "a.b.c.d"
};

// Broadcasts discovery pings from the local discovery port and collects every
// distinct answer that arrives within listenMs milliseconds, in the order of
// arrival. False, with nothing found, when the local port cannot be bound
// (for instance while a session's discovery holds it).
bool DiscoverLanDevices(int listenMs, std::vector<LanDeviceInfo>& devices);

}  // namespace ZEPTASDK

#endif
