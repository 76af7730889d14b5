// The LAN link's only contact with the socket API: an IPv4 datagram socket
// that owns its descriptor, and the address type the rest of the link uses.
#ifndef ZEPTA_LAN_UDP_SOCKET_H
#define ZEPTA_LAN_UDP_SOCKET_H

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace ZEPTASDK {

// An IPv4 address and port, both in host byte order.
struct Ipv4Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;
};

// Descriptor 0 is never kept, so that 0 can mean "no socket" everywhere.
class UdpSocket {
public:
    UdpSocket() = default;
    ~UdpSocket();
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    // Opens a close-on-exec datagram socket (closing one held before).
    // False when the system gives none, or only descriptor 0.
    bool Open();
    bool IsOpen() const { return socketFd != kNoSocket; }
    void Close();

    void EnableBroadcast();
    bool Bind(const Ipv4Endpoint& local);
    void SetNonBlocking();

    // Send errors are not reported: a lost datagram is for the protocol to notice.
    void SendTo(const void* data, std::size_t size, const Ipv4Endpoint& to);
    // True when a datagram can be read within the timeout (negative counts
    // as zero); false on time-out and on errors, interruptions included.
    bool WaitReadable(std::chrono::milliseconds timeout);
    // The byte count of one datagram cut to size (below 0 on error, or when a
    // non-blocking socket has nothing). *from is written only when one arrived.
    long ReceiveFrom(char* buffer, std::size_t size, Ipv4Endpoint* from);
    long Receive(char* buffer, std::size_t size);

private:
    static constexpr int kNoSocket = 0;

    int socketFd = kNoSocket;
};

}  // namespace ZEPTASDK

#endif
