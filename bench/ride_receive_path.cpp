// The receive path of `zepta ride`, driven for real: a game socket sends each
// datagram on loopback to the stream's UDP receiver; a stand-in for the
// output loop then does what the loop does at its tick: takes what has
// arrived (one poll, the datagram received and decoded into the latest
// sample), runs one output frame on it (snapshot, washout, safety, rig
// writer) and writes the packet to a session on the emulated six-axis seat.
// The wait for the tick, up to one output period by design, is left out. On
// loopback the kernel has queued the datagram when the game's sendto
// returns, so the path is timed from there, and what sendto itself took is
// noted beside it.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "frame_bench.h"
#include "ride_fixture.h"
#include "ride_measures.h"
#include "ride_stream.h"
#include "session_rigs.h"
#include "support/allocation_counter.h"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;
using zepta_cli::LatestSample;
using zepta_cli::StreamSnapshot;
using zepta_ride::TelemetryFormat;

constexpr TelemetryFormat kPathFormat = TelemetryFormat::Forza;
constexpr std::size_t kPathDatagrams = 4000;
// Long enough for the session's update thread to be asleep again, as it is
// between a game's datagrams.
constexpr auto kDatagramPause = 2ms;
// Should a look at the sockets find nothing, the next one comes this much
// later.
constexpr auto kTickWait = 200us;
constexpr auto kStepTimeout = 5s;
constexpr std::size_t kForgetEvery = 1000;
constexpr double kPathMedianUs = 20.0;
constexpr double kPathP99Us = 100.0;
constexpr std::size_t kAllocationLap = 2000;   // datagrams of each format
constexpr int kAllocationRounds = 5;
constexpr std::size_t kAllocationFrames = 20000;

// The game's end: a UDP socket that sends to 127.0.0.1.
class LoopbackGame {
public:
    explicit LoopbackGame(std::uint16_t port) : fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        if (fd < 0) throw std::runtime_error(std::string("cannot open a UDP socket: ") + std::strerror(errno));
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    ~LoopbackGame() { close(fd); }
    LoopbackGame(const LoopbackGame&) = delete;
    LoopbackGame& operator=(const LoopbackGame&) = delete;

    void Send(const std::uint8_t* data, std::size_t size)
    {
        if (sendto(fd, data, size, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) < 0) {
            throw std::runtime_error(std::string("cannot send a datagram: ") + std::strerror(errno));
        }
    }

private:
    int fd;
    sockaddr_in to{};
};

// Waits, sleeping, until the session has finished a frame after `count`;
// unlike WaitUntil it never touches the heap.
void AwaitFrameAfter(std::uint64_t count)
{
    const Clock::time_point deadline = Clock::now() + kStepTimeout;
    while (FrameProbe::FramesDone() <= count) {
        if (Clock::now() >= deadline) throw std::runtime_error("a ride frame did not reach the device");
        std::this_thread::sleep_for(50us);
    }
}

// Takes what has arrived until the stream has more than `received`
// datagrams; on loopback the first look finds it.
void TakeDatagram(zepta_cli::UdpReceiver& receiver, const LatestSample& stream, std::uint64_t received)
{
    const Clock::time_point deadline = Clock::now() + kStepTimeout;
    for (;;) {
        receiver.TakeArrived(Clock::now());
        if (stream.Snapshot().received > received) return;
        if (Clock::now() >= deadline) throw std::runtime_error("the ride stream did not take a datagram");
        std::this_thread::sleep_for(kTickWait);
    }
}

UsbRigOptions SixAxisSeat() { return UsbRigOptions{SixAxisSeatDerived().identity, zepta_ride::RigWriter::kAxisMode}; }

struct PathSamples {
    std::vector<double> total;     // sendto returned .. Write returned
    std::vector<double> receive;   // sendto returned .. datagram taken and decoded
    std::vector<double> frame;     // snapshot .. Write returned
    std::vector<double> send;      // sendto called .. sendto returned
};

PathSamples RunReceivePath()
{
    UsbRig rig(SixAxisSeat());
    const std::uint16_t port = zepta_ride::DefaultPort(kPathFormat);
    LatestSample stream(std::nullopt, nullptr, Clock::now());
    zepta_cli::UdpReceiver receiver({port}, stream);
    LoopbackGame game(port);
    const LapDatagrams lap(kPathFormat, kPathDatagrams);
    RideChain chain;
    PathSamples samples;
    for (std::size_t i = 0; i < lap.Count(); ++i) {
        const std::uint64_t frames = FrameProbe::FramesDone();
        const Clock::time_point sending = Clock::now();
        game.Send(lap.Data(i), lap.Size(i));
        const Clock::time_point sent = Clock::now();
        TakeDatagram(receiver, stream, i);
        const Clock::time_point taken = Clock::now();
        const StreamSnapshot& snapshot = stream.Snapshot();
        zeptaWrite(rig.Handle(), &chain.Step(snapshot.sample));
        const Clock::time_point written = Clock::now();
        if (snapshot.decoded != i + 1) throw std::runtime_error("the ride stream dropped a datagram");
        samples.total.push_back(Nanoseconds(written - sent));
        samples.receive.push_back(Nanoseconds(taken - sent));
        samples.send.push_back(Nanoseconds(sent - sending));
        samples.frame.push_back(Nanoseconds(written - taken));
        AwaitFrameAfter(frames);
        if (i % kForgetEvery == 0) rig.ForgetReceived();
        std::this_thread::sleep_for(kDatagramPause);
    }
    return samples;
}

std::uint64_t CountDatagramAllocations(LatestSample& stream)
{
    std::vector<LapDatagrams> laps;
    for (const TelemetryFormat format : kRideFormats) laps.emplace_back(format, kAllocationLap);
    auto feed = [&stream](const LapDatagrams& lap) {
        for (std::size_t i = 0; i < lap.Count(); ++i) stream.Take(0, lap.Data(i), lap.Size(i), Clock::now());
    };
    for (const LapDatagrams& lap : laps) feed(lap);
    zepta_test::StartCountingAllocations();
    for (int round = 0; round < kAllocationRounds; ++round) {
        for (const LapDatagrams& lap : laps) feed(lap);
    }
    return zepta_test::StopCountingAllocations();
}

std::uint64_t CountFrameAllocations(const LatestSample& stream)
{
    UsbRig rig(SixAxisSeat());
    RideChain chain;
    zepta_test::StartCountingAllocations();
    for (std::size_t i = 0; i < kAllocationFrames; ++i) {
        const std::uint64_t frames = FrameProbe::FramesDone();
        zeptaWrite(rig.Handle(), &chain.Step(stream.Snapshot().sample));
        AwaitFrameAfter(frames);
        if (i % kForgetEvery == 0) rig.ForgetReceived();
    }
    return zepta_test::StopCountingAllocations();
}

Figure AllocationFigure(std::string id, std::string title, std::string unit, std::uint64_t allocations,
                        double count, std::string note)
{
    Figure f(std::move(id), std::move(title), std::move(unit));
    f.value = static_cast<double>(allocations) / count;
    f.target = "0";
    f.met = allocations == 0;
    f.note = std::to_string(allocations) + " allocations; " + note;
    return f;
}

}  // namespace

void MeasureRideReceivePath(Report& report)
{
    PathSamples samples = RunReceivePath();
    auto median = [](std::vector<double>& ns) { return FormatNumber(Scaled(Summarise(ns), kNsPerUs).median); };
    Figure path = MicrosecondsFigure(
        "ride.receive_to_write",
        "Ride: forza datagram arrived (game's sendto on loopback returned) to zeptaWrite returned: at the "
        "output tick, receive and decode; snapshot, cueing, safety, writer, Write (tick wait excluded)",
        samples.total);
    path.target = "p50 <= " + FormatNumber(kPathMedianUs) + ", p99 <= " + FormatNumber(kPathP99Us);
    path.met = path.spread->median <= kPathMedianUs && path.spread->p99 <= kPathP99Us;
    path.note = "per datagram: received and decoded (median " + median(samples.receive) +
                " us), then the output frame (median " + median(samples.frame) +
                " us); the game's sendto itself median " + median(samples.send) +
                " us; emulated six-axis seat, 2 ms pause after each frame";
    report.Add(path);
}

void MeasureRideAllocations(Report& report)
{
    zepta_test::CountAllocationsOnThisThread();
    LatestSample stream(std::nullopt, nullptr, Clock::now());
    const std::uint64_t datagramAllocations = CountDatagramAllocations(stream);
    const double datagrams = static_cast<double>(kAllocationRounds * kRideFormats.size() * kAllocationLap);
    report.Add(AllocationFigure("alloc.ride.datagram", "Ride: heap allocations per datagram taken by the stream",
                                "allocations/datagram", datagramAllocations, datagrams,
                                FormatNumber(datagrams) + " datagrams of all six formats through the stream's "
                                                          "Take, as the output loop calls it"));
    const std::uint64_t frameAllocations = CountFrameAllocations(stream);
    report.Add(AllocationFigure("alloc.ride.frame", "Ride: heap allocations per output frame, Write included",
                                "allocations/frame", frameAllocations, static_cast<double>(kAllocationFrames),
                                std::to_string(kAllocationFrames) + " frames on the emulated six-axis seat, "
                                "application and update threads counted"));
}

}  // namespace zepta_bench
