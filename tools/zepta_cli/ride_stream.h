// Where the game's datagrams go in `zepta ride`: the receiving side (UDP
// sockets, or a recording played back at its own timing) runs on a thread of
// its own and hands each datagram to a LatestSample, which decodes it and
// keeps the latest valid sample. The output loop copies that under a short
// lock, so receiving never holds up a frame.
#ifndef ZEPTA_CLI_RIDE_STREAM_H
#define ZEPTA_CLI_RIDE_STREAM_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "datagram_log.h"
#include "zepta/ride/telemetry.hpp"

namespace zepta_cli {

using RideClock = std::chrono::steady_clock;

// What the output loop needs to know about the stream.
struct StreamSnapshot {
    zepta_ride::MotionSample sample;   // the latest valid one
    bool hasSample = false;
    RideClock::time_point sampleAt{};   // when it arrived
    zepta_ride::TelemetryFormat format = zepta_ride::TelemetryFormat::Codemasters;
    std::uint64_t received = 0;
    std::uint64_t decoded = 0;
    std::array<std::uint64_t, zepta_ride::kDropReasonCount> dropped{};
};

class LatestSample {
public:
    // Decodes every format, or only `only`; keeps every datagram in
    // `record` when given (times counted from `start`).
    LatestSample(std::optional<zepta_ride::TelemetryFormat> only, DatagramLogWriter* record,
                 RideClock::time_point start);

    // Called by the receiving thread only.
    void Take(std::uint16_t port, const std::uint8_t* data, std::size_t size, RideClock::time_point at);
    StreamSnapshot Snapshot() const;

private:
    zepta_ride::TelemetryDecoder decoder;
    zepta_ride::MotionSample decoding;
    DatagramLogWriter* record;
    RideClock::time_point start;
    mutable std::mutex lock;
    StreamSnapshot shared;   // guarded by lock
};

// Receives on the given UDP ports, on all local addresses; it only receives.
class UdpReceiver {
public:
    // Binds every port; throws DeviceTrouble naming a port it cannot bind.
    UdpReceiver(const std::vector<std::uint16_t>& ports, LatestSample& sink);
    ~UdpReceiver();
    UdpReceiver(const UdpReceiver&) = delete;
    UdpReceiver& operator=(const UdpReceiver&) = delete;

private:
    void Run();
    void ReceiveOne(int socketFd, std::uint16_t port);

    LatestSample& sink;
    std::vector<int> sockets;
    std::vector<std::uint16_t> ports;
    static constexpr std::size_t kLargestDatagram = 65536;
    std::array<std::uint8_t, kLargestDatagram> buffer{};
    std::atomic<bool> stop{false};
    std::thread thread;
};

// Feeds a recording to the sink at its own timing, counted from `start`.
class DatagramReplayer {
public:
    DatagramReplayer(const DatagramLog& log, LatestSample& sink, RideClock::time_point start);
    ~DatagramReplayer();
    DatagramReplayer(const DatagramReplayer&) = delete;
    DatagramReplayer& operator=(const DatagramReplayer&) = delete;

    // Every datagram has been fed.
    bool Finished() const { return finished; }

private:
    void Run();

    const DatagramLog& log;
    LatestSample& sink;
    RideClock::time_point start;
    std::atomic<bool> stop{false};
    std::atomic<bool> finished{false};
    std::thread thread;
};

}  // namespace zepta_cli

#endif
