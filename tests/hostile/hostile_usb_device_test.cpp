// Whole sessions against a USB device that misbehaves: floods, trickles,
// binary garbage, a pulled cable in the middle of a line, and a different
// device on the same port after reconnecting. The session must never crash or
// hang beyond the protocol's time-outs, must keep its memory bounded, and
// must say what happened through its state and its log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "resident_memory.h"
#include "session/session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using namespace zepta_test;
using zepta_tools::ReceivedCommand;
using zepta_tools::UsbDeviceEmulator;
using ::testing::Contains;
using ::testing::IsSupersetOf;

constexpr int kShutDown = 4;
// A session that found no device reads the initial state again.
constexpr int kNoController = 6;
constexpr std::size_t kMemoryMargin = 64 * kMegabyte;
// Far above the protocol's own time-outs: a calibration wait of 4.4 s, a
// device search of two passes and a second, a LAN discovery of a second.
constexpr std::chrono::milliseconds kPatience = 20s;

class HostileUsbDevice : public SessionTest {
protected:
    // Opens a session and waits for it to run on the emulated device.
    void Connect()
    {
        handle_ = zeptaOpen("TEST");
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        DrainLog();
    }

    // Writes frames until the session has stopped by itself.
    bool FramesUntilStopped()
    {
        const _korve_data_packet packet = NeutralPacket();
        return WaitUntil([&] {
            zeptaWrite(handle_, &packet);
            return zeptaGetSystemStatus(handle_) == 0;
        }, kPatience);
    }

    // The session ended in state 4, its log says why, and Close is prompt.
    void ExpectShutDownWith(const std::string& reason)
    {
        EXPECT_EQ(zeptaGetState(handle_), kShutDown);
        EXPECT_THAT(SplitLines(DrainLog()), IsSupersetOf({reason, std::string("Actuator shut down."),
                                                          std::string("ZEPTA thread terminated.")}));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(zeptaClose(handle_), handle_);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
        handle_ = -1;
    }

    // Opens a session that must find no device on the port, and waits for it to give up.
    void ExpectNoDeviceFound()
    {
        handle_ = zeptaOpen("TEST");
        ASSERT_TRUE(WaitStopped(handle_, kPatience)) << DrainLog();
        EXPECT_EQ(zeptaGetState(handle_), kNoController);
        EXPECT_FALSE(zeptaIsRunning(handle_));
        EXPECT_THAT(SplitLines(DrainLog()), IsSupersetOf({std::string("USB connection failed."),
                                                          std::string("ZEPTA thread terminated.")}));
    }

    // A session on device as a device of the family identity: its kind and
    // the length of its position commands; then the cable is pulled.
    void ConnectThenUnplug(UsbDeviceEmulator& device, const std::string& identity, int kind,
                           std::size_t positionLength)
    {
        device.SetIdentity(identity);
        Connect();
        EXPECT_EQ(zeptaGetDevice(handle_), kind);
        device.ClearReceived();
        const _korve_data_packet packet = NeutralPacket();
        zeptaWrite(handle_, &packet);
        EXPECT_TRUE(device.WaitFor([positionLength](const std::vector<ReceivedCommand>& commands) {
            for (const auto& c : commands) {
                if (c.text[0] == 'p') return c.text.size() == positionLength;
            }
            return false;
        }, kPatience));
        device.Disconnect();
        ASSERT_TRUE(FramesUntilStopped()) << DrainLog();
        EXPECT_EQ(zeptaClose(handle_), handle_);
    }

    UsbDeviceEmulator device_;
};

TEST_F(HostileUsbDevice, FloodWithoutLineEndShutsTheSessionDown)
{
    Connect();
    const std::size_t before = ResidentBytes();
    device_.BabbleInsteadOfNextStatus("x");

    ASSERT_TRUE(FramesUntilStopped()) << DrainLog();
    EXPECT_LT(ResidentBytes(), before + kMemoryMargin);
    ExpectShutDownWith("Connection lost.");
}

TEST_F(HostileUsbDevice, FloodOfButtonPressesShutsTheSessionDown)
{
    Connect();
    device_.BabbleInsteadOfNextStatus("KORVE-BUTTON\r\n");

    ASSERT_TRUE(FramesUntilStopped()) << DrainLog();
    ExpectShutDownWith("Connection lost.");
}

TEST_F(HostileUsbDevice, TrickleWithoutLineEndShutsTheSessionDown)
{
    Connect();
    device_.BabbleInsteadOfNextStatus("KORVE-STATUS-15", std::chrono::milliseconds(50));

    ASSERT_TRUE(FramesUntilStopped()) << DrainLog();
    ExpectShutDownWith("TimeOut");
}

TEST_F(HostileUsbDevice, CablePulledInTheMiddleOfALineShutsTheSessionDown)
{
    Connect();
    const std::string halfLine = "KORVE-STAT";
    device_.ReplaceNextStatus(halfLine);
    device_.SetObserver([this, halfLine](const ReceivedCommand&, const std::vector<std::string>& replies) {
        if (!replies.empty() && replies.back() == halfLine) device_.Disconnect();
    });

    ASSERT_TRUE(FramesUntilStopped()) << DrainLog();
    ExpectShutDownWith("TimeOut");
}

TEST_F(HostileUsbDevice, BinaryGarbageForAnIdentityFindsNoDevice)
{
    device_.SetIdentity(std::string("\x00\xff\x1b[2J\x80-DEVICE\x7f", 14));
    ExpectNoDeviceFound();
}

TEST_F(HostileUsbDevice, FloodInPlaceOfAnIdentityFindsNoDevice)
{
    device_.SetIdentity(std::string(20000, 'z'));
    ExpectNoDeviceFound();
}

TEST_F(HostileUsbDevice, OtherDeviceAfterReconnectingIsTakenForWhatItSays)
{
    ConnectThenUnplug(device_, "KORVE6-DEVICE", 3, 14);

    // Another family on the same port: four axes now, so four-value positions.
    UsbDeviceEmulator fourAxes(device_.DevicePath());
    ConnectThenUnplug(fourAxes, "KORVE-DEVICE", 2, 10);

    // And a device of no known family.
    UsbDeviceEmulator unknown(device_.DevicePath());
    unknown.SetIdentity("KORVE9-DEVICE");
    ExpectNoDeviceFound();
}

}  // namespace
