// Whole sessions over USB, through the C interface, against the emulated
// device: the exact commands on the wire for known packets in every mode.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using namespace zepta_test;
using zepta_tools::UsbDeviceEmulator;
using Texts = std::vector<std::string>;

bool IsMotion(const std::string& text) { return text[0] == 'p' || text[0] == 'a'; }

std::size_t Count(const UsbDeviceEmulator& device, bool (*matches)(const std::string&))
{
    std::size_t n = 0;
    for (const auto& command : device.Received()) n += matches(command.text) ? 1 : 0;
    return n;
}

class UsbSession : public SessionTest {
protected:
    // Opens a session and waits until its first frame has gone out whole (no
    // command for a while), then forgets what the device received so far.
    void Connect(const std::string& identity, int axisMode = ZEPTA_AXIS_BASE, int speedMode = ZEPTA_SPEED_DEFAULT)
    {
        device.ClearReceived();
        device.SetIdentity(identity);
        handle_ = zeptaOpen("TEST");
        zeptaSetAxisProcessingMode(handle_, axisMode);
        zeptaSetSpeedGainMode(handle_, speedMode);
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        ASSERT_TRUE(WaitUntil([this] { return Count(device, [](const std::string& t) { return t[0] == 'p'; }) > 0; }, 10s));
        for (std::size_t seen = 0; seen != device.Received().size();) {
            seen = device.Received().size();
            WaitUntil([&] { return device.Received().size() != seen; }, 250ms);
        }
        device.ClearReceived();
    }

    // Writes one packet and returns the first expected commands it produced.
    Texts Frame(const _korve_data_packet& packet, std::size_t expected, bool (*matches)(const std::string&) = IsMotion)
    {
        device.ClearReceived();
        zeptaWrite(handle_, &packet);
        WaitUntil([&] { return Count(device, matches) >= expected; }, 10s);
        Texts texts;
        for (const auto& command : device.Received()) {
            if (matches(command.text) && texts.size() < expected) texts.push_back(command.text);
        }
        return texts;
    }

    UsbDeviceEmulator device;
};

TEST_F(UsbSession, EveryFamilyConnectsWithItsKindSerialAndStatusCode)
{
    const std::pair<const char*, int> families[] = {
        {"KORVE-DEVICE", ZEPTA_DEVICE_KORVE_4DOF},   {"KORVE6-DEVICE", ZEPTA_DEVICE_KORVE_6DOF},
        {"KORVE2-DEVICE", ZEPTA_DEVICE_KORVE_2DOF},  {"NEBULO2-DEVICE", ZEPTA_DEVICE_NEBULO_2DOF},
        {"KORVETL-DEVICE", ZEPTA_DEVICE_TRAXEL},     {"PLIX-DEVICE", ZEPTA_DEVICE_PLIX}};
    device.SetSerialNumber("SN-4711");
    device.SetStatusCode(1234);
    for (const auto& family : families) {
        device.SetIdentity(family.first);
        const int h = zeptaOpenSerialAssign("TEST", "seat");
        ASSERT_TRUE(WaitConnected(h)) << DrainLog();
        EXPECT_EQ(zeptaGetDevice(h), family.second);
        EXPECT_STREQ(zeptaGetSerialNumber(h), "SN-4711");
        EXPECT_TRUE(WaitUntil([h] { return zeptaGetStatusEXT4(h) == 1234; }, 5s));
        EXPECT_EQ(zeptaClose(h), h);
        const std::string log = DrainLog();
        for (const char* line : {"seat: ZEPTA thread started.\n", "seat: USB connection established.\n",
                                 "seat: USB device found: SN-4711\n", "seat: ZEPTA thread terminated.\n"}) {
            EXPECT_NE(log.find(line), std::string::npos) << family.first << " " << line << log;
        }
    }
}

// An unchanged speed command is not sent again.
TEST_F(UsbSession, ManualAxesGoOutAsWrittenAndBaseAxesFollowThePose)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    _korve_data_packet packet = NeutralPacket();
    packet.axis1 = 0.5f;
    packet.axis2 = 0.25f;
    packet.axis3 = 0.75f;
    packet.axis4 = 0.1f;
    packet.speedAxis1 = 1.0f;
    packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 2), Texts({"p8040BF1A;", "aFF80;"}));
    packet.axis1 = 0.9f;
    EXPECT_EQ(Frame(packet, 1), Texts({"pE640BF1A;"}));
    zeptaClose(handle_);

    Connect("KORVE-DEVICE", ZEPTA_AXIS_BASE);
    packet = NeutralPacket();
    packet.graMR = 1.0f;
    packet.pitch = 0.2f;
    packet.roll = 0.4f;
    packet.heave = -0.3f;
    packet.yaw = 0.5f;
    packet.sway = 0.1f;
    packet.surge = -0.2f;
    packet.speedAxis1 = 0.5f;
    packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 2), Texts({"pAC7AC6BF;", "a8080;"}));
}

// Speeds of 0 are raised to 0.01 by the final clamp before the 0.01 offset.
// Speeds from motion: the acceleration command went out with the first frame.
TEST_F(UsbSession, PerAxisSpeedsAsWrittenOrFromMotion)
{
    Connect("KORVE6-DEVICE", ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN);
    _korve_data_packet packet = NeutralPacket();
    packet.speedAxis1 = packet.speedAxis2 = packet.speedAxis3 = 0.5f;
    packet.speedAxis4 = packet.speedAxis5 = packet.speedAxis6 = 0.0f;
    packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 3), Texts({"p808080808080;", "aFF80;", "as828282050505;"}));
    zeptaClose(handle_);

    Connect("KORVE6-DEVICE", ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_FROM_MOTION);
    const Texts commands = Frame(NeutralPacket(), 2);
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0], "p808080808080;");
    EXPECT_EQ(commands[1].substr(0, 2), "as");
    EXPECT_EQ(commands[1].size(), 15u);
}

TEST_F(UsbSession, OriginModeSendsTheRestPositionOfEachFamily)
{
    for (const auto& family : {std::pair<const char*, const char*>{"KORVE-DEVICE", "pFF000080;"},
                               {"KORVE2-DEVICE", "p80800000;"}, {"KORVE6-DEVICE", "p000000000000;"}}) {
        Connect(family.first);
        zeptaSetOriginMode(handle_, 1);
        _korve_data_packet packet = NeutralPacket();
        packet.roll = 1.0f;
        EXPECT_EQ(Frame(packet, 1, [](const std::string& t) { return t[0] == 'p'; }), Texts({family.second}));
        zeptaClose(handle_);
    }
}

// Queued text commands follow the motion commands of their frame, a hundred
// at most; those written during the calibration wait for the first frame.
TEST_F(UsbSession, TextCommandsFollowTheMotionAndAreCappedAtAHundred)
{
    device.SetCalibrationDelay(1500ms);
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    _korve_data_packet packet = NeutralPacket();
    packet.commandCount = 2;
    std::strcpy(packet.commandBuffer, "x7");
    const Texts texts = Frame(packet, 4, [](const std::string&) { return true; });
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_EQ(texts, Texts({"p80808080;", texts[1], "x7;", "x7;"}));
    EXPECT_EQ(texts[1][0], 'a');
    zeptaClose(handle_);

    handle_ = zeptaOpen("TEST");
    packet.commandCount = 60;
    std::strcpy(packet.commandBuffer, "z9");
    zeptaWrite(handle_, &packet);
    zeptaWrite(handle_, &packet);
    const auto isZ9 = [](const std::string& t) { return t == "z9;"; };
    ASSERT_TRUE(WaitUntil([&] { return Count(device, isZ9) >= 100; }, 20s));
    EXPECT_FALSE(WaitUntil([&] { return Count(device, isZ9) > 100; }, 300ms));
}

// Without packets the session repeats its frame about once a second.
TEST_F(UsbSession, SilentApplicationStillGetsAnIdleFrame)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    const auto isPosition = [](const std::string& t) { return t[0] == 'p'; };
    ASSERT_TRUE(WaitUntil([&] { return Count(device, isPosition) >= 3; }, 10s));
    const auto received = device.Received();
    EXPECT_GT(received.back().at - received.front().at, 1500ms);
}

TEST_F(UsbSession, StatusWithoutAxesShutsTheSessionDown)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    device.ReplaceNextStatus("KORVE-STATUS-00\r\n");
    const _korve_data_packet packet = NeutralPacket();
    zeptaWrite(handle_, &packet);
    ASSERT_TRUE(WaitStopped(handle_)) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), ZEPTA_STATE_SHUT_DOWN);
    EXPECT_FALSE(zeptaIsRunning(handle_));
    const auto lines = SplitLines(DrainLog());
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "Actuator shut down.");
    EXPECT_EQ(lines.back(), "ZEPTA thread terminated.");
}

}  // namespace
