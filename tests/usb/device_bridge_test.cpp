#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <memory>

#include "io/serial_port.h"
#include "support/sandbox.h"
#include "usb/device_bridge.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zepta_tools::ReceivedCommand;
using zepta_tools::UsbDeviceEmulator;
using ZEPTASDK::DeviceBridge;

using namespace std::chrono_literals;

// The commands proper: the bare ";" with which the port clears a half-sent
// command may or may not arrive, since the next clear flushes it.
std::vector<std::string> Texts(const std::vector<ReceivedCommand>& commands)
{
    std::vector<std::string> texts;
    for (const ReceivedCommand& command : commands) {
        if (command.text != ";") texts.push_back(command.text);
    }
    return texts;
}

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// VTIME of the device's tty, as the library last set it.
int ReadTimeoutTenths(const UsbDeviceEmulator& device)
{
    char slave[PATH_MAX];
    if (realpath(device.DevicePath().c_str(), slave) == nullptr) return -1;
    const int fd = open(slave, O_RDWR | O_NOCTTY);
    termios t{};
    tcgetattr(fd, &t);
    close(fd);
    return t.c_cc[VTIME];
}

class DeviceBridgeTest : public zepta_test::SandboxedTest {};

// Two devices under names that no other test uses, so that the last good
// port of an earlier test in this process cannot point at one of them.
// first is the one the directory lists first.
struct TwoDevices {
    std::unique_ptr<UsbDeviceEmulator> first;
    std::unique_ptr<UsbDeviceEmulator> second;
};

TwoDevices PublishTwo(const std::string& prefix)
{
    auto a = std::make_unique<UsbDeviceEmulator>("/dev/ttyACM" + prefix + "a");
    auto b = std::make_unique<UsbDeviceEmulator>("/dev/ttyACM" + prefix + "b");
    const std::vector<std::wstring> names = ZEPTASDK::IO::GetPortNames();
    if (names.size() == 2 && Narrow(names[0]) == b->DevicePath()) return {std::move(b), std::move(a)};
    return {std::move(a), std::move(b)};
}

TEST_F(DeviceBridgeTest, FindsTheSecondPortInTheFirstPassAndTriesItFirstNextTime)
{
    TwoDevices devices = PublishTwo("search");
    ASSERT_EQ(ZEPTASDK::IO::GetPortNames().size(), 2u);
    devices.first->SilenceAfter(0);
    devices.second->SetIdentity("KORVE2-DEVICE");

    {
        DeviceBridge bridge;
        EXPECT_EQ(bridge.MotionSimGUID(), "KORVE2-DEVICE");
    }
    EXPECT_THAT(Texts(devices.first->Received()), ElementsAre("d;"));
    EXPECT_THAT(Texts(devices.second->Received()), ElementsAre("d;"));

    devices.first->ClearReceived();
    devices.second->ClearReceived();
    DeviceBridge again;
    EXPECT_EQ(again.MotionSimGUID(), "KORVE2-DEVICE");
    EXPECT_THAT(Texts(devices.first->Received()), IsEmpty());
    EXPECT_THAT(Texts(devices.second->Received()), ElementsAre("d;"));
}

TEST_F(DeviceBridgeTest, IdentityMustContainDeviceAnywhere)
{
    TwoDevices devices = PublishTwo("identity");
    devices.first->SetIdentity("KORVE-READY");
    devices.second->SetIdentity("ACME-DEVICE rev 2");

    DeviceBridge bridge;

    EXPECT_EQ(bridge.MotionSimGUID(), "ACME-DEVICE rev 2");
    EXPECT_THAT(Texts(devices.first->Received()), ElementsAre("d;"));
}

TEST_F(DeviceBridgeTest, SilentPortsAreTriedInTwoPassesThenLeftPortless)
{
    UsbDeviceEmulator silent("/dev/ttyACMsilent");
    silent.SilenceAfter(0);

    DeviceBridge bridge;

    EXPECT_THAT(Texts(silent.Received()), ElementsAre("d;", "d;"));
    EXPECT_EQ(bridge.MotionSimGUID(), "");
    bridge.Write("usb;");
    EXPECT_EQ(bridge.Read(), "");
}

// Without any port the bridge answers "usb;" with "NotFind", but a portless
// bridge reads "" whatever the answer: the handshake fails at identification.
TEST_F(DeviceBridgeTest, NoPortAtAllLeavesThePortlessBridgeReadingEmpty)
{
    ASSERT_TRUE(ZEPTASDK::IO::GetPortNames().empty());
    DeviceBridge bridge;

    bridge.Write("usb;");
    EXPECT_EQ(bridge.Read(), "");
    EXPECT_EQ(bridge.MotionSimGUID(), "");
}

class ConnectedBridgeTest : public DeviceBridgeTest {
protected:
    void SetUp() override
    {
        DeviceBridgeTest::SetUp();
        device = std::make_unique<UsbDeviceEmulator>("/dev/ttyACMbridge");
        bridge = std::make_unique<DeviceBridge>();
        ASSERT_EQ(bridge->MotionSimGUID(), "KORVE-DEVICE");
        device->ClearReceived();
    }

    std::unique_ptr<UsbDeviceEmulator> device;
    std::unique_ptr<DeviceBridge> bridge;
};

TEST_F(ConnectedBridgeTest, UsbQueryIsAnsweredLocallyUntilTheNextCommand)
{
    bridge->Write("usb;");
    EXPECT_EQ(bridge->Read(), "Find");
    EXPECT_EQ(bridge->Read(), "Find");

    bridge->Write("n;");
    EXPECT_EQ(bridge->Read(), "KORVE-STATUS-15-EXT4-0000");
    EXPECT_THAT(Texts(device->Received()), ElementsAre("n;"));
}

TEST_F(ConnectedBridgeTest, CommandsArmTheShortTimeoutAndTheEmptyOneTheLong)
{
    EXPECT_EQ(ReadTimeoutTenths(*device), 3);

    bridge->Write("");
    EXPECT_EQ(ReadTimeoutTenths(*device), 44);
    EXPECT_THAT(Texts(device->Received()), IsEmpty());

    bridge->Write("v;");
    EXPECT_EQ(ReadTimeoutTenths(*device), 5);
    EXPECT_EQ(bridge->Read(), "FW 1.00");
}

// The frame path reads every reply into one string it keeps: ReadLine answers
// exactly as Read does, and a status line reuses the storage of the last one.
TEST_F(ConnectedBridgeTest, ReadLineAnswersLikeReadAndReusesTheLine)
{
    std::string line;
    bridge->Write("usb;");
    bridge->ReadLine(line);
    EXPECT_EQ(line, "Find");

    bridge->Write("n;");
    bridge->ReadLine(line);
    EXPECT_EQ(line, "KORVE-STATUS-15-EXT4-0000");
    const char* storage = line.data();
    bridge->Write("n;");
    bridge->ReadLine(line);
    EXPECT_EQ(line, "KORVE-STATUS-15-EXT4-0000");
    EXPECT_EQ(line.data(), storage);

    device->SilenceAfter(0);
    bridge->Write("n;");
    bridge->ReadLine(line);
    EXPECT_EQ(line, "TimeOut");

    bridge->portDisable();
    bridge->ReadLine(line);
    EXPECT_EQ(line, "");
}

TEST_F(ConnectedBridgeTest, DisabledPortReadsEmptyAndSendsNothing)
{
    bridge->portDisable();

    bridge->Write("n;");
    EXPECT_EQ(bridge->Read(), "");
    EXPECT_EQ(bridge->MotionSimGUID(), "KORVE-DEVICE");
    EXPECT_FALSE(device->WaitFor([](const auto& received) { return !received.empty(); }, 300ms));
}

}  // namespace
