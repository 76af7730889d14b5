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
constexpr double kNsPerUs = 1000.0;
const char kUs[] = "us";
const char kWriteTarget[] = "p50 <= 0.5, p99 <= 2";
const char kWireTarget[] = "p50 <= 50, p99 <= 250";

bool WriteTargetMet(const Distribution& us) { return us.median <= 0.5 && us.p99 <= 2.0; }
bool WireTargetMet(const Distribution& us) { return us.median <= 50.0 && us.p99 <= 250.0; }

Figure WriteFigure(std::string id, std::string title, std::vector<double>& ns, std::string note)
{
    Figure f(std::move(id), std::move(title), kUs);
    f.spread = Scaled(Summarise(ns), kNsPerUs);
    f.target = kWriteTarget;
    f.met = WriteTargetMet(*f.spread);
    f.note = std::move(note);
    return f;
}

}  // namespace

const UsbCase& FourAxisSeatManual()
{
    static const UsbCase c{"kind 2, mode 0", "kind2", "KORVE-DEVICE", ZEPTA_AXIS_MANUAL};
    return c;
}

const UsbCase& SixAxisSeatDerived()
{
    static const UsbCase c{"kind 3, mode 1", "kind3", "KORVE6-DEVICE", ZEPTA_AXIS_BASE};
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
    Figure wire{"wake_to_wire." + usbCase.idSuffix, "Wake to wire: Write returns to position command at device (" +
                                                        usbCase.label + ")", kUs};
    wire.spread = Scaled(Summarise(wireNs), kNsPerUs);
    wire.target = kWireTarget;
    wire.met = WireTargetMet(*wire.spread);
    wire.note = "emulator's steady_clock stamp of the command's last byte";
    report.Add(wire);
}

}  // namespace zepta_bench
