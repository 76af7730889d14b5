#include "lan/udp_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace ZEPTASDK {

namespace {

sockaddr_in ToSockaddr(const Ipv4Endpoint& endpoint)
{
    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(endpoint.port);
    address.sin_addr.s_addr = htonl(endpoint.address);
    return address;
}

Ipv4Endpoint FromSockaddr(const sockaddr_in& address)
{
    return Ipv4Endpoint{ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
}

}  // namespace

UdpSocket::~UdpSocket() { Close(); }

bool UdpSocket::Open()
{
    Close();
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd == kNoSocket) close(fd);
    if (fd <= kNoSocket) return false;
    socketFd = fd;
    return true;
}

void UdpSocket::Close()
{
    if (socketFd == kNoSocket) return;
    close(socketFd);
    socketFd = kNoSocket;
}

void UdpSocket::EnableBroadcast()
{
    const int enable = 1;
    setsockopt(socketFd, SOL_SOCKET, SO_BROADCAST, &enable, sizeof enable);
}

bool UdpSocket::Bind(const Ipv4Endpoint& local)
{
    const sockaddr_in address = ToSockaddr(local);
    return bind(socketFd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void UdpSocket::SetNonBlocking()
{
    int enable = 1;
    ioctl(socketFd, FIONBIO, &enable);
}

void UdpSocket::SendTo(const void* data, std::size_t size, const Ipv4Endpoint& to)
{
    const sockaddr_in address = ToSockaddr(to);
    sendto(socketFd, data, size, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

bool UdpSocket::WaitReadable(std::chrono::milliseconds timeout)
{
    // poll rather than select: select cannot watch descriptors above FD_SETSIZE,
    // which a busy host process may well hand out.
    const auto clamped = std::clamp<std::chrono::milliseconds::rep>(timeout.count(), 0, INT_MAX);
    pollfd watched{socketFd, POLLIN, 0};
    return poll(&watched, 1, static_cast<int>(clamped)) == 1 && (watched.revents & POLLIN) != 0;
}

long UdpSocket::ReceiveFrom(char* buffer, std::size_t size, Ipv4Endpoint* from)
{
    sockaddr_in sender;
    std::memset(&sender, 0, sizeof sender);
    socklen_t senderSize = sizeof sender;
    const long received = recvfrom(socketFd, buffer, size, 0, reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (received >= 0) *from = FromSockaddr(sender);
    return received;
}

long UdpSocket::Receive(char* buffer, std::size_t size) { return recv(socketFd, buffer, size, 0); }

}  // namespace ZEPTASDK
