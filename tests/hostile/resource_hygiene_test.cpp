// Sessions opened and closed over and over, with a USB device, with a LAN
// device and with none, leave the process as they found it: the same threads,
// the same open descriptors, and resident memory within a generous margin.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "lan_emulator/lan_device_emulator.h"
#include "resident_memory.h"
#include "session/session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using namespace zepta_test;
using zepta_tools::LanDeviceEmulator;
using zepta_tools::UsbDeviceEmulator;

constexpr int kCycles = 12;
// A LAN session settles for a second before its first frame is acknowledged.
constexpr int kLanCycles = 5;
// Allocator caches, the thread-stack cache and the sanitizers' shadow and
// quarantine all keep memory; a leak per cycle of anything sizeable (a
// thread's stack, a line buffer, a socket's queue) still shows above this.
constexpr std::size_t kMemoryMargin = 48 * kMegabyte;

struct Footprint {
    int threads = ThreadCount();
    int descriptors = OpenDescriptorCount();
    std::size_t resident = ResidentBytes();
};

class ResourceHygiene : public SessionTest {
protected:
    // Runs one cycle first, so that process-wide state created on first use
    // (the log, the session table, the allocator's arenas) is there before
    // the footprint is taken, then the remaining cycles.
    void ExpectCyclesLeaveNoTrace(int cycles, const std::function<void(int)>& cycle)
    {
        cycle(0);
        DrainLog();
        const Footprint start;
        for (int i = 1; i <= cycles; ++i) {
            cycle(i);
            DrainLog();
        }
        ASSERT_TRUE(WaitUntil([&] { return ThreadCount() == start.threads; }, 10s));
        EXPECT_EQ(OpenDescriptorCount(), start.descriptors);
        EXPECT_LT(ResidentBytes(), start.resident + kMemoryMargin);
    }

    static void WriteFrames(int handle, int frames)
    {
        _korve_data_packet packet = NeutralPacket();
        for (int i = 0; i < frames; ++i) {
            packet.roll = 0.05f * static_cast<float>(i % 10);
            zeptaWrite(handle, &packet);
        }
    }
};

TEST_F(ResourceHygiene, UsbSessionsConnectedOrNot)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE6-DEVICE");
    ExpectCyclesLeaveNoTrace(kCycles, [](int i) {
        const int handle = zeptaOpen("TEST");
        // Every other session is closed while it still searches or calibrates.
        if (i % 2 == 0) {
            ASSERT_TRUE(WaitConnected(handle));
        }
        WriteFrames(handle, 50);
        EXPECT_EQ(zeptaClose(handle), handle);
    });
}

TEST_F(ResourceHygiene, LanSessions)
{
    zepta_tools::LanDeviceOptions options;
    options.model = "KORVEGRANDE500QX";
    options.address = "127.0.0.2";
    LanDeviceEmulator device(options);
    ExpectCyclesLeaveNoTrace(kLanCycles, [](int) {
        const int handle = zeptaOpen("TEST");
        ASSERT_TRUE(WaitConnected(handle));
        WriteFrames(handle, 5);
        EXPECT_EQ(zeptaClose(handle), handle);
    });
}

// With no device the thread searches USB and the LAN and ends by itself; the
// session is closed both after that and while it still searches.
TEST_F(ResourceHygiene, SessionsThatFindNoDevice)
{
    ExpectCyclesLeaveNoTrace(kCycles, [](int i) {
        const int handle = zeptaOpen("TEST");
        if (i % 4 == 0) {
            ASSERT_TRUE(WaitStopped(handle));
        }
        EXPECT_EQ(zeptaClose(handle), handle);
    });
}

}  // namespace
