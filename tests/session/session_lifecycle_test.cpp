// Sessions opened and closed over and over, also right after opening: devices
// are handed on, and the process is left as it was found (the same threads,
// the same open descriptors, and heap in use that does not grow per cycle).
#include <gtest/gtest.h>
#include <malloc.h>

#include <functional>
#include <vector>

#include "lan_emulator/lan_device_emulator.h"
#include "session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"
#include "zepta/ZEPTA.hpp"

namespace {

using namespace zepta_test;
using ZEPTASDK::ZEPTA;
using zepta_tools::UsbDeviceEmulator;

using SessionLifecycle = SessionTest;

bool WaitRunning(ZEPTA& session)
{
    return WaitUntil([&session] { return session.GetState() == ZEPTA_STATE_RUNNING; }, 20s);
}

// Each session binds a device of its own; a closed session lets its device go
// although the session object lives on.
TEST_F(SessionLifecycle, ClosedSessionHandsItsDeviceToTheNext)
{
    UsbDeviceEmulator four("/dev/ttyACM0");
    four.SetIdentity("KORVE-DEVICE");
    UsbDeviceEmulator six("/dev/ttyACM1");
    six.SetIdentity("KORVE6-DEVICE");
    ZEPTA first, second, third;
    first.Open("TEST");
    ASSERT_TRUE(WaitRunning(first)) << DrainLog();
    second.Open("TEST");
    ASSERT_TRUE(WaitRunning(second)) << DrainLog();
    EXPECT_EQ(first.GetZEPTADevice() + second.GetZEPTADevice(), ZEPTA_DEVICE_KORVE_4DOF + ZEPTA_DEVICE_KORVE_6DOF);
    first.Close();
    third.Open("TEST");
    ASSERT_TRUE(WaitRunning(third)) << DrainLog();
    EXPECT_EQ(third.GetZEPTADevice(), first.GetZEPTADevice());
}

// Least-squares slope of the samples over their index 0, 1, 2...
double SlopePerCycle(const std::vector<double>& y)
{
    const double n = static_cast<double>(y.size());
    double sxy = 0.0;
    for (std::size_t i = 0; i < y.size(); ++i) sxy += (static_cast<double>(i) - (n - 1.0) / 2.0) * y[i];
    return sxy / (n * (n * n - 1.0) / 12.0);
}

// Warm-up cycles let state made on first use (the log, the session table) and
// the C library's caches, which keep some heap for each thread stack they
// hold, reach full size. Heap in use is sampled after each measured cycle once
// its threads have ended; a leak of 1 KiB per cycle shows a slope of 1024.
void ExpectCyclesLeaveNoTrace(int warmUpCycles, const std::function<void()>& cycle)
{
    for (int i = 0; i < warmUpCycles; ++i) cycle();
    DrainLog();
    const int threads = ThreadCount();
    const int descriptors = OpenDescriptorCount();
    std::vector<double> heap;
    for (int i = 0; i < 10; ++i) {
        cycle();
        DrainLog();
        ASSERT_TRUE(WaitUntil([&] { return ThreadCount() == threads; }, 10s)) << ThreadCount() << " threads";
        heap.push_back(static_cast<double>(mallinfo2().uordblks));
    }
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
    EXPECT_LT(SlopePerCycle(heap), 512.0) << ::testing::PrintToString(heap);
}

void ConnectedSessionWithFrames()
{
    const int handle = zeptaOpen("TEST");
    ASSERT_TRUE(WaitConnected(handle));
    _korve_data_packet packet = NeutralPacket();
    for (int i = 0; i < 20; ++i) zeptaWrite(handle, &packet);
    EXPECT_EQ(zeptaClose(handle), handle);
}

// Each USB cycle also closes a session right after opening it, while it still
// searches or calibrates.
TEST_F(SessionLifecycle, UsbCyclesLeaveNoTrace)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE6-DEVICE");
    ExpectCyclesLeaveNoTrace(15, [&device] {
        EXPECT_EQ(zeptaClose(zeptaOpen("TEST")), 0);
        ConnectedSessionWithFrames();
        device.ClearReceived();
    });
}

TEST_F(SessionLifecycle, LanCyclesLeaveNoTrace)
{
    zepta_tools::LanDeviceOptions options;
    options.model = "KORVEGRANDE500QX";
    options.address = "127.0.0.2";
    zepta_tools::LanDeviceEmulator device(options);
    ExpectCyclesLeaveNoTrace(8, [&device] {
        ConnectedSessionWithFrames();
        device.ClearReceived();
    });
}

// With no device the thread searches USB and the LAN and ends by itself; each
// cycle closes one session while it searches and one after it ended.
TEST_F(SessionLifecycle, CyclesWithoutDeviceLeaveNoTrace)
{
    ExpectCyclesLeaveNoTrace(3, [] {
        EXPECT_EQ(zeptaClose(zeptaOpen("TEST")), 0);
        const int handle = zeptaOpen("TEST");
        ASSERT_TRUE(WaitStopped(handle));
        EXPECT_EQ(zeptaClose(handle), handle);
    });
}

}  // namespace
