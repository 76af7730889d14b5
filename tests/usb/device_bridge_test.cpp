// The bridge over real ports, against the device emulator: the search, the
// local answer to "usb;", the read time-out for each command.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <memory>

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

// The commands proper: the bare ";" with which a port is cleared may or may
// not arrive, since the next clear flushes it.
std::vector<std::string> Texts(const UsbDeviceEmulator& device)
{
    std::vector<std::string> texts;
    for (const ReceivedCommand& command : device.Received()) {
        if (command.text != ";") texts.push_back(command.text);
    }
    return texts;
}

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

// Each search pass asks every port in directory order; the port found is
// tried first by the next bridge. The names are used by no other test, so
// the remembered port of an earlier test cannot point at one of them.
TEST_F(DeviceBridgeTest, SearchTakesTheFirstIdentityLineAndRemembersItsPort)
{
    UsbDeviceEmulator a("/dev/ttyACMsearcha");
    UsbDeviceEmulator b("/dev/ttyACMsearchb");
    const bool aFirst = ZEPTASDK::IO::GetPortNames().front() == L"/dev/ttyACMsearcha";
    UsbDeviceEmulator& first = aFirst ? a : b;
    UsbDeviceEmulator& second = aFirst ? b : a;
    first.SetIdentity("KORVE-READY");
    second.SetIdentity("ACME-DEVICE rev 2");

    EXPECT_EQ(DeviceBridge().MotionSimGUID(), "ACME-DEVICE rev 2");
    EXPECT_THAT(Texts(first), ElementsAre("d;"));
    first.ClearReceived();
    EXPECT_EQ(DeviceBridge().MotionSimGUID(), "ACME-DEVICE rev 2");
    EXPECT_THAT(Texts(first), IsEmpty());
    EXPECT_THAT(Texts(second), ElementsAre("d;", "d;"));
}

TEST_F(DeviceBridgeTest, SilentPortIsAskedInTwoPassesThenLeftPortless)
{
    UsbDeviceEmulator silent("/dev/ttyACMsilent");
    silent.SilenceAfter(0);
    DeviceBridge bridge;

    EXPECT_THAT(Texts(silent), ElementsAre("d;", "d;"));
    EXPECT_EQ(bridge.MotionSimGUID(), "");
    bridge.Write("usb;");
    EXPECT_EQ(bridge.Read(), "");
}

TEST_F(DeviceBridgeTest, ConnectedBridgeAnswersUsbItselfAndArmsATimeoutPerCommand)
{
    UsbDeviceEmulator device("/dev/ttyACMbridge");
    DeviceBridge bridge;
    ASSERT_EQ(bridge.MotionSimGUID(), "KORVE-DEVICE");
    device.ClearReceived();
    EXPECT_EQ(ReadTimeoutTenths(device), 3);

    bridge.Write("usb;");
    EXPECT_EQ(bridge.Read(), "Find");
    EXPECT_EQ(bridge.Read(), "Find");
    bridge.Write("");
    EXPECT_EQ(ReadTimeoutTenths(device), 44);
    bridge.Write("v;");
    EXPECT_EQ(ReadTimeoutTenths(device), 5);
    EXPECT_EQ(bridge.Read(), "FW 1.00");
    EXPECT_THAT(Texts(device), ElementsAre("v;"));

    // The frame path reads every reply into one string it keeps.
    std::string line;
    bridge.Write("n;");
    bridge.ReadLine(line);
    const char* storage = line.data();
    bridge.Write("n;");
    bridge.ReadLine(line);
    EXPECT_EQ(line, "KORVE-STATUS-15-EXT4-0000");
    EXPECT_EQ(line.data(), storage);
    device.SilenceAfter(0);
    bridge.Write("n;");
    EXPECT_EQ(bridge.Read(), "TimeOut");

    bridge.portDisable();
    device.ClearReceived();
    bridge.Write("n;");
    bridge.ReadLine(line);
    EXPECT_EQ(line, "");
    EXPECT_EQ(bridge.MotionSimGUID(), "KORVE-DEVICE");
    EXPECT_FALSE(device.WaitFor([](const auto& received) { return !received.empty(); }, 300ms));
}

}  // namespace
