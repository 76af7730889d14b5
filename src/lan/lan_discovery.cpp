#include "lan/lan_discovery.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "lan/device_types.h"

namespace ZEPTASDK {
namespace LanDiscovery {

namespace {

const std::string kPing = "KORVE-PING";
constexpr char kReplySeparator = '-';

const std::string kLanDeviceFound = "LAN device found: ";
const std::string kQx200Found = "QX200 LAN device found: ";
const std::string kQx500Found = "QX500 LAN device found: ";
const std::string kMossPodFound = "MOSSPOD device found: ";
const std::string kKickboardFound = "LAN OEM KB device found: ";
const std::string kGrandeFound = "OXB KB device found: ";

// Looked up in this order; the first exact match wins.
const KnownModel kKnownModels[] = {
    {"KORVE2DOF", LanDevice::kKorve2Dof, kLanDeviceFound},
    {"KORVE4DOF", LanDevice::kKorve4Dof, kLanDeviceFound},
    {"KORVE6DOF", LanDevice::kKorve6Dof, kLanDeviceFound},
    {"KORVEGRANDEQX", LanDevice::kKorveGrandeQx, kQx200Found},
    {"KORVEGRANDE500QX", LanDevice::kKorveGrande500Qx, kQx500Found},
    {"MOSSPOD", LanDevice::kMossPod, kMossPodFound},
    {"KORVEKICKBOARDQX", LanDevice::kKorveKickboardQx, kKickboardFound},
    {"KORVEGRANDE", LanDevice::kKorveGrande, kGrandeFound},
};

}  // namespace

const KnownModel* FindKnownModel(const std::string& model)
{
    for (const KnownModel& known : kKnownModels) {
        if (model == known.name) return &known;
    }
    return nullptr;
}

std::string DatagramText(const char* bytes, long received)
{
    return std::string(bytes, strnlen(bytes, static_cast<std::size_t>(received)));
}

bool ParseReply(const std::string& text, Reply& reply)
{
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start <= text.size() && pieces.size() < 2) {
        std::size_t end = text.find(kReplySeparator, start);
        if (end == std::string::npos) end = text.size();
        if (end > start) pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    if (pieces.size() < 2) return false;
    reply.model = pieces[0];
    reply.serial = pieces[1];
    return true;
}

bool OpenPingSocket(UdpSocket& socket, const Ipv4Endpoint& local)
{
    if (!socket.Open()) return false;
    socket.EnableBroadcast();
    return socket.Bind(local);
}

void SendPing(UdpSocket& socket)
{
    socket.SendTo(kPing.data(), kPing.size(), Ipv4Endpoint{kBroadcastAddress, kDevicePort});
}

}  // namespace LanDiscovery

namespace {

// Pings at the start and twice more while listening, for devices that miss one.
constexpr int kPingRounds = 3;
// Bounds the list when something floods the port with different replies.
constexpr std::size_t kMaxDevices = 256;

bool IsKnown(const std::vector<LanDeviceInfo>& devices, const LanDeviceInfo& device)
{
    return std::any_of(devices.begin(), devices.end(), [&device](const LanDeviceInfo& seen) {
        return seen.model == device.model && seen.serialNumber == device.serialNumber &&
               seen.address == device.address;
    });
}

void AddReply(const char* bytes, long received, const Ipv4Endpoint& from, std::vector<LanDeviceInfo>& devices)
{
    LanDiscovery::Reply reply;
    if (received < 1 || !LanDiscovery::ParseReply(LanDiscovery::DatagramText(bytes, received), reply)) return;
    LanDeviceInfo device;
    const LanDiscovery::KnownModel* known = LanDiscovery::FindKnownModel(reply.model);
    device.deviceType = known != nullptr ? known->deviceType : LanDevice::kNone;
    device.model = std::move(reply.model);
    device.serialNumber = std::move(reply.serial);
    device.address = LanDiscovery::DottedAddress(from.address);
    if (devices.size() < kMaxDevices && !IsKnown(devices, device)) devices.push_back(std::move(device));
}

}  // namespace

bool DiscoverLanDevices(int listenMs, std::vector<LanDeviceInfo>& devices)
{
    using Clock = std::chrono::steady_clock;
    devices.clear();
    UdpSocket socket;
    if (!LanDiscovery::OpenPingSocket(socket, {LanDiscovery::kAnyAddress, LanDiscovery::kLocalPort})) return false;
    const auto listen = std::chrono::milliseconds(std::max(listenMs, 0));
    const Clock::time_point start = Clock::now();
    char reply[LanDiscovery::kReplyBytes];
    for (int round = 0; round < kPingRounds; ++round) {
        LanDiscovery::SendPing(socket);
        const Clock::time_point roundEnd = start + listen * (round + 1) / kPingRounds;
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(roundEnd - Clock::now());
            if (left.count() <= 0 || !socket.WaitReadable(left)) break;
            Ipv4Endpoint from;
            const long received = socket.ReceiveFrom(reply, sizeof reply, &from);
            AddReply(reply, received, from, devices);
        }
    }
    return true;
}

}  // namespace ZEPTASDK
