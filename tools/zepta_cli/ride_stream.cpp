#include "ride_stream.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "cli_errors.h"

namespace zepta_cli {

namespace {

// How often the receiving threads look at their stop flag.
constexpr int kPollMilliseconds = 100;
constexpr auto kReplayNap = std::chrono::milliseconds(kPollMilliseconds);

zepta_ride::TelemetryDecoder MakeDecoder(std::optional<zepta_ride::TelemetryFormat> only)
{
    return only ? zepta_ride::TelemetryDecoder(*only) : zepta_ride::TelemetryDecoder();
}

int BoundSocket(std::uint16_t port)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) throw DeviceTrouble(std::string("cannot open a UDP socket: ") + std::strerror(errno));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        close(fd);
        throw DeviceTrouble("cannot receive on UDP port " + std::to_string(port) + ": " + std::strerror(error));
    }
    return fd;
}

}  // namespace

LatestSample::LatestSample(std::optional<zepta_ride::TelemetryFormat> only, DatagramLogWriter* record,
                           RideClock::time_point start)
    : decoder(MakeDecoder(only)), record(record), start(start)
{
}

void LatestSample::Take(std::uint16_t port, const std::uint8_t* data, std::size_t size, RideClock::time_point at)
{
    if (record != nullptr) {
        const auto since = std::max(at - start, RideClock::duration::zero());
        record->Add(static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(since).count()),
                    port, data, static_cast<std::uint16_t>(std::min<std::size_t>(size, UINT16_MAX)));
    }
    const zepta_ride::DecodeOutcome outcome = decoder.Decode(data, size, decoding);
    std::lock_guard<std::mutex> guard(lock);
    ++shared.received;
    if (outcome.decoded) {
        ++shared.decoded;
        shared.sample = decoding;
        shared.hasSample = true;
        shared.sampleAt = at;
        shared.format = outcome.format;
    } else {
        ++shared.dropped[static_cast<std::size_t>(outcome.reason)];
    }
}

StreamSnapshot LatestSample::Snapshot() const
{
    std::lock_guard<std::mutex> guard(lock);
    return shared;
}

UdpReceiver::UdpReceiver(const std::vector<std::uint16_t>& ports, LatestSample& sink) : sink(sink), ports(ports)
{
    try {
        for (const std::uint16_t port : ports) sockets.push_back(BoundSocket(port));
    } catch (...) {
        for (const int fd : sockets) close(fd);
        throw;
    }
    thread = std::thread([this] { Run(); });
}

UdpReceiver::~UdpReceiver()
{
    stop = true;
    thread.join();
    for (const int fd : sockets) close(fd);
}

void UdpReceiver::Run()
{
    std::vector<pollfd> waiting;
    for (const int fd : sockets) waiting.push_back({fd, POLLIN, 0});
    while (!stop) {
        if (poll(waiting.data(), waiting.size(), kPollMilliseconds) <= 0) continue;
        for (std::size_t i = 0; i < waiting.size(); ++i) {
            if (waiting[i].revents & POLLIN) ReceiveOne(waiting[i].fd, ports[i]);
        }
    }
}

// One datagram per readiness: poll reports a socket with more queued at
// once, and a game sends one at a time, so no second recv is spent finding
// the queue empty.
void UdpReceiver::ReceiveOne(int socketFd, std::uint16_t port)
{
    const ssize_t size = recv(socketFd, buffer.data(), buffer.size(), 0);
    if (size >= 0) sink.Take(port, buffer.data(), static_cast<std::size_t>(size), RideClock::now());
}

DatagramReplayer::DatagramReplayer(const DatagramLog& log, LatestSample& sink, RideClock::time_point start)
    : log(log), sink(sink), start(start), thread([this] { Run(); })
{
}

DatagramReplayer::~DatagramReplayer()
{
    stop = true;
    thread.join();
}

void DatagramReplayer::Run()
{
    for (const LoggedDatagram& datagram : log.datagrams) {
        const RideClock::time_point due = start + std::chrono::nanoseconds(datagram.arrivalNs);
        while (!stop && RideClock::now() < due) std::this_thread::sleep_until(std::min(due, RideClock::now() + kReplayNap));
        if (stop) return;
        sink.Take(datagram.port, log.bytes.data() + datagram.offset, datagram.length, due);
    }
    finished = true;
}

}  // namespace zepta_cli
