#include "lan_device_emulator.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "common/sandbox_check.h"
#include "lan/lan_discovery.h"
#include "lan/update_messages.h"

namespace zepta_tools {

namespace {

using ZEPTASDK::LanDiscovery::kDevicePort;
using ZEPTASDK::LanDiscovery::kPing;
using ZEPTASDK::LanUpdate::kRecordBytes;
using ZEPTASDK::LanUpdate::kRecordWords;
constexpr char kReplySeparator = '-';
// Larger than any UDP payload, so that nothing is cut before it is recorded.
constexpr std::size_t kMaxDatagram = 65536;

const char kOutsideSandbox[] =
    "the LAN device emulator listens for broadcast pings only inside the test sandbox; "
    "run it through scripts/sandbox.sh";

[[noreturn]] void ThrowSystemError(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

in_addr ParseAddress(const std::string& text)
{
    in_addr address;
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) throw std::runtime_error("not an IPv4 address: " + text);
    return address;
}

int BoundSocket(in_addr address, std::uint16_t port)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) ThrowSystemError("socket");
    // Every emulated device takes the ping port on 0.0.0.0, next to its own address.
    const int enable = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &enable, sizeof enable);
    sockaddr_in local;
    std::memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr = address;
    if (bind(fd, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        const int error = errno;
        close(fd);
        errno = error;
        ThrowSystemError("bind " + std::string(inet_ntoa(address)) + ":" + std::to_string(port));
    }
    return fd;
}

void CloseIfOpen(int& fd)
{
    if (fd >= 0) close(fd);
    fd = -1;
}

std::string EndpointText(const sockaddr_in& address)
{
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    return std::string(text) + ":" + std::to_string(ntohs(address.sin_port));
}

bool IsBinaryRecord(const std::string& bytes)
{
    return bytes.size() == kRecordBytes && static_cast<unsigned char>(bytes[0]) == 0 &&
           static_cast<unsigned char>(bytes[1]) == kRecordWords;
}

void DecodeRecord(ReceivedDatagram& datagram)
{
    for (std::size_t i = 0; i < kRecordWords; ++i) {
        const auto high = static_cast<unsigned char>(datagram.bytes[2 * i]);
        const auto low = static_cast<unsigned char>(datagram.bytes[2 * i + 1]);
        datagram.words[i] = static_cast<std::uint16_t>(high << 8 | low);
    }
}

bool ParseObject(ReceivedDatagram& datagram)
{
    const std::string error = picojson::parse(datagram.json, datagram.bytes);
    if (error.empty() && datagram.json.is<picojson::object>()) return true;
    datagram.json = picojson::value();
    return false;
}

std::string Printable(const std::string& bytes)
{
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && byte != '\\') {
            text.push_back(c);
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", byte);
            text.append(escaped);
        }
    }
    return text;
}

}  // namespace

ReceivedDatagram DecodeDatagram(std::string bytes)
{
    ReceivedDatagram datagram;
    datagram.time = std::chrono::steady_clock::now();
    datagram.bytes = std::move(bytes);
    if (datagram.bytes == kPing) {
        datagram.kind = ReceivedDatagram::Kind::Ping;
    } else if (IsBinaryRecord(datagram.bytes)) {
        datagram.kind = ReceivedDatagram::Kind::Binary;
        DecodeRecord(datagram);
    } else if (ParseObject(datagram)) {
        datagram.kind = ReceivedDatagram::Kind::Json;
    }
    return datagram;
}

std::vector<double> DecodePositions(const ReceivedDatagram& datagram)
{
    constexpr double kRecordScale = 10000.0;
    constexpr double kObjectScale = 1000.0;
    std::vector<double> axes;
    if (datagram.kind == ReceivedDatagram::Kind::Binary) {
        for (std::size_t w = 1; w <= 6; ++w) axes.push_back(datagram.words[w] / kRecordScale);
        return axes;
    }
    if (datagram.kind != ReceivedDatagram::Kind::Json || !datagram.json.is<picojson::object>()) return axes;
    const auto& object = datagram.json.get<picojson::object>();
    const auto number = [&object](const std::string& key, double* value) {
        auto found = object.find(key);
        if (found == object.end() || !found->second.is<double>()) return false;
        *value = found->second.get<double>();
        return true;
    };
    double value = 0.0;
    for (int i = 1; i <= 6 && number("ax" + std::to_string(i), &value); ++i) axes.push_back(value / kObjectScale);
    if (!axes.empty()) return axes;
    for (const char* key : {"axis1", "axis2"}) {
        if (number(key, &value)) axes.push_back(value);
    }
    return axes;
}

std::string DescribeDatagram(const ReceivedDatagram& datagram)
{
    std::string line = datagram.sender + " ";
    switch (datagram.kind) {
    case ReceivedDatagram::Kind::Ping:
        return line + "PING";
    case ReceivedDatagram::Kind::Json:
        return line + "JSON " + datagram.bytes;
    case ReceivedDatagram::Kind::Binary:
        line += "BINARY";
        for (const std::uint16_t word : datagram.words) line += " " + std::to_string(word);
        return line;
    case ReceivedDatagram::Kind::Other:
        break;
    }
    return line + "OTHER " + std::to_string(datagram.bytes.size()) + " bytes: " + Printable(datagram.bytes);
}

LanDeviceEmulator::LanDeviceEmulator(LanDeviceOptions deviceOptions, Observer datagramObserver)
    : options(std::move(deviceOptions)), observer(std::move(datagramObserver))
{
    try {
        const in_addr own = ParseAddress(options.address);
        if (options.listenForPings) {
            if (!InSandbox()) throw std::runtime_error(kOutsideSandbox);
            discoveryFd = BoundSocket(in_addr{htonl(INADDR_ANY)}, kDevicePort);
        }
        deviceFd = BoundSocket(own, kDevicePort);
        otherPortFd = BoundSocket(own, 0);
        int wake[2];
        if (pipe2(wake, O_CLOEXEC) != 0) ThrowSystemError("pipe");
        wakeRead = wake[0];
        wakeWrite = wake[1];
        thread = std::thread(&LanDeviceEmulator::Run, this);
    } catch (...) {
        for (int* fd : {&discoveryFd, &deviceFd, &otherPortFd, &wakeRead, &wakeWrite}) CloseIfOpen(*fd);
        throw;
    }
}

LanDeviceEmulator::~LanDeviceEmulator()
{
    const char stop = 0;
    while (write(wakeWrite, &stop, 1) < 0 && errno == EINTR) {
    }
    thread.join();
    for (int* fd : {&discoveryFd, &deviceFd, &otherPortFd, &wakeRead, &wakeWrite}) CloseIfOpen(*fd);
}

void LanDeviceEmulator::SetAckScript(AckScript script)
{
    std::lock_guard<std::mutex> lock(mutex);
    options.ack = std::move(script);
    answeredUpdates = 0;
}

void LanDeviceEmulator::SetDiscoveryScript(DiscoveryScript script)
{
    std::lock_guard<std::mutex> lock(mutex);
    options.discovery = std::move(script);
}

LanDeviceEmulator::Datagrams LanDeviceEmulator::Received() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return received;
}

void LanDeviceEmulator::ClearReceived()
{
    std::lock_guard<std::mutex> lock(mutex);
    received.clear();
}

bool LanDeviceEmulator::WaitFor(const std::function<bool(const Datagrams&)>& predicate,
                                std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(mutex);
    return receivedChanged.wait_for(lock, timeout, [&] { return predicate(received); });
}

bool LanDeviceEmulator::WaitForCount(std::size_t count, std::chrono::milliseconds timeout) const
{
    return WaitFor([count](const Datagrams& datagrams) { return datagrams.size() >= count; }, timeout);
}

void LanDeviceEmulator::Run()
{
    for (;;) {
        pollfd watched[] = {{wakeRead, POLLIN, 0}, {deviceFd, POLLIN, 0}, {discoveryFd, POLLIN, 0}};
        poll(watched, sizeof watched / sizeof watched[0], MillisecondsUntilNextReply());
        if (watched[0].revents != 0) return;
        if ((watched[1].revents & POLLIN) != 0) ReceiveOn(deviceFd);
        if ((watched[2].revents & POLLIN) != 0) ReceiveOn(discoveryFd);
        SendDueReplies();
    }
}

int LanDeviceEmulator::MillisecondsUntilNextReply() const
{
    if (pending.empty()) return -1;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(pending.begin()->first - Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(wait.count(), 0, INT_MAX));
}

void LanDeviceEmulator::ReceiveOn(int fd)
{
    std::vector<char> buffer(kMaxDatagram);
    sockaddr_in sender;
    std::memset(&sender, 0, sizeof sender);
    socklen_t senderSize = sizeof sender;
    const ssize_t size =
        recvfrom(fd, buffer.data(), buffer.size(), MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (size < 0) return;
    ReceivedDatagram datagram = DecodeDatagram(std::string(buffer.data(), static_cast<std::size_t>(size)));
    datagram.sender = EndpointText(sender);
    if (observer) observer(datagram);
    const Destination from{sender.sin_addr.s_addr, sender.sin_port};
    if (datagram.kind == ReceivedDatagram::Kind::Ping) {
        AnswerPing(from);
    } else {
        RecordUpdate(std::move(datagram), from);
    }
}

void LanDeviceEmulator::AnswerPing(const Destination& from)
{
    ++pingCount;
    DiscoveryScript script;
    {
        std::lock_guard<std::mutex> lock(mutex);
        script = options.discovery;
    }
    if (!script.answer) return;
    const std::string reply = script.reply ? *script.reply : options.model + kReplySeparator + options.serial;
    // Replies due at the same moment leave in the order they were queued.
    const Clock::time_point now = Clock::now();
    for (int copy = 0; copy < script.repetitions; ++copy) {
        for (const std::string& text : script.before) pending.emplace(now, Outgoing{text, from, script.fromOtherPort});
        pending.emplace(now, Outgoing{reply, from, script.fromOtherPort});
    }
}

void LanDeviceEmulator::RecordUpdate(ReceivedDatagram datagram, const Destination& from)
{
    AckScript script;
    bool answer = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        received.push_back(std::move(datagram));
        script = options.ack;
        answer = script.answeredUpdates < 0 || answeredUpdates < script.answeredUpdates;
        if (answer) ++answeredUpdates;
    }
    receivedChanged.notify_all();
    if (!answer) return;
    const Clock::time_point due = Clock::now() + script.delay;
    for (int copy = 0; copy < script.repetitions; ++copy) {
        for (const std::string& reply : script.replies) pending.emplace(due, Outgoing{reply, from, script.fromOtherPort});
    }
}

void LanDeviceEmulator::SendDueReplies()
{
    const Clock::time_point now = Clock::now();
    while (!pending.empty() && pending.begin()->first <= now) {
        Send(pending.begin()->second);
        pending.erase(pending.begin());
    }
}

void LanDeviceEmulator::Send(const Outgoing& outgoing)
{
    sockaddr_in to;
    std::memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_port = outgoing.to.port;
    to.sin_addr.s_addr = outgoing.to.address;
    const int fd = outgoing.fromOtherPort ? otherPortFd : deviceFd;
    sendto(fd, outgoing.text.data(), outgoing.text.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

}  // namespace zepta_tools
