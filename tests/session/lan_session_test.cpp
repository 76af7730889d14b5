// Whole sessions over the LAN, through the C interface, against emulated
// network devices inside the sandbox.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "lan_emulator/lan_device_emulator.h"
#include "session_test_support.h"

namespace {

using namespace zepta_test;
using zepta_tools::LanDeviceEmulator;
using zepta_tools::LanDeviceOptions;
using zepta_tools::ReceivedDatagram;

LanDeviceOptions Device(const std::string& model, const std::string& serial, const std::string& address = "127.0.0.2")
{
    LanDeviceOptions options;
    options.model = model;
    options.serial = serial;
    options.address = address;
    return options;
}

class LanSession : public SessionTest {
protected:

    // Opens a session, waits for the first acknowledged frame and for the
    // frames to go quiet, then forgets what the device received so far.
    void Connect(LanDeviceEmulator& device, int axisMode = ZEPTA_AXIS_BASE)
    {
        handle_ = zeptaOpen("TEST");
        zeptaSetAxisProcessingMode(handle_, axisMode);
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        std::size_t seen = device.Received().size();
        for (int i = 0; i < 40; ++i) {
            std::this_thread::sleep_for(200ms);
            std::size_t now = device.Received().size();
            if (now == seen) break;
            seen = now;
        }
        device.ClearReceived();
    }

    ReceivedDatagram Frame(LanDeviceEmulator& device, const _korve_data_packet& packet)
    {
        device.ClearReceived();
        zeptaWrite(handle_, &packet);
        EXPECT_TRUE(device.WaitForCount(1, 10s));
        auto received = device.Received();
        return received.empty() ? ReceivedDatagram() : received.front();
    }

};

TEST_F(LanSession, EveryModelConnectsWithItsDeviceKind)
{
    const struct {
        const char* model;
        int kind;
    } models[] = {{"KORVE2DOF", 1}, {"KORVE4DOF", 2}, {"KORVE6DOF", 3}, {"KORVEGRANDEQX", 5},
                  {"KORVEGRANDE500QX", 6}, {"MOSSPOD", 4}, {"KORVEKICKBOARDQX", 101}, {"KORVEGRANDE", 102}};
    for (const auto& model : models) {
        SCOPED_TRACE(model.model);
        LanDeviceEmulator device(Device(model.model, "LAN77"));
        int h = zeptaOpen("TEST");
        ASSERT_TRUE(WaitConnected(h)) << DrainLog();
        EXPECT_EQ(zeptaGetDevice(h), model.kind);
        EXPECT_STREQ(zeptaGetSerialNumber(h), "LAN77");
        EXPECT_EQ(zeptaGetStatusEXT4(h), 0);
        EXPECT_EQ(zeptaClose(h), h);
        std::string log = DrainLog();
        EXPECT_NE(log.find("LAN mode started.\n"), std::string::npos) << log;
        EXPECT_NE(log.find("LAN mode stopped.\n"), std::string::npos) << log;
    }
}

TEST_F(LanSession, FourAxisDeviceReceivesTheFullObject)
{
    LanDeviceEmulator device(Device("KORVE4DOF", "A1"));
    Connect(device, ZEPTA_AXIS_MANUAL);
    ReceivedDatagram datagram = Frame(device, NeutralPacket());
    EXPECT_EQ(datagram.bytes,
              "{\"acc\":500,\"ax1\":500,\"ax2\":500,\"ax3\":500,\"ax4\":500,\"ax5\":500,\"ax6\":500,"
              "\"axisProc\":0,\"graMR\":0,\"heave\":0,\"isOrg\":false,\"pitch\":0,\"roll\":0,\"rotMR\":1000,"
              "\"spd1\":667,\"spd2\":667,\"spd3\":667,\"spd4\":667,\"spd5\":667,\"spd6\":667,"
              "\"spdGain\":0,\"surge\":0,\"sway\":0,\"yaw\":0}");
}

TEST_F(LanSession, StewartPlatformReceivesBinaryRecordsWithinTheStroke)
{
    LanDeviceEmulator device(Device("KORVEGRANDE500QX", "QX5"));
    Connect(device);
    _korve_data_packet packet = NeutralPacket();
    packet.graMR = 1.0f;
    packet.pitch = 1.0f;
    packet.heave = -1.0f;
    packet.roll = 0.7f;
    for (int i = 0; i < 5; ++i) {
        ReceivedDatagram datagram = Frame(device, packet);
        ASSERT_EQ(datagram.kind, ReceivedDatagram::Kind::Binary);
        EXPECT_EQ(datagram.words[0], 14);
        for (int w = 1; w <= 6; ++w) {
            EXPECT_GE(datagram.words[w], 199);
            EXPECT_LE(datagram.words[w], 9800);
        }
    }
    zeptaSetOriginMode(handle_, 1);
    ReceivedDatagram origin = Frame(device, packet);
    for (int w = 1; w <= 6; ++w) EXPECT_EQ(origin.words[w], 300);
    EXPECT_EQ(origin.words[13], 800);
}

// While the device answers "CACK" it is calibrating: every frame restarts the
// speed derivation, so speeds go out at 0.67 and the acceleration at its ceiling.
TEST_F(LanSession, CalibratingDeviceGetsResetFrames)
{
    LanDeviceEmulator device(Device("KORVEGRANDEQX", "QX2"));
    Connect(device);
    zepta_tools::AckScript calibrating;
    calibrating.replies = {"CACK"};
    device.SetAckScript(calibrating);
    _korve_data_packet packet = NeutralPacket();
    Frame(device, packet);
    ASSERT_TRUE(WaitUntil([this] { return zeptaGetState(handle_) == 7; }, 5s));
    ReceivedDatagram datagram = Frame(device, packet);
    for (int w = 7; w <= 12; ++w) EXPECT_EQ(datagram.words[w], 10050) << w;
    EXPECT_EQ(datagram.words[13], 9800);
    EXPECT_TRUE(zeptaIsRunning(handle_));
}

TEST_F(LanSession, QueuedTextCommandsNeverReachTheNetwork)
{
    LanDeviceEmulator device(Device("KORVE2DOF", "B2"));
    Connect(device);
    _korve_data_packet packet = NeutralPacket();
    packet.commandCount = 3;
    std::strcpy(packet.commandBuffer, "secret");
    for (int i = 0; i < 3; ++i) Frame(device, packet);
    std::this_thread::sleep_for(200ms);
    for (const auto& datagram : device.Received()) {
        EXPECT_EQ(datagram.bytes.find("secret"), std::string::npos);
        EXPECT_EQ(datagram.kind, ReceivedDatagram::Kind::Json);
    }
}

TEST_F(LanSession, SilentAcknowledgementsCloseTheLink)
{
    LanDeviceOptions options = Device("KORVE6DOF", "C3");
    LanDeviceEmulator device(options);
    Connect(device);
    zepta_tools::AckScript silent;
    silent.replies.clear();
    device.SetAckScript(silent);
    _korve_data_packet packet = NeutralPacket();
    // Frames keep coming; after ten unacknowledged sends the eleventh closes the link.
    ASSERT_TRUE(WaitUntil([&] {
        zeptaWrite(handle_, &packet);
        return zeptaGetState(handle_) == 4;
    }, 20s)) << DrainLog();
    EXPECT_FALSE(zeptaIsRunning(handle_));
    std::string log = DrainLog();
    EXPECT_NE(log.find("Device not responding. Please reboot the device.\nLAN mode stopped.\n"), std::string::npos)
        << log;
    // Later frames send nothing.
    device.ClearReceived();
    zeptaWrite(handle_, &packet);
    std::this_thread::sleep_for(300ms);
    EXPECT_TRUE(device.Received().empty());
}

TEST_F(LanSession, AssignedSerialSelectsThatDeviceAmongSeveral)
{
    LanDeviceEmulator first(Device("KORVE4DOF", "FIRST", "127.0.0.2"));
    LanDeviceEmulator second(Device("KORVE2DOF", "SECOND", "127.0.0.3"));
    handle_ = zeptaOpenSerialAssign("TEST", "SECOND");
    ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
    EXPECT_EQ(zeptaGetDevice(handle_), 1);
    EXPECT_STREQ(zeptaGetSerialNumber(handle_), "SECOND");
    _korve_data_packet packet = NeutralPacket();
    zeptaWrite(handle_, &packet);
    EXPECT_TRUE(second.WaitForCount(1, 10s));
    EXPECT_TRUE(first.Received().empty());
    std::string log = DrainLog();
    EXPECT_NE(log.find("SECOND: LAN device found: SECOND\nSECOND: Assigned the device: SECOND\n"), std::string::npos)
        << log;
}

}  // namespace
