#include "lan/lan_discovery.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace ZEPTASDK {
namespace LanDiscovery {

namespace {

constexpr char kReplySeparator = '-';
constexpr std::size_t kReplyPieces = 2;

const std::string kLanDeviceFound = "LAN device found: ";
const std::string kQx200Found = "QX200 LAN device found: ";
const std::string kQx500Found = "QX500 LAN device found: ";
const std::string kMossPodFound = "MOSSPOD device found: ";
const std::string kKickboardFound = "LAN OEM KB device found: ";
const std::string kGrandeFound = "OXB KB device found: ";

// Looked up in this order; the first exact match wins.
const KnownModel kKnownModels[] = {
    {"KORVE2DOF", ZEPTA_DEVICE_KORVE_2DOF, kLanDeviceFound},
    {"KORVE4DOF", ZEPTA_DEVICE_KORVE_4DOF, kLanDeviceFound},
    {"KORVE6DOF", ZEPTA_DEVICE_KORVE_6DOF, kLanDeviceFound},
    {"KORVEGRANDEQX", ZEPTA_DEVICE_GRANDE_QX, kQx200Found},
    {"KORVEGRANDE500QX", ZEPTA_DEVICE_GRANDE_500QX, kQx500Found},
    {"MOSSPOD", ZEPTA_DEVICE_MOSSPOD, kMossPodFound},
    {"KORVEKICKBOARDQX", ZEPTA_DEVICE_KICKBOARD_QX, kKickboardFound},
    {"KORVEGRANDE", ZEPTA_DEVICE_GRANDE, kGrandeFound},
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
    while (start <= text.size() && pieces.size() < kReplyPieces) {
        std::size_t end = text.find(kReplySeparator, start);
        if (end == std::string::npos) end = text.size();
        if (end > start) pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    if (pieces.size() < kReplyPieces) return false;
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

using Clock = std::chrono::steady_clock;

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
    device.deviceType = known != nullptr ? known->deviceType : ZEPTA_DEVICE_NONE;
    device.model = std::move(reply.model);
    device.serialNumber = std::move(reply.serial);
    device.address = LanDiscovery::DottedAddress(from.address);
    if (devices.size() < kMaxDevices && !IsKnown(devices, device)) devices.push_back(std::move(device));
}

// Takes every reply that arrives before roundEnd.
void ListenUntil(UdpSocket& socket, Clock::time_point roundEnd, std::vector<LanDeviceInfo>& devices)
{
    char reply[LanDiscovery::kReplyBytes];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(roundEnd - Clock::now());
        if (left.count() <= 0 || !socket.WaitReadable(left)) return;
        Ipv4Endpoint from;
        const long received = socket.ReceiveFrom(reply, sizeof reply, &from);
        AddReply(reply, received, from, devices);
    }
}

}  // namespace

// The listening time is shared out evenly: each ping starts its round.
bool DiscoverLanDevices(int listenMs, std::vector<LanDeviceInfo>& devices)
{
    devices.clear();
    UdpSocket socket;
    if (!LanDiscovery::OpenPingSocket(socket, LanDiscovery::kLocalEndpoint)) return false;
    const auto listen = std::chrono::milliseconds(std::max(listenMs, 0));
    const Clock::time_point start = Clock::now();
    for (int round = 0; round < LanDiscovery::kPingRounds; ++round) {
        LanDiscovery::SendPing(socket);
        ListenUntil(socket, start + listen * (round + 1) / LanDiscovery::kPingRounds, devices);
    }
    return true;
}

}  // namespace ZEPTASDK
