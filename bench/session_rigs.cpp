#include "session_rigs.h"

#include <cmath>
#include <stdexcept>

#include "zepta/ZEPTA.hpp"

namespace zepta_bench {

namespace {

using namespace std::chrono_literals;

constexpr auto kConnectTimeout = 30s;
constexpr auto kFrameTimeout = 10s;
const char kAppCode[] = "BENCH";
const std::string kLineEnd = "\r\n";
constexpr float kPhaseStep = 0.01f;
constexpr int kPhaseSteps = 628;   // one full turn of the phase

std::string DrainLog()
{
    std::string all;
    char buffer[1024];
    while (zeptaBackLogDataAvailable() > 0) {
        const int n = zeptaGetBackLog(buffer, sizeof buffer);
        if (n <= 0) break;
        all.append(buffer, static_cast<std::size_t>(n));
    }
    return all;
}

bool IsPositionCommand(const std::string& text)
{
    return !text.empty() && (text[0] == 'p' || text[0] == 'q');
}

}  // namespace

_korve_data_packet SwayPacket(int frame)
{
    const float phase = kPhaseStep * static_cast<float>(frame % kPhaseSteps);
    _korve_data_packet p = ZEPTASDK::DefaultZEPTAPacket();
    p.axis1 = 0.5f + 0.3f * std::sin(phase);
    p.axis2 = 0.5f + 0.3f * std::cos(phase);
    p.axis3 = 0.5f - 0.2f * std::sin(2 * phase);
    p.axis4 = 0.5f;
    p.axis5 = 0.5f + 0.1f * std::sin(phase);
    p.axis6 = 0.5f - 0.1f * std::sin(phase);
    p.roll = 0.4f * std::sin(phase);
    p.pitch = 0.3f * std::cos(phase);
    p.heave = 0.2f * std::sin(2 * phase);
    p.surge = 0.3f * std::sin(phase);
    p.graMR = 0.5f;
    return p;
}

int OpenProbedSession(int axisMode)
{
    const int handle = zeptaOpen(kAppCode);
    zeptaSetAxisProcessingMode(handle, axisMode);
    FrameProbe::Attach(handle);
    const std::uint64_t before = FrameProbe::FramesDone();
    const bool connected = WaitUntil([handle] { return zeptaGetState(handle) == ZEPTA_STATE_RUNNING; }, kConnectTimeout,
                                     std::chrono::milliseconds(5));
    if (!connected || !FrameProbe::WaitForFrameAfter(before, kFrameTimeout)) {
        zeptaClose(handle);
        throw std::runtime_error("the session did not connect; the library logged:\n" + DrainLog());
    }
    DrainLog();
    return handle;
}

UsbRig::UsbRig(const UsbRigOptions& options)
{
    device.SetIdentity(options.identity);
    device.SetObserver([this](const zepta_tools::ReceivedCommand& command, const std::vector<std::string>& replies) {
        OnCommand(command, replies);
    });
    handle = OpenProbedSession(options.axisMode);
}

UsbRig::~UsbRig() { zeptaClose(handle); }

void UsbRig::OnCommand(const zepta_tools::ReceivedCommand& command, const std::vector<std::string>& replies)
{
    commands.fetch_add(1, std::memory_order_relaxed);
    bytesToDevice.fetch_add(command.text.size(), std::memory_order_relaxed);
    for (const std::string& line : replies) {
        bytesFromDevice.fetch_add(line.size() + kLineEnd.size(), std::memory_order_relaxed);
    }
    if (IsPositionCommand(command.text)) {
        lastPositionAt.store(command.at.time_since_epoch().count(), std::memory_order_relaxed);
        positions.fetch_add(1, std::memory_order_release);
    }
}

Clock::time_point UsbRig::LastPositionArrival() const
{
    return Clock::time_point(Clock::duration(lastPositionAt.load(std::memory_order_relaxed)));
}

WireTally UsbRig::Tally() const
{
    return WireTally{commands.load(), bytesToDevice.load(), bytesFromDevice.load()};
}

namespace {

zepta_tools::LanDeviceOptions PromptDevice(const std::string& model)
{
    zepta_tools::LanDeviceOptions options;
    options.model = model;
    return options;
}

bool IsUpdate(const zepta_tools::ReceivedDatagram& datagram)
{
    using Kind = zepta_tools::ReceivedDatagram::Kind;
    return datagram.kind == Kind::Json || datagram.kind == Kind::Binary;
}

}  // namespace

LanRig::LanRig(const std::string& model)
    : device(PromptDevice(model), [this](const zepta_tools::ReceivedDatagram& datagram) {
          if (!IsUpdate(datagram)) return;
          std::lock_guard<std::mutex> guard(lock);
          updateTimes.push_back(datagram.time);
      })
{
    handle = OpenProbedSession(ZEPTA_AXIS_BASE);
}

LanRig::~LanRig() { zeptaClose(handle); }

std::vector<Clock::time_point> LanRig::TakeUpdateTimes()
{
    std::vector<Clock::time_point> times;
    std::lock_guard<std::mutex> guard(lock);
    times.swap(updateTimes);
    return times;
}

}  // namespace zepta_bench
