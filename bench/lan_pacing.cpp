// The LAN link paces itself: one datagram, the acknowledgements, then a
// fixed pause. With a device that acknowledges at once, the datagram rate
// shows where in the designed range of about 16 to 33 per second we are.
#include <thread>

#include "support/allocation_counter.h"
#include "frame_bench.h"
#include "session_rigs.h"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

// A full JSON object per frame: the six-axis seat's model.
const char kLanModel[] = "KORVE6DOF";
constexpr auto kMeasureTime = 5s;
constexpr auto kWritePause = 1ms;
// Every frame waits up to 30 ms for its first acknowledgement and then
// pauses 30 ms: one datagram per 60 ms at the slowest, per 30 ms at the fastest.
constexpr double kLowestDesignedRate = 1000.0 / 60.0;
constexpr double kHighestDesignedRate = 1000.0 / 30.0;

}  // namespace

void MeasureLanPacing(Report& report)
{
    LanRig rig(kLanModel);
    rig.TakeUpdateTimes();
    zepta_test::CountAllocationsOnThisThread();
    const std::uint64_t first = FrameProbe::FramesDone();
    const Clock::time_point start = Clock::now();
    zepta_test::StartCountingAllocations();
    for (int i = 0; Clock::now() - start < kMeasureTime; ++i) {
        const _korve_data_packet packet = SwayPacket(i);
        zeptaWrite(rig.Handle(), &packet);
        std::this_thread::sleep_for(kWritePause);
    }
    const std::uint64_t allocations = zepta_test::StopCountingAllocations();
    const std::uint64_t frames = FrameProbe::FramesDone() - first;
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const std::vector<Clock::time_point> arrivals = rig.TakeUpdateTimes();

    Figure rate{"lan.rate", "LAN datagrams per second, prompt acknowledgements", "datagrams/s"};
    rate.value = static_cast<double>(arrivals.size()) / seconds;
    rate.target = "16.7 to 33.3 (designed range)";
    rate.met = *rate.value >= kLowestDesignedRate && *rate.value <= kHighestDesignedRate;
    rate.note = "application writes at 1 kHz; full JSON object (" + std::string(kLanModel) + ")";
    report.Add(rate);

    std::vector<double> intervals = IntervalsNs(arrivals);
    Figure period{"lan.period", "LAN datagram interval", "ms"};
    period.spread = Scaled(Summarise(intervals), kNsPerMs);
    report.Add(period);

    Figure heap{"alloc.lan", "Heap allocations per LAN frame (full JSON object)", "allocations/frame"};
    heap.value = frames > 0 ? static_cast<double>(allocations) / static_cast<double>(frames) : 0.0;
    heap.note = std::to_string(allocations) + " allocations in " + std::to_string(frames) + " frames";
    report.Add(heap);
}

}  // namespace zepta_bench
