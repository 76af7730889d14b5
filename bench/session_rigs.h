// A session opened through the C interface against an emulated device in
// this process, with the frame probe attached and the device's traffic
// tallied, ready for the measurements.
#ifndef ZEPTA_BENCH_SESSION_RIGS_H
#define ZEPTA_BENCH_SESSION_RIGS_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "frame_probe.h"
#include "lan_emulator/lan_device_emulator.h"
#include "usb_emulator/usb_device_emulator.h"
#include "zepta/zepta.h"

namespace zepta_bench {

// A slow sway, as a game sends it: the axes (for axis mode 0) and the pose
// (for the derived modes) move a little every frame; speeds stay put.
_korve_data_packet SwayPacket(int frame);

// Opens a session, attaches the frame probe and waits for state 8 and the
// first frame. Throws std::runtime_error with the library's log otherwise.
int OpenProbedSession(int axisMode);

struct UsbRigOptions {
    std::string identity;
    int axisMode = ZEPTA_AXIS_MANUAL;
};

// What crossed the emulated wire, counted by the device.
struct WireTally {
    std::uint64_t commands = 0;
    std::uint64_t bytesToDevice = 0;
    std::uint64_t bytesFromDevice = 0;
};

class UsbRig {
public:
    explicit UsbRig(const UsbRigOptions& options);
    ~UsbRig();
    UsbRig(const UsbRig&) = delete;
    UsbRig& operator=(const UsbRig&) = delete;

    int Handle() const { return handle; }
    zepta_tools::UsbDeviceEmulator& Device() { return device; }

    // Position commands received so far, and when the last one's final byte
    // arrived.
    std::uint64_t PositionCommands() const { return positions.load(std::memory_order_acquire); }
    Clock::time_point LastPositionArrival() const;
    WireTally Tally() const;
    // Drops the device's command record, which otherwise grows every frame.
    void ForgetReceived() { device.ClearReceived(); }

private:
    void OnCommand(const zepta_tools::ReceivedCommand& command, const std::vector<std::string>& replies);

    std::atomic<Clock::rep> lastPositionAt{0};
    std::atomic<std::uint64_t> positions{0};
    std::atomic<std::uint64_t> commands{0};
    std::atomic<std::uint64_t> bytesToDevice{0};
    std::atomic<std::uint64_t> bytesFromDevice{0};
    // Declared after the counters its observer writes, so it stops first.
    zepta_tools::UsbDeviceEmulator device;
    int handle = -1;
};

class LanRig {
public:
    // A promptly acknowledging device of the given model.
    explicit LanRig(const std::string& model);
    ~LanRig();
    LanRig(const LanRig&) = delete;
    LanRig& operator=(const LanRig&) = delete;

    int Handle() const { return handle; }
    // Arrival times of the update datagrams since the last call.
    std::vector<Clock::time_point> TakeUpdateTimes();

private:
    std::mutex lock;
    std::vector<Clock::time_point> updateTimes;   // guarded by lock
    zepta_tools::LanDeviceEmulator device;
    int handle = -1;
};

}  // namespace zepta_bench

#endif
