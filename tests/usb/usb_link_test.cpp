// The handshake, calibration and supervision over the real serial link,
// against the device emulator.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>

#include "io/serial_port.h"
#include "support/sandbox.h"
#include "usb/controller.h"
#include "usb/device_bridge.h"
#include "usb/scripted_bridge.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using zepta_test::DrainLogLines;
using zepta_tools::CalibrationFault;
using zepta_tools::ReceivedCommand;
using zepta_tools::UsbDeviceEmulator;
using ZEPTASDK::Controller;
using ZEPTASDK::DeviceBridge;

using namespace std::chrono_literals;

long CountOf(const std::vector<ReceivedCommand>& commands, const std::string& text)
{
    return std::count_if(commands.begin(), commands.end(),
                         [&](const ReceivedCommand& command) { return command.text == text; });
}

class UsbLinkTest : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        device = std::make_unique<UsbDeviceEmulator>("/dev/ttyACM0");
        DrainLogLines();
    }

    void Connect()
    {
        bridge = std::make_shared<DeviceBridge>();
        controller = std::make_unique<Controller>(bridge, "S1");
    }

    std::unique_ptr<UsbDeviceEmulator> device;
    std::shared_ptr<DeviceBridge> bridge;
    std::unique_ptr<Controller> controller;
};

struct Family {
    std::string identity;
    int model;
};

void PrintTo(const Family& family, std::ostream* os) { *os << family.identity; }

class UsbLinkFamilyTest : public UsbLinkTest, public ::testing::WithParamInterface<Family> {};

TEST_P(UsbLinkFamilyTest, HandshakeReachesRunningAndFramesAreAccepted)
{
    device->SetIdentity(GetParam().identity);
    Connect();

    ASSERT_EQ(controller->GetState(), 8);
    EXPECT_EQ(controller->GetZEPTA(), GetParam().model);
    EXPECT_EQ(controller->GetZEPTASerialNumber(), "EMU00001");
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.25f, 0.75f, 0.1f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    EXPECT_EQ(controller->GetState(), 8);
    EXPECT_EQ(CountOf(device->Received(), "p8040BF1A;"), 1);
    EXPECT_EQ(CountOf(device->Received(), "aFF80;"), 1);
}

INSTANTIATE_TEST_SUITE_P(Families, UsbLinkFamilyTest,
                         ::testing::Values(Family{"KORVE-DEVICE", 2}, Family{"KORVE6-DEVICE", 3},
                                           Family{"KORVE2-DEVICE", 1}, Family{"NEBULO2-DEVICE", 100},
                                           Family{"KORVETL-DEVICE", 103}, Family{"PLIX-DEVICE", 104}),
                         [](const ::testing::TestParamInfo<Family>& info) { return "Model" + std::to_string(info.param.model); });

TEST_F(UsbLinkTest, UnknownFamilyClosesThePort)
{
    device->SetIdentity("OTHER-DEVICE");
    Connect();

    EXPECT_EQ(controller->GetState(), 1);
    ZEPTASDK::IO::SerialPort free(L"/dev/ttyACM0", false);
    EXPECT_TRUE(free.IsEnable());
}

TEST_F(UsbLinkTest, CalibrationLongerThanACommandTimeoutSucceeds)
{
    device->SetCalibrationDelay(1200ms);
    Connect();

    EXPECT_EQ(controller->GetState(), 8);
}

TEST_F(UsbLinkTest, OneStartUpErrorIsRetried)
{
    device->SetCalibrationFault(CalibrationFault::ErrorReset, false);
    Connect();

    EXPECT_EQ(controller->GetState(), 8);
    EXPECT_EQ(CountOf(device->Received(), "c;"), 2);
}

TEST_F(UsbLinkTest, PersistentStartUpErrorFailsAfterThreeRuns)
{
    device->SetCalibrationFault(CalibrationFault::CircuitError, true);
    Connect();

    EXPECT_EQ(controller->GetState(), 2);
    EXPECT_EQ(CountOf(device->Received(), "c;"), 3);
    EXPECT_EQ(CountOf(device->Received(), "s;"), 0);
}

TEST_F(UsbLinkTest, UnacknowledgedCalibrationTimesOut)
{
    device->SetCalibrationFault(CalibrationFault::NoAcknowledge, false);
    Connect();

    EXPECT_EQ(controller->GetState(), 3);
}

class RunningUsbLinkTest : public UsbLinkTest {
protected:
    void SetUp() override
    {
        UsbLinkTest::SetUp();
        Connect();
        ASSERT_EQ(controller->GetState(), 8);
        DrainLogLines();
    }
};

// A lower bound only: a slow machine can make the answer later, never earlier.
TEST_F(RunningUsbLinkTest, WireModelNeverAnswersEarly)
{
    device->SetWireModel(1ms, 20ms);
    const auto sent = std::chrono::steady_clock::now();

    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    const auto answered = std::chrono::steady_clock::now();
    // "p80808080;" is 10 bytes, "KORVE-STATUS-15-EXT4-0000\r\n" 27.
    EXPECT_GE(answered - sent, 10ms + 20ms + 27ms);
}

struct ShutDownCase {
    const char* name;
    std::function<void(UsbDeviceEmulator&)> fault;
};

void PrintTo(const ShutDownCase& c, std::ostream* os) { *os << c.name; }

class UsbLinkShutDownTest : public RunningUsbLinkTest, public ::testing::WithParamInterface<ShutDownCase> {};

// Whatever the device does wrong, the frame ends and the link is closed.
TEST_P(UsbLinkShutDownTest, FaultEndsTheLinkWithoutHanging)
{
    GetParam().fault(*device);

    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(controller->GetState(), 4);
    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(controller->GetState(), 4);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, UsbLinkShutDownTest,
    ::testing::Values(
        ShutDownCase{"Silence", [](UsbDeviceEmulator& d) { d.SilenceAfter(0); }},
        ShutDownCase{"NoAxes", [](UsbDeviceEmulator& d) { d.ReplaceNextStatus("KORVE-STATUS-00\r\n"); }},
        ShutDownCase{"NoLineEnd", [](UsbDeviceEmulator& d) { d.ReplaceNextStatus("KORVE-STATUS-15-EXT4-0000"); }},
        ShutDownCase{"Garbage", [](UsbDeviceEmulator& d) { d.ReplaceNextStatus(std::string("\x00\xff\x80\x13z\r\n", 7)); }},
        ShutDownCase{"EndlessLine", [](UsbDeviceEmulator& d) { d.ReplaceNextStatus(std::string(3 * ZEPTASDK::IO::SerialPort::kMaxLineLength, 'x')); }},
        ShutDownCase{"Unplugged", [](UsbDeviceEmulator& d) { d.Disconnect(); }}),
    [](const ::testing::TestParamInfo<ShutDownCase>& info) { return std::string(info.param.name); });

// The device outlives the library's port: a new session finds it again.
TEST_F(RunningUsbLinkTest, DeviceIsFoundAgainAfterThePortWasClosed)
{
    controller.reset();
    bridge.reset();
    device->ClearReceived();

    Connect();

    EXPECT_EQ(controller->GetState(), 8);
    EXPECT_EQ(CountOf(device->Received(), "d;"), 1);
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
}

}  // namespace
