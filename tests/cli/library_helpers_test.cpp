// The library's public helpers behind `zepta ports` and `zepta discover`,
// against in-process emulated devices.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "io/serial_port.h"
#include "lan/lan_discovery.h"
#include "lan/udp_socket.h"
#include "lan_device_emulator.h"
#include "support/sandbox.h"
#include "usb/port_probe.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using Outcome = ZEPTASDK::PortIdentity::Outcome;
using zepta_tools::UsbDeviceEmulator;

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// What the device received, without the bare ";" that clears the line first.
std::vector<std::string> Commands(const UsbDeviceEmulator& device)
{
    std::vector<std::string> texts;
    for (const zepta_tools::ReceivedCommand& command : device.Received()) {
        if (command.text != ";") texts.push_back(command.text);
    }
    return texts;
}

class ProbePort : public zepta_test::SandboxedTest {};

TEST_F(ProbePort, IdentifiesTheFamilyAndAsksNothingButIdentityAndVersion)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE2-DEVICE");
    device.SetVersion("FW 2.50");
    const ZEPTASDK::PortIdentity port = ZEPTASDK::ProbePort(Wide(device.DevicePath()));
    EXPECT_EQ(port.outcome, Outcome::Identified);
    EXPECT_EQ(port.identity, "KORVE2-DEVICE");
    EXPECT_EQ(port.deviceKind, 1);
    EXPECT_EQ(port.axisSet, 3u);
    EXPECT_EQ(port.version, "FW 2.50");
    EXPECT_EQ(Commands(device), (std::vector<std::string>{"d;", "v;"}));
}

TEST_F(ProbePort, TellsWhyAPortHoldsNoKnownDevice)
{
    UsbDeviceEmulator device;
    const std::wstring path = Wide(device.DevicePath());
    device.SetIdentity("HELLO");
    EXPECT_EQ(ZEPTASDK::ProbePort(path).outcome, Outcome::NotADevice);
    device.SetIdentity("KORVE9-DEVICE");
    const ZEPTASDK::PortIdentity unknown = ZEPTASDK::ProbePort(path);
    EXPECT_EQ(unknown.outcome, Outcome::UnknownFamily);
    EXPECT_EQ(unknown.identity, "KORVE9-DEVICE");
    EXPECT_EQ(unknown.deviceKind, 0);
    {
        ZEPTASDK::IO::SerialPort holder(path, false);
        ASSERT_TRUE(holder.IsEnable());
        EXPECT_EQ(ZEPTASDK::ProbePort(path).outcome, Outcome::Busy);
    }
    device.SilenceAfter(0);
    const ZEPTASDK::PortIdentity silent = ZEPTASDK::ProbePort(path);
    EXPECT_EQ(silent.outcome, Outcome::Silent);
    EXPECT_EQ(silent.identity, "");
}

TEST_F(ProbePort, AKnownDeviceWithoutAVersionIsStillIdentified)
{
    UsbDeviceEmulator device;
    device.SetIdentity("KORVE6-DEVICE");
    device.SilenceAfter(1);
    const ZEPTASDK::PortIdentity port = ZEPTASDK::ProbePort(Wide(device.DevicePath()));
    EXPECT_EQ(port.outcome, Outcome::Identified);
    EXPECT_EQ(port.axisSet, 63u);
    EXPECT_EQ(port.version, "");
}

class DiscoverLanDevices : public zepta_test::SandboxedTest {
protected:
    static zepta_tools::LanDeviceOptions Device(const std::string& address, const std::string& model,
                                               const std::string& serial)
    {
        zepta_tools::LanDeviceOptions options;
        options.address = address;
        options.model = model;
        options.serial = serial;
        return options;
    }
};

TEST_F(DiscoverLanDevices, ListsEachAnsweringDeviceOnceAndSkipsMalformedReplies)
{
    zepta_tools::LanDeviceEmulator seat(Device("127.0.0.2", "KORVE4DOF", "SEAT1"));
    zepta_tools::LanDeviceEmulator unknown(Device("127.0.0.3", "TOASTER", "T1"));
    zepta_tools::LanDeviceOptions garbled = Device("127.0.0.4", "KORVE4DOF", "X");
    garbled.discovery.reply = "--NOSERIAL-";
    zepta_tools::LanDeviceEmulator broken(garbled);
    std::vector<ZEPTASDK::LanDeviceInfo> devices;
    ASSERT_TRUE(ZEPTASDK::DiscoverLanDevices(600, devices));
    // Each device answers every one of the pings, and is listed once.
    EXPECT_GE(seat.PingCount(), 2);
    ASSERT_EQ(devices.size(), 2u);
    const bool seatFirst = devices[0].model == "KORVE4DOF";
    const ZEPTASDK::LanDeviceInfo& found = devices[seatFirst ? 0 : 1];
    const ZEPTASDK::LanDeviceInfo& other = devices[seatFirst ? 1 : 0];
    EXPECT_EQ(found.deviceType, 2u);
    EXPECT_EQ(found.serialNumber, "SEAT1");
    EXPECT_EQ(found.address, "127.0.0.2");
    EXPECT_EQ(other.model, "TOASTER");
    EXPECT_EQ(other.deviceType, 0u);
}

TEST_F(DiscoverLanDevices, ReportsABusyDiscoveryPort)
{
    namespace Lan = ZEPTASDK::LanDiscovery;
    ZEPTASDK::UdpSocket holder;
    ASSERT_TRUE(Lan::OpenPingSocket(holder, {Lan::kAnyAddress, Lan::kLocalPort}));
    std::vector<ZEPTASDK::LanDeviceInfo> devices{ZEPTASDK::LanDeviceInfo{}};
    EXPECT_FALSE(ZEPTASDK::DiscoverLanDevices(100, devices));
    EXPECT_TRUE(devices.empty());
}

}  // namespace
