#include "lan/controller_lan.h"

#include <time.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "lan/device_types.h"
#include "lan/update_messages.h"
#include "log/log_messages.h"
#include "zepta/Debug.hpp"

namespace ZEPTASDK {

namespace {

constexpr std::uint32_t kAnyAddress = 0x00000000;        // 0.0.0.0
constexpr std::uint32_t kBroadcastAddress = 0xFFFFFFFF;  // 255.255.255.255
constexpr std::uint16_t kDiscoveryPort = 33551;
constexpr std::uint16_t kLocalPort = 33552;
const std::string kPing = "KORVE-PING";
constexpr char kReplySeparator = '-';

constexpr int kDiscoveryRounds = 3;
// Each reply restarts the wait, so a round ends only after this much silence.
constexpr std::chrono::milliseconds kReplyWait{333};
constexpr std::size_t kReplyBytes = 128;
// A flood of foreign datagrams must not keep one round listening forever.
constexpr int kMaxRepliesPerRound = 1024;

const std::string kNack = "NACK";
const std::string kCack = "CACK";
const std::string kAck = "ACK";
constexpr int kAckBudget = 10;
constexpr int kAckWaitMs = 30;
// Longer datagrams are cut to this size; no acknowledgement needs more.
constexpr std::size_t kAckBytes = 255;
// Bounds one drain when a sender floods us faster than we can empty the
// socket; whatever is left is read at the next frame.
constexpr int kMaxAcksPerDrain = 1024;

// Deliberate pacing of the device after every frame, not a retry delay.
constexpr long kFramePauseNanoseconds = 30000000;

const std::string kAssignedDevice = "Assigned the device: ";
const std::string kLanDeviceFound = "LAN device found: ";
const std::string kQx200Found = "QX200 LAN device found: ";
const std::string kQx500Found = "QX500 LAN device found: ";
const std::string kMossPodFound = "MOSSPOD device found: ";
const std::string kKickboardFound = "LAN OEM KB device found: ";
const std::string kGrandeFound = "OXB KB device found: ";

struct KnownModel {
    const char* name;
    unsigned deviceType;
    const std::string& foundText;   // logged followed by the serial number
};

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

// The text of a datagram ends at its first NUL byte or at its last byte.
std::string DatagramText(const char* bytes, long received)
{
    return std::string(bytes, strnlen(bytes, static_cast<std::size_t>(received)));
}

// The non-empty pieces between hyphens: "-A--B-" gives A and B.
std::vector<std::string> ReplyPieces(const std::string& reply)
{
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start <= reply.size()) {
        std::size_t end = reply.find(kReplySeparator, start);
        if (end == std::string::npos) end = reply.size();
        if (end > start) pieces.push_back(reply.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

void PauseBetweenFrames()
{
    timespec remaining{0, kFramePauseNanoseconds};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

}  // namespace

ControllerLAN::ControllerLAN(std::string appCode, std::string assignedSerial)
    : bindAddress{kAnyAddress, kLocalPort}, appCode(std::move(appCode)), assignedSerial(std::move(assignedSerial))
{
    if (Discovery()) {
        udpSocket.SetNonBlocking();
        ackCountdown = kAckBudget;
        return;
    }
    CloseSocket();
    state = kStateNoDevice;
}

ControllerLAN::~ControllerLAN() { CloseSocket(); }

bool ControllerLAN::Discovery()
{
    Debug::Log(assignedSerial, Message::Log::LANModeStart);
    const Ipv4Endpoint pingTargets[] = {{kBroadcastAddress, kDiscoveryPort}};
    if (!udpSocket.Open()) return false;
    udpSocket.EnableBroadcast();
    if (!udpSocket.Bind(bindAddress)) return false;
    for (int round = 0; round < kDiscoveryRounds && deviceType == LanDevice::kNone; ++round) {
        for (const Ipv4Endpoint& target : pingTargets) udpSocket.SendTo(kPing.data(), kPing.size(), target);
        ListenForReplies();
    }
    return deviceType != LanDevice::kNone;
}

void ControllerLAN::ListenForReplies()
{
    char reply[kReplyBytes];
    for (int count = 0; count < kMaxRepliesPerRound && deviceType == LanDevice::kNone; ++count) {
        if (!udpSocket.WaitReadable(kReplyWait)) return;
        const long received = udpSocket.ReceiveFrom(reply, sizeof reply, &deviceAddress);
        if (received >= 1) HandleDiscoveryReply(DatagramText(reply, received));
    }
}

void ControllerLAN::HandleDiscoveryReply(const std::string& reply)
{
    const std::vector<std::string> pieces = ReplyPieces(reply);
    if (pieces.size() < 2) return;
    const std::string& model = pieces[0];
    const std::string& serial = pieces[1];
    if (assignedSerial.empty()) {
        SelectDevice(model, serial);
    } else if (serial == assignedSerial && SelectDevice(model, serial)) {
        Debug::Log(assignedSerial, kAssignedDevice + serial);
    }
}

bool ControllerLAN::SelectDevice(const std::string& model, const std::string& serial)
{
    for (const KnownModel& known : kKnownModels) {
        if (model != known.name) continue;
        deviceType = known.deviceType;
        serialNumber = serial;
        Debug::Log(assignedSerial, known.foundText + serial);
        return true;
    }
    return false;
}

void ControllerLAN::CloseSocket()
{
    if (!udpSocket.IsOpen()) return;
    Debug::Log(assignedSerial, Message::Log::LANModeStop);
    udpSocket.Close();
    const int current = state.load();
    // A refused (stopped) actuator stays visible after the close.
    if (current >= kStateInitial && current <= kStateRunning) state = kStateClosed;
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
    return udpSocket.IsOpen() && state.load() > kStateUpLimit;
}

void ControllerLAN::WaitAndDrainAck(int timeoutMs)
{
    if (!udpSocket.IsOpen()) return;
    if (udpSocket.WaitReadable(std::chrono::milliseconds(timeoutMs))) DrainAcknowledgements();
    SpendAcknowledgementBudget();
}

void ControllerLAN::DrainAcknowledgements()
{
    char datagram[kAckBytes];
    for (int count = 0; count < kMaxAcksPerDrain; ++count) {
        const long received = udpSocket.Receive(datagram, sizeof datagram);
        if (received < 1) return;
        ClassifyAcknowledgement(DatagramText(datagram, received));
    }
}

// "NACK" and "CACK" both contain "ACK", so they are looked for first.
void ControllerLAN::ClassifyAcknowledgement(const std::string& text)
{
    if (text.find(kNack) != std::string::npos) {
        Debug::Log(assignedSerial, Message::Log::State::ShutDownActuator);
        state = kStateStopped;
    } else if (text.find(kCack) != std::string::npos) {
        ackCountdown = kAckBudget;
        state = kStateCalibrating;
    } else if (text.find(kAck) != std::string::npos) {
        ackCountdown = kAckBudget;
        state = kStateRunning;
    }
}

void ControllerLAN::SpendAcknowledgementBudget()
{
    if (--ackCountdown >= 0) return;
    Debug::Log(assignedSerial, Message::Log::TimeOut);
    CloseSocket();
}

}  // namespace ZEPTASDK
