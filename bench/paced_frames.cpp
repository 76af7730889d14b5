// Write on the application's thread when no frame is in the way, and the
// time from Write returning to the position command at the device.
#include <stdexcept>
#include <thread>

#include "frame_bench.h"
#include "session_rigs.h"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kIdleWrites = 1000000;
constexpr std::size_t kPacedFrames = 5000;
// A fast game's frame time; the update thread is asleep when the next Write comes.
constexpr auto kFramePause = 1ms;
constexpr auto kThreadEndTimeout = 30s;
constexpr auto kCommandTimeout = 5s;
constexpr std::size_t kForgetEvery = 1000;
constexpr double kWriteMedianUs = 0.5;
constexpr double kWriteP99Us = 2.0;
constexpr double kWireMedianUs = 50.0;
constexpr double kWireP99Us = 250.0;

Figure WriteFigure(std::string id, std::string title, std::vector<double>& ns, std::string note)
{
    Figure f = MicrosecondsFigure(std::move(id), std::move(title), ns);
    ApplyWriteTarget(f);
    f.note = std::move(note);
    return f;
}

}  // namespace

void ApplyWriteTarget(Figure& figure)
{
    figure.target = "p50 <= " + FormatNumber(kWriteMedianUs) + ", p99 <= " + FormatNumber(kWriteP99Us);
    figure.met = figure.spread->median <= kWriteMedianUs && figure.spread->p99 <= kWriteP99Us;
}

const UsbCase& FourAxisSeatManual()
{
    static const UsbCase c{"kind 2, mode 0", "kind2", "KORVE-DEVICE", ZEPTA_AXIS_MANUAL, 5000.0};
    return c;
}

const UsbCase& SixAxisSeatDerived()
{
    static const UsbCase c{"kind 3, mode 1", "kind3", "KORVE6-DEVICE", ZEPTA_AXIS_BASE, 0.0};
    return c;
}

void MeasureWriteWithoutDevice(Report& report)
{
    const int handle = zeptaOpen("BENCH");
    // The thread looks for a USB device, then on the LAN, and ends.
    if (!WaitUntil([handle] { return zeptaGetSystemStatus(handle) == 0; }, kThreadEndTimeout, 10ms)) {
        zeptaClose(handle);
        throw std::runtime_error("the session without a device did not end its search");
    }
    std::vector<double> ns;
    ns.reserve(kIdleWrites);
    for (std::size_t i = 0; i < kIdleWrites; ++i) {
        const _korve_data_packet packet = SwayPacket(static_cast<int>(i));
        const auto before = Clock::now();
        zeptaWrite(handle, &packet);
        ns.push_back(Nanoseconds(Clock::now() - before));
    }
    zeptaClose(handle);
    report.Add(WriteFigure("write.no_device", "zeptaWrite, no device (thread ended)", ns,
                           "back to back, each call timed"));
}

void MeasurePacedFrames(Report& report, const UsbCase& usbCase)
{
    UsbRig rig(UsbRigOptions{usbCase.identity, usbCase.axisMode});
    std::vector<double> writeNs;
    std::vector<double> wireNs;
    for (std::size_t i = 0; i < kPacedFrames; ++i) {
        const _korve_data_packet packet = SwayPacket(static_cast<int>(i));
        const std::uint64_t frames = FrameProbe::FramesDone();
        const std::uint64_t positions = rig.PositionCommands();
        const auto before = Clock::now();
        zeptaWrite(rig.Handle(), &packet);
        const auto returned = Clock::now();
        if (!WaitUntil([&] { return rig.PositionCommands() > positions; }, kCommandTimeout) ||
            !FrameProbe::WaitForFrameAfter(frames, kCommandTimeout)) {
            throw std::runtime_error("a paced frame did not reach the device");
        }
        writeNs.push_back(Nanoseconds(returned - before));
        wireNs.push_back(Nanoseconds(rig.LastPositionArrival() - returned));
        if (i % kForgetEvery == 0) rig.ForgetReceived();
        std::this_thread::sleep_for(kFramePause);
    }
    report.Add(WriteFigure("write.waiting." + usbCase.idSuffix,
                           "zeptaWrite, thread asleep between frames (" + usbCase.label + ")", writeNs,
                           "one write per frame, 1 ms pause after each frame"));
    Figure wire = MicrosecondsFigure("wake_to_wire." + usbCase.idSuffix,
                                     "Wake to wire: Write returns to position command at device (" + usbCase.label + ")",
                                     wireNs);
    wire.target = "p50 <= " + FormatNumber(kWireMedianUs) + ", p99 <= " + FormatNumber(kWireP99Us);
    wire.met = wire.spread->median <= kWireMedianUs && wire.spread->p99 <= kWireP99Us;
    wire.note = "emulator's steady_clock stamp of the command's last byte";
    report.Add(wire);
}

}  // namespace zepta_bench
