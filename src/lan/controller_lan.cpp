#include "lan/controller_lan.h"

#include <time.h>

#include <cerrno>
#include <utility>

#include "lan/lan_discovery.h"
#include "lan/update_messages.h"
#include "log/log_messages.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {

namespace {

// Each reply restarts the wait, so a round ends only after this much silence.
constexpr std::chrono::milliseconds kReplyWait{333};
// A flood of foreign datagrams must not keep one round listening forever.
constexpr int kMaxRepliesPerRound = 1024;

constexpr int kAckWaitMs = 30;
// Longer datagrams are cut to this size; no acknowledgement needs more.
constexpr std::size_t kAckBytes = 255;
// Bounds one drain when a sender floods us faster than we can empty the
// socket; whatever is left is read at the next frame.
constexpr int kMaxAcksPerDrain = 1024;

// Deliberate pacing of the device after every frame, not a retry delay.
constexpr long kFramePauseNanoseconds = 30000000;

const std::string kAssignedDevice = "Assigned the device: ";

void PauseBetweenFrames()
{
    timespec remaining{0, kFramePauseNanoseconds};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

}  // namespace

ControllerLAN::ControllerLAN(std::string code, std::string serial)
    : appCode(std::move(code)), assignedSerial(std::move(serial)), link(assignedSerial)
{
    if (Discovery()) {
        udpSocket.SetNonBlocking();
        link.Connected();
        return;
    }
    CloseSocket();
    link.NoDevice();
}

ControllerLAN::~ControllerLAN() { CloseSocket(); }

bool ControllerLAN::Discovery()
{
    Debug::Log(assignedSerial, Message::Log::LANModeStart);
    if (!LanDiscovery::OpenPingSocket(udpSocket, LanDiscovery::kLocalEndpoint)) return false;
    for (int round = 0; round < LanDiscovery::kPingRounds && deviceType == ZEPTA_DEVICE_NONE; ++round) {
        LanDiscovery::SendPing(udpSocket);
        ListenForReplies();
    }
    return deviceType != ZEPTA_DEVICE_NONE;
}

void ControllerLAN::ListenForReplies()
{
    char reply[LanDiscovery::kReplyBytes];
    for (int count = 0; count < kMaxRepliesPerRound && deviceType == ZEPTA_DEVICE_NONE; ++count) {
        if (!udpSocket.WaitReadable(kReplyWait)) return;
        const long received = udpSocket.ReceiveFrom(reply, sizeof reply, &deviceAddress);
        if (received >= 1) HandleDiscoveryReply(LanDiscovery::DatagramText(reply, received));
    }
}

void ControllerLAN::HandleDiscoveryReply(const std::string& reply)
{
    LanDiscovery::Reply pieces;
    if (!LanDiscovery::ParseReply(reply, pieces)) return;
    if (assignedSerial.empty()) {
        SelectDevice(pieces.model, pieces.serial);
    } else if (pieces.serial == assignedSerial && SelectDevice(pieces.model, pieces.serial)) {
        Debug::Log(assignedSerial, kAssignedDevice + pieces.serial);
    }
}

bool ControllerLAN::SelectDevice(const std::string& model, const std::string& serial)
{
    const LanDiscovery::KnownModel* known = LanDiscovery::FindKnownModel(model);
    if (known == nullptr) return false;
    deviceType = known->deviceType;
    serialNumber = serial;
    Debug::Log(assignedSerial, known->foundText + serial);
    return true;
}

void ControllerLAN::CloseSocket()
{
    if (!udpSocket.IsOpen()) return;
    Debug::Log(assignedSerial, Message::Log::LANModeStop);
    udpSocket.Close();
    link.Closed();
}

bool ControllerLAN::SendUpdate(const _korve_data_packet& packet, ZEPTASpeedGain speedGain, ZEPTAAxisMode axisMode,
                               bool isOrigin)
{
    if (!udpSocket.IsOpen()) return false;
    const std::string text = LanUpdate::EncodeJson(packet, deviceType, speedGain, axisMode, isOrigin);
    udpSocket.SendTo(text.data(), text.size(), deviceAddress);
    return FinishFrame();
}

bool ControllerLAN::SendUpdateQX(const _korve_data_packet& packet, ZEPTASpeedGain speedGain, bool derivedAxes,
                                 bool isOrigin)
{
    if (!udpSocket.IsOpen()) return false;
    const LanUpdate::BinaryRecord record =
        LanUpdate::EncodeBinary(packet, deviceType, speedGain, derivedAxes, isOrigin);
    udpSocket.SendTo(record.data(), record.size(), deviceAddress);
    return FinishFrame();
}

bool ControllerLAN::FinishFrame()
{
    WaitAndDrainAck(kAckWaitMs);
    PauseBetweenFrames();
    return udpSocket.IsOpen() && link.IsUp();
}

void ControllerLAN::WaitAndDrainAck(int timeoutMs)
{
    if (!udpSocket.IsOpen()) return;
    if (udpSocket.WaitReadable(std::chrono::milliseconds(timeoutMs))) DrainAcknowledgements();
    if (!link.SpendFrame()) CloseSocket();
}

void ControllerLAN::DrainAcknowledgements()
{
    char datagram[kAckBytes];
    for (int count = 0; count < kMaxAcksPerDrain; ++count) {
        const long received = udpSocket.Receive(datagram, sizeof datagram);
        if (received < 1) return;
        link.Acknowledge(LanDiscovery::DatagramText(datagram, received));
    }
}

}  // namespace ZEPTASDK
