// Where the game's datagrams go in `zepta ride`: at every output tick the
// output loop collects what has arrived since the last one (from UDP
// sockets, or the part of a recording that is due) and hands each datagram to
// a LatestSample, which decodes it and keeps the latest valid sample. Nothing
// waits for a datagram, so a game's telemetry costs no thread wake-ups of its
// own, and each frame still runs on the newest sample.
#ifndef ZEPTA_CLI_RIDE_STREAM_H
#define ZEPTA_CLI_RIDE_STREAM_H

#include <poll.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
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

    void Take(std::uint16_t port, const std::uint8_t* data, std::size_t size, RideClock::time_point at);
    const StreamSnapshot& Snapshot() const { return latest; }

private:
    zepta_ride::TelemetryDecoder decoder;
    zepta_ride::MotionSample decoding;
    DatagramLogWriter* record;
    RideClock::time_point start;
    StreamSnapshot latest;
};

// What feeds the stream: asked once per output tick for what is there.
class DatagramSource {
public:
    virtual ~DatagramSource() = default;
    // Hands every datagram that has arrived (or fallen due) by `now` to the sink.
    virtual void TakeArrived(RideClock::time_point now) = 0;
    // Nothing more will come (the end of a recording).
    virtual bool Finished() const = 0;
};

// Receives on the given UDP ports, on all local addresses; it only receives.
class UdpReceiver : public DatagramSource {
public:
    // Binds every port; throws DeviceTrouble naming a port it cannot bind.
    UdpReceiver(const std::vector<std::uint16_t>& ports, LatestSample& sink);
    ~UdpReceiver() override;
    UdpReceiver(const UdpReceiver&) = delete;
    UdpReceiver& operator=(const UdpReceiver&) = delete;

    // Each datagram is stamped with the time the kernel received it.
    void TakeArrived(RideClock::time_point now) override;
    bool Finished() const override { return false; }

private:
    // False once the socket has nothing more.
    bool ReceiveOne(int socketFd, std::uint16_t port);

    LatestSample& sink;
    std::vector<int> sockets;
    std::vector<std::uint16_t> ports;
    std::vector<pollfd> waiting;   // one per socket, for poll
    static constexpr std::size_t kLargestDatagram = 65536;
    std::array<std::uint8_t, kLargestDatagram> buffer{};
};

// Feeds a recording to the sink at its own timing, counted from `start`:
// each datagram when its arrival time has come, stamped with that time.
class DatagramReplayer : public DatagramSource {
public:
    DatagramReplayer(const DatagramLog& log, LatestSample& sink, RideClock::time_point start);

    void TakeArrived(RideClock::time_point now) override;
    bool Finished() const override { return next == log.datagrams.size(); }

private:
    const DatagramLog& log;
    LatestSample& sink;
    RideClock::time_point start;
    std::size_t next = 0;
};

}  // namespace zepta_cli

#endif
