// Opening and closing sessions at awkward moments, several sessions at once,
// and nothing left behind afterwards.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"
#include "zepta/ZEPTA.hpp"

namespace {

using namespace zepta_test;
using zepta_tools::UsbDeviceEmulator;

using SessionLifecycle = SessionTest;

TEST_F(SessionLifecycle, CloseRightAfterOpenWithADevicePresentIsNeverLost)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE-DEVICE");
    for (int i = 0; i < 5; ++i) {
        ZEPTASDK::ZEPTA session;
        session.Open("TEST");
        session.Close();
        EXPECT_FALSE(session.GetZEPTAStatus());
    }
    // The destructor right after Open must not wait on a connected device either.
    for (int i = 0; i < 3; ++i) {
        ZEPTASDK::ZEPTA session;
        session.Open("TEST");
    }
    std::string log = DrainLog();
    std::size_t started = 0, ended = 0;
    for (const auto& line : SplitLines(log)) {
        started += line == "ZEPTA thread started." ? 1 : 0;
        ended += line == "ZEPTA thread terminated." ? 1 : 0;
    }
    EXPECT_EQ(started, 8u) << log;
    EXPECT_EQ(ended, 8u) << log;
}

TEST_F(SessionLifecycle, CloseWhileCalibratingWaitsForTheHandshakeOnly)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE-DEVICE");
    device.SetCalibrationDelay(1500ms);
    int h = zeptaOpen("TEST");
    ASSERT_TRUE(device.WaitFor([](const auto& cmds) {
        for (const auto& c : cmds) {
            if (c.text == "c;") return true;
        }
        return false;
    }, 10s));
    EXPECT_EQ(zeptaGetState(h), 6);
    EXPECT_EQ(zeptaClose(h), h);
    EXPECT_EQ(zeptaGetState(h), -1);
}

TEST_F(SessionLifecycle, CloseWhileAFrameRunsWaitsForThatFrame)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE-DEVICE");
    int h = zeptaOpen("TEST");
    ASSERT_TRUE(WaitConnected(h));
    // A slow device: each answer takes 200 ms, so frames are always in progress.
    device.SetWireModel(UsbDeviceEmulator::kByteTimeAt115200, 200ms);
    _korve_data_packet packet = NeutralPacket();
    for (int i = 0; i < 20; ++i) {
        packet.axis1 = 0.01f * static_cast<float>(i);
        zeptaWrite(h, &packet);
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(zeptaClose(h), h);
}

TEST_F(SessionLifecycle, CloseAfterTheThreadEndedByItselfReturnsAtOnce)
{
    int h = zeptaOpen("TEST");
    ASSERT_TRUE(WaitStopped(h));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(zeptaClose(h), h);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(SessionLifecycle, SeveralSessionsEachBindToTheirOwnDevice)
{
    UsbDeviceEmulator four("/dev/ttyACM0");
    four.SetIdentity("KORVE-DEVICE");
    four.SetSerialNumber("FOUR");
    UsbDeviceEmulator six("/dev/ttyACM1");
    six.SetIdentity("KORVE6-DEVICE");
    six.SetSerialNumber("SIX");
    int a = zeptaOpenSerialAssign("TEST", "a");
    int b = zeptaOpenSerialAssign("TEST", "b");
    ASSERT_TRUE(WaitConnected(a)) << DrainLog();
    ASSERT_TRUE(WaitConnected(b)) << DrainLog();
    EXPECT_NE(zeptaGetDevice(a), zeptaGetDevice(b));
    int fourHandle = zeptaGetDevice(a) == 2 ? a : b;
    int sixHandle = fourHandle == a ? b : a;
    EXPECT_EQ(zeptaGetDevice(sixHandle), 3);
    four.ClearReceived();
    six.ClearReceived();
    _korve_data_packet packet = NeutralPacket();
    zeptaWrite(fourHandle, &packet);
    zeptaWrite(sixHandle, &packet);
    auto hasPosition = [](std::size_t length) {
        return [length](const std::vector<zepta_tools::ReceivedCommand>& cmds) {
            for (const auto& c : cmds) {
                if (c.text[0] == 'p' && c.text.size() == length) return true;
            }
            return false;
        };
    };
    EXPECT_TRUE(four.WaitFor(hasPosition(10), 10s));
    EXPECT_TRUE(six.WaitFor(hasPosition(14), 10s));
    EXPECT_EQ(zeptaClose(a), a);
    EXPECT_EQ(zeptaClose(b), b);
}

TEST_F(SessionLifecycle, OpenCloseCyclesLeaveNoThreadOrDescriptorBehind)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE-DEVICE");
    // One cycle first, so that lazily created process-wide state exists.
    zeptaClose(zeptaOpen("TEST"));
    const int threads = ThreadCount();
    const int descriptors = OpenDescriptorCount();
    for (int i = 0; i < 6; ++i) {
        int h = zeptaOpen("TEST");
        if (i % 2 == 0) {
            ASSERT_TRUE(WaitConnected(h));
        }
        _korve_data_packet packet = NeutralPacket();
        zeptaWrite(h, &packet);
        EXPECT_EQ(zeptaClose(h), h);
    }
    // A joined thread may still be listed for a moment while the kernel
    // finishes its exit (for long moments under an emulator).
    EXPECT_TRUE(WaitUntil([threads] { return ThreadCount() == threads; }, 5s)) << ThreadCount() << " threads";
    EXPECT_EQ(OpenDescriptorCount(), descriptors);
}

}  // namespace
