// An emulated motion device on the LAN, run in-process on its own thread. It
// answers discovery pings with "<model>-<serial>", records every update
// datagram it receives (decoded) and acknowledges each one as scripted, faults
// included: refusals, silence, malformed, delayed or flooding replies, and
// replies from an unexpected port.
#ifndef ZEPTA_TOOLS_LAN_DEVICE_EMULATOR_H
#define ZEPTA_TOOLS_LAN_DEVICE_EMULATOR_H

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "lan/json.h"
#include "lan/update_messages.h"

namespace zepta_tools {

// How the device answers each update datagram.
struct AckScript {
    std::vector<std::string> replies{"ACK"};   // sent in this order; empty means silence
    int answeredUpdates = -1;                  // silent after this many updates; negative: never
    int repetitions = 1;                       // sends of the reply list per update (a flood when large)
    std::chrono::milliseconds delay{0};        // between the update and its replies
    bool fromOtherPort = false;                // replies leave from a second socket
};

// How the device answers a discovery ping.
struct DiscoveryScript {
    bool answer = true;
    std::optional<std::string> reply;          // sent verbatim instead of "<model>-<serial>"
    std::vector<std::string> before;           // sent in this order ahead of the reply
    int repetitions = 1;                       // sends of before and reply per ping (a flood when large)
    bool fromOtherPort = false;
};

struct LanDeviceOptions {
    std::string model = "KORVE6DOF";
    std::string serial = "EMU00001";
    // The device's own address: it answers from here and receives its updates
    // here, so that several emulated devices can share one host.
    std::string address = "127.0.0.2";
    // Receive broadcast pings on 0.0.0.0; allowed only inside the sandbox.
    bool listenForPings = true;
    AckScript ack;
    DiscoveryScript discovery;
};

struct ReceivedDatagram {
    enum class Kind { Ping, Json, Binary, Other };
    std::chrono::steady_clock::time_point time;
    std::string sender;                        // "a.b.c.d:port"
    std::string bytes;
    Kind kind = Kind::Other;
    picojson::value json;                      // Kind::Json: the parsed object
    std::array<std::uint16_t, ZEPTASDK::LanUpdate::kRecordWords> words{};   // Kind::Binary: the decoded record
};

// Decodes one datagram as the device sees it.
ReceivedDatagram DecodeDatagram(std::string bytes);
// One printable line: the sender, the kind and the decoded content.
std::string DescribeDatagram(const ReceivedDatagram& datagram);
// The actuator positions (0..1) an update carries: the six words of a binary
// record, the "ax" keys of a full object or "axis1"/"axis2" of a short one.
// Empty for anything else.
std::vector<double> DecodePositions(const ReceivedDatagram& datagram);

class LanDeviceEmulator {
public:
    using Datagrams = std::vector<ReceivedDatagram>;
    // Called on the emulator's thread for every datagram, pings included.
    using Observer = std::function<void(const ReceivedDatagram&)>;

    // Binds the sockets and starts the thread. Throws std::runtime_error when
    // a socket cannot be bound, or when asked to listen for pings outside the
    // sandbox.
    explicit LanDeviceEmulator(LanDeviceOptions deviceOptions, Observer datagramObserver = Observer());
    ~LanDeviceEmulator();
    LanDeviceEmulator(const LanDeviceEmulator&) = delete;
    LanDeviceEmulator& operator=(const LanDeviceEmulator&) = delete;

    void SetAckScript(AckScript script);
    void SetDiscoveryScript(DiscoveryScript script);

    // Update datagrams received so far (pings are only counted).
    Datagrams Received() const;
    void ClearReceived();
    int PingCount() const { return pingCount.load(); }
    // Waits until predicate holds for the received datagrams; false on time-out.
    bool WaitFor(const std::function<bool(const Datagrams&)>& predicate, std::chrono::milliseconds timeout) const;
    bool WaitForCount(std::size_t count, std::chrono::milliseconds timeout) const;

private:
    struct Destination {
        std::uint32_t address = 0;   // both in network byte order, as the socket API gives them
        std::uint16_t port = 0;
    };
    struct Outgoing {
        std::string text;
        Destination to;
        bool fromOtherPort = false;
    };
    using Clock = std::chrono::steady_clock;

    void Run();
    int MillisecondsUntilNextReply() const;
    void ReceiveOn(int fd);
    void AnswerPing(const Destination& from);
    void RecordUpdate(ReceivedDatagram datagram, const Destination& from);
    void SendDueReplies();
    void Send(const Outgoing& outgoing);

    LanDeviceOptions options;   // scripts in it are guarded by mutex, the rest is fixed
    Observer observer;
    int discoveryFd = -1;
    int deviceFd = -1;
    int otherPortFd = -1;
    int wakeRead = -1;
    int wakeWrite = -1;

    mutable std::mutex mutex;
    mutable std::condition_variable receivedChanged;
    Datagrams received;         // guarded by mutex
    int answeredUpdates = 0;    // guarded by mutex
    std::atomic<int> pingCount{0};

    std::multimap<Clock::time_point, Outgoing> pending;   // emulator thread only
    std::thread thread;
};

}  // namespace zepta_tools

#endif
