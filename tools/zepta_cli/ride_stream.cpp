#include "ride_stream.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "cli_errors.h"

namespace zepta_cli {

namespace {

// Room for the one control message asked for: the kernel's time stamp.
constexpr std::size_t kControlBytes = CMSG_SPACE(sizeof(timespec));

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
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        close(fd);
        throw DeviceTrouble("cannot receive on UDP port " + std::to_string(port) + ": " + std::strerror(error));
    }
    return fd;
}

// The kernel stamps a datagram on the real-time clock and the ride counts on
// the steady one: how long ago it arrived carries over from one to the
// other. Without a stamp, or with the real-time clock set back meanwhile,
// the datagram counts as arriving now.
RideClock::time_point ArrivalOf(msghdr& message)
{
    const RideClock::time_point now = RideClock::now();
    for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_TIMESTAMPNS) continue;
        timespec stamp{};
        std::memcpy(&stamp, CMSG_DATA(c), sizeof stamp);
        const auto received = std::chrono::seconds(stamp.tv_sec) + std::chrono::nanoseconds(stamp.tv_nsec);
        const auto age = std::chrono::system_clock::now().time_since_epoch() - received;
        return now - std::max<RideClock::duration>(std::chrono::duration_cast<RideClock::duration>(age),
                                                    RideClock::duration::zero());
    }
    return now;
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
    ++latest.received;
    if (outcome.decoded) {
        ++latest.decoded;
        latest.sample = decoding;
        latest.hasSample = true;
        latest.sampleAt = at;
        latest.format = outcome.format;
    } else {
        ++latest.dropped[static_cast<std::size_t>(outcome.reason)];
    }
}

UdpReceiver::UdpReceiver(const std::vector<std::uint16_t>& ports, LatestSample& sink) : sink(sink), ports(ports)
{
    try {
        for (const std::uint16_t port : ports) sockets.push_back(BoundSocket(port));
    } catch (...) {
        for (const int fd : sockets) close(fd);
        throw;
    }
    for (const int fd : sockets) waiting.push_back({fd, POLLIN, 0});
}

UdpReceiver::~UdpReceiver()
{
    for (const int fd : sockets) close(fd);
}

void UdpReceiver::TakeArrived(RideClock::time_point)
{
    if (poll(waiting.data(), waiting.size(), 0) <= 0) return;
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        if (waiting[i].revents & POLLIN) {
            while (ReceiveOne(sockets[i], ports[i])) {
            }
        }
    }
}

bool UdpReceiver::ReceiveOne(int socketFd, std::uint16_t port)
{
    iovec data{buffer.data(), buffer.size()};
    alignas(cmsghdr) std::array<char, kControlBytes> control{};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(socketFd, &message, 0);
    if (size < 0) return false;
    sink.Take(port, buffer.data(), static_cast<std::size_t>(size), ArrivalOf(message));
    return true;
}

DatagramReplayer::DatagramReplayer(const DatagramLog& log, LatestSample& sink, RideClock::time_point start)
    : log(log), sink(sink), start(start)
{
}

void DatagramReplayer::TakeArrived(RideClock::time_point now)
{
    for (; next < log.datagrams.size(); ++next) {
        const LoggedDatagram& datagram = log.datagrams[next];
        const RideClock::time_point due = start + std::chrono::nanoseconds(datagram.arrivalNs);
        if (due > now) return;
        sink.Take(datagram.port, log.bytes.data() + datagram.offset, datagram.length, due);
    }
}

}  // namespace zepta_cli
