// The application writes as fast as it can and the frames coalesce (newest
// wins): how many frames per second the library completes, what Write costs
// meanwhile and whether a steady frame touches the heap.
#include <stdexcept>

#include "support/allocation_counter.h"
#include "frame_bench.h"
#include "session_rigs.h"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kStreamFrames = 100000;
constexpr auto kStreamTimeLimit = 90s;
constexpr auto kWireStreamTime = 5s;
constexpr std::size_t kMaxWriteSamples = 4000000;
constexpr std::uint64_t kForgetEveryFrames = 2000;
constexpr unsigned kClockCheckMask = 1023;   // look at the clock every 1024 writes
// A device that answers 100 us after a command's last byte.
constexpr auto kTurnaround = 100us;
constexpr double kWireShareTarget = 95.0;

struct StreamRun {
    double seconds = 0;
    std::uint64_t frames = 0;
    std::uint64_t writes = 0;
    std::uint64_t allocations = 0;
    double updateCpuNs = 0;   // run time of the update thread
    std::vector<double> writeNs;
    std::vector<Clock::time_point> frameEnds;
    WireTally wire;
};

WireTally Difference(const WireTally& after, const WireTally& before)
{
    return WireTally{after.commands - before.commands, after.bytesToDevice - before.bytesToDevice,
                     after.bytesFromDevice - before.bytesFromDevice};
}

// Writes back to back until frameTarget frames have finished or the time is up.
StreamRun Stream(UsbRig& rig, std::uint64_t frameTarget, Clock::duration timeLimit)
{
    StreamRun run;
    run.writeNs.reserve(kMaxWriteSamples);
    FrameProbe::StartRecording(static_cast<std::size_t>(std::min<std::uint64_t>(frameTarget, kStreamFrames)) * 2);
    zepta_test::CountAllocationsOnThisThread();
    const WireTally wireBefore = rig.Tally();
    const long updateThread = FrameProbe::UpdateThreadId();
    const double cpuBefore = ThreadCpuNs(updateThread);
    const std::uint64_t first = FrameProbe::FramesDone();
    std::uint64_t forgottenAt = first;
    const Clock::time_point start = Clock::now();
    const Clock::time_point deadline = start + timeLimit;
    zepta_test::StartCountingAllocations();
    for (unsigned i = 0;; ++i) {
        const std::uint64_t done = FrameProbe::FramesDone();
        if (done - first >= frameTarget) break;
        if ((i & kClockCheckMask) == 0 && Clock::now() >= deadline) break;
        if (done - forgottenAt >= kForgetEveryFrames) {
            rig.ForgetReceived();
            forgottenAt = done;
        }
        const _korve_data_packet packet = SwayPacket(static_cast<int>(i));
        const Clock::time_point before = Clock::now();
        zeptaWrite(rig.Handle(), &packet);
        const Clock::time_point after = Clock::now();
        if (run.writeNs.size() < run.writeNs.capacity()) run.writeNs.push_back(Nanoseconds(after - before));
        ++run.writes;
    }
    run.allocations = zepta_test::StopCountingAllocations();
    run.frames = FrameProbe::FramesDone() - first;
    run.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    run.frameEnds = FrameProbe::StopRecording();
    run.wire = Difference(rig.Tally(), wireBefore);
    run.updateCpuNs = ThreadCpuNs(updateThread) - cpuBefore;
    return run;
}

double Rate(const StreamRun& run) { return static_cast<double>(run.frames) / run.seconds; }

std::string PerFrame(double value, const StreamRun& run)
{
    return FormatNumber(value / static_cast<double>(run.frames));
}

}  // namespace

void MeasureFrameStream(Report& report, const UsbCase& usbCase)
{
    UsbRig rig(UsbRigOptions{usbCase.identity, usbCase.axisMode});
    StreamRun run = Stream(rig, kStreamFrames, kStreamTimeLimit);
    if (run.frames == 0) throw std::runtime_error("no frame finished while streaming");

    Figure rate{"frames.rate." + usbCase.idSuffix, "Sustained frame rate, no wire model (" + usbCase.label + ")",
                "frames/s"};
    rate.value = Rate(run);
    if (usbCase.frameRateTarget > 0) {
        rate.target = ">= " + FormatNumber(usbCase.frameRateTarget);
        rate.met = *rate.value >= usbCase.frameRateTarget;
    }
    rate.note = std::to_string(run.frames) + " frames in " + FormatNumber(run.seconds) + " s, " +
                PerFrame(static_cast<double>(run.writes), run) + " writes per frame";
    report.Add(rate);

    std::vector<double> periods = IntervalsNs(run.frameEnds);
    report.Add(MicrosecondsFigure("frames.period." + usbCase.idSuffix,
                                  "Frame period, writing back to back (" + usbCase.label + ")", periods));

    Figure cpu{"frames.cpu." + usbCase.idSuffix, "Update thread CPU time per frame (" + usbCase.label + ")", "us"};
    cpu.value = run.updateCpuNs / kNsPerUs / static_cast<double>(run.frames);
    cpu.note = "the scheduler's run time of the update thread, the kernel's pty work in it included";
    report.Add(cpu);

    Figure write = MicrosecondsFigure("write.streaming." + usbCase.idSuffix,
                                      "zeptaWrite, frames running back to back (" + usbCase.label + ")", run.writeNs);
    ApplyWriteTarget(write);
    write.note = "every call timed; the application thread shares two cores with the frame path";
    report.Add(write);

    Figure heap{"alloc.usb." + usbCase.idSuffix, "Heap allocations per steady USB frame (" + usbCase.label + ")",
                "allocations/frame"};
    heap.value = static_cast<double>(run.allocations) / static_cast<double>(run.frames);
    heap.target = "0";
    heap.met = run.allocations == 0;
    heap.note = std::to_string(run.allocations) + " allocations in " + std::to_string(run.frames) +
                " frames, application and update threads counted";
    report.Add(heap);
}

void MeasureWireBoundRate(Report& report, const UsbCase& usbCase)
{
    UsbRig rig(UsbRigOptions{usbCase.identity, usbCase.axisMode});
    rig.Device().SetWireModel(zepta_tools::UsbDeviceEmulator::kByteTimeAt115200, kTurnaround);
    // One frame under the wire model before the measured ones.
    const std::uint64_t before = FrameProbe::FramesDone();
    const _korve_data_packet packet = SwayPacket(0);
    zeptaWrite(rig.Handle(), &packet);
    FrameProbe::WaitForFrameAfter(before, 5s);

    const StreamRun run = Stream(rig, UINT64_MAX, kWireStreamTime);
    if (run.frames == 0) throw std::runtime_error("no frame finished behind the wire model");
    const double byteSeconds = std::chrono::duration<double>(zepta_tools::UsbDeviceEmulator::kByteTimeAt115200).count();
    const double wireSeconds = static_cast<double>(run.wire.bytesToDevice + run.wire.bytesFromDevice) * byteSeconds +
                               static_cast<double>(run.wire.commands) * std::chrono::duration<double>(kTurnaround).count();
    const double bound = static_cast<double>(run.frames) / wireSeconds;
    const std::string bytes = PerFrame(static_cast<double>(run.wire.bytesToDevice), run) + " bytes down, " +
                              PerFrame(static_cast<double>(run.wire.bytesFromDevice), run) + " bytes up, " +
                              PerFrame(static_cast<double>(run.wire.commands), run) + " commands per frame";

    Figure rate{"wire.rate." + usbCase.idSuffix, "Frame rate at 115200 baud (" + usbCase.label + ")", "frames/s"};
    rate.value = Rate(run);
    rate.note = bytes + ", " + FormatNumber(std::chrono::duration<double, std::micro>(kTurnaround).count()) +
                " us device turnaround";
    report.Add(rate);

    Figure limit{"wire.bound." + usbCase.idSuffix, "Rate the wire's bytes allow (" + usbCase.label + ")", "frames/s"};
    limit.value = bound;
    limit.note = bytes;
    report.Add(limit);

    // Every frame exchanges the same bytes, so each period is the wire's
    // time per frame plus what the library, the pty and the device thread add.
    const double wireNsPerFrame = wireSeconds * kNsPerS / static_cast<double>(run.frames);
    std::vector<double> beyond = IntervalsNs(run.frameEnds);
    for (double& ns : beyond) ns -= wireNsPerFrame;
    Figure extra = MicrosecondsFigure("wire.beyond." + usbCase.idSuffix,
                                      "Frame period beyond the wire's own time (" + usbCase.label + ")", beyond);
    extra.note = "frame period minus " + FormatNumber(wireNsPerFrame / kNsPerUs) + " us of bytes and turnaround";
    report.Add(extra);

    Figure share{"wire.share." + usbCase.idSuffix, "Share of the wire bound reached (" + usbCase.label + ")", "%"};
    share.value = 100.0 * Rate(run) / bound;
    share.target = ">= " + FormatNumber(kWireShareTarget);
    share.met = *share.value >= kWireShareTarget;
    report.Add(share);
}

}  // namespace zepta_bench
