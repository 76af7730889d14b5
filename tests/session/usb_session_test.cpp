// Whole sessions over USB, through the C interface, against the emulated device:
// the exact commands on the wire for known packets in every mode.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using namespace zepta_test;
using zepta_tools::ReceivedCommand;
using zepta_tools::UsbDeviceEmulator;

std::vector<std::string> Texts(const std::vector<ReceivedCommand>& commands)
{
    std::vector<std::string> texts;
    for (const auto& c : commands) texts.push_back(c.text);
    return texts;
}

bool IsMotion(const std::string& text)
{
    return !text.empty() && (text[0] == 'p' || text[0] == 'a');
}

// The commands a session sends while it runs frames (the handshake filtered out).
std::vector<std::string> MotionCommands(const UsbDeviceEmulator& device)
{
    std::vector<std::string> motion;
    for (const auto& text : Texts(device.Received())) {
        if (IsMotion(text)) motion.push_back(text);
    }
    return motion;
}

std::size_t CountPrefix(const std::vector<std::string>& texts, char prefix)
{
    std::size_t n = 0;
    for (const auto& t : texts) n += (!t.empty() && t[0] == prefix) ? 1 : 0;
    return n;
}

class UsbSession : public SessionTest {
protected:

    // Opens a session on a device of the given family and waits until the
    // first frame has gone out, then forgets what the device received so far.
    void Connect(const std::string& identity, int axisMode = ZEPTA_AXIS_BASE, int speedMode = ZEPTA_SPEED_DEFAULT)
    {
        device_.ClearReceived();
        device_.SetIdentity(identity);
        device_.SetSerialNumber("SN-4711");
        handle_ = zeptaOpen("TEST");
        zeptaSetAxisProcessingMode(handle_, axisMode);
        zeptaSetSpeedGainMode(handle_, speedMode);
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        ASSERT_TRUE(device_.WaitFor([](const auto& cmds) {
            for (const auto& c : cmds) {
                if (c.text[0] == 'p') return true;
            }
            return false;
        }, 10s)) << DrainLog();
        WaitQuiet();
    }

    // Waits until the first frame has gone out whole: no command for a while.
    void WaitQuiet()
    {
        std::size_t seen = device_.Received().size();
        for (int i = 0; i < 100; ++i) {
            std::this_thread::sleep_for(250ms);
            std::size_t now = device_.Received().size();
            if (now == seen) return;
            seen = now;
        }
    }

    // Writes one packet and returns the next motion commands it produced.
    std::vector<std::string> Frame(const _korve_data_packet& packet, std::size_t expected)
    {
        device_.ClearReceived();
        zeptaWrite(handle_, &packet);
        device_.WaitFor([expected](const auto& cmds) {
            std::size_t n = 0;
            for (const auto& c : cmds) n += IsMotion(c.text) ? 1 : 0;
            return n >= expected;
        }, 10s);
        auto motion = MotionCommands(device_);
        if (motion.size() > expected) motion.resize(expected);
        return motion;
    }

    UsbDeviceEmulator device_;
};

TEST_F(UsbSession, EveryFamilyConnectsWithItsKindAndSerial)
{
    const struct {
        const char* identity;
        int kind;
    } families[] = {{"KORVE-DEVICE", 2}, {"KORVE6-DEVICE", 3}, {"KORVE2-DEVICE", 1},
                    {"NEBULO2-DEVICE", 100}, {"KORVETL-DEVICE", 103}, {"PLIX-DEVICE", 104}};
    for (const auto& family : families) {
        SCOPED_TRACE(family.identity);
        device_.SetIdentity(family.identity);
        device_.SetSerialNumber("SN-4711");
        int h = zeptaOpenSerialAssign("TEST", "seat");
        ASSERT_TRUE(WaitConnected(h)) << DrainLog();
        EXPECT_EQ(zeptaGetDevice(h), family.kind);
        EXPECT_STREQ(zeptaGetSerialNumber(h), "SN-4711");
        EXPECT_TRUE(zeptaIsRunning(h));
        EXPECT_EQ(zeptaClose(h), h);
        std::string log = DrainLog();
        EXPECT_NE(log.find("seat: ZEPTA thread started.\n"), std::string::npos) << log;
        EXPECT_NE(log.find("seat: USB connection established.\n"), std::string::npos) << log;
        EXPECT_NE(log.find("seat: USB device found: SN-4711\n"), std::string::npos) << log;
        EXPECT_NE(log.find("seat: ZEPTA thread terminated.\n"), std::string::npos) << log;
    }
}

TEST_F(UsbSession, ApplicationAxesGoOutAsTheyWereWritten)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    _korve_data_packet packet = NeutralPacket();
    packet.axis1 = 0.5f;
    packet.axis2 = 0.25f;
    packet.axis3 = 0.75f;
    packet.axis4 = 0.1f;
    packet.speedAxis1 = 1.0f;
    packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 2), (std::vector<std::string>{"p8040BF1A;", "aFF80;"}));
    // An unchanged speed command is not sent again.
    packet.axis1 = 0.9f;
    EXPECT_EQ(Frame(packet, 1), (std::vector<std::string>{"pE640BF1A;"}));
}

TEST_F(UsbSession, DerivedAxesFollowTheFourAxisFormulas)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_BASE);
    _korve_data_packet packet = NeutralPacket();
    packet.graMR = 1.0f;
    packet.pitch = 0.2f;
    packet.roll = 0.4f;
    packet.heave = -0.3f;
    packet.yaw = 0.5f;
    packet.sway = 0.1f;
    packet.surge = -0.2f;
    packet.speedAxis1 = 0.5f;
    packet.accelAxis = 0.5f;
    auto commands = Frame(packet, 2);
    EXPECT_EQ(commands, (std::vector<std::string>{"pAC7AC6BF;", "a8080;"}));
}

TEST_F(UsbSession, SpeedsFromMotionUseThePerAxisSpeedCommand)
{
    Connect("KORVE6-DEVICE", ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_FROM_MOTION);
    _korve_data_packet packet = NeutralPacket();
    auto commands = Frame(packet, 2);
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0], "p808080808080;");
    // The acceleration command ("aFFFA;": 1.0 after a derivation, clamped to
    // 0.98) went out with the first frame and is not repeated.
    EXPECT_EQ(commands[1].substr(0, 2), "as");
    EXPECT_EQ(commands[1].size(), 15u);
}

TEST_F(UsbSession, SpeedsAsWrittenAreSentPerAxisWithTheirOffset)
{
    Connect("KORVE6-DEVICE", ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN);
    _korve_data_packet packet = NeutralPacket();
    packet.speedAxis1 = packet.speedAxis2 = packet.speedAxis3 = 0.5f;
    packet.speedAxis4 = packet.speedAxis5 = packet.speedAxis6 = 0.0f;
    packet.accelAxis = 0.5f;
    // Speeds of 0 are raised to 0.01 by the final clamp before the 0.01 offset.
    auto commands = Frame(packet, 3);
    EXPECT_EQ(commands, (std::vector<std::string>{"p808080808080;", "aFF80;", "as828282050505;"}));
}

TEST_F(UsbSession, OriginModeSendsTheRestPositionOfEachFamily)
{
    const struct {
        const char* identity;
        const char* position;
    } families[] = {{"KORVE-DEVICE", "pFF000080;"}, {"KORVE2-DEVICE", "p80800000;"}, {"KORVE6-DEVICE", "p000000000000;"}};
    for (const auto& family : families) {
        SCOPED_TRACE(family.identity);
        Connect(family.identity);
        zeptaSetOriginMode(handle_, 1);
        _korve_data_packet packet = NeutralPacket();
        packet.roll = 1.0f;
        auto commands = Frame(packet, 1);
        ASSERT_EQ(commands.size(), 1u);
        EXPECT_EQ(commands[0], family.position);
        zeptaClose(handle_);
        handle_ = -1;
    }
}

TEST_F(UsbSession, TextCommandsFollowTheMotionCommandsOfTheirFrame)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    _korve_data_packet packet = NeutralPacket();
    packet.commandCount = 2;
    std::strcpy(packet.commandBuffer, "x7");
    device_.ClearReceived();
    zeptaWrite(handle_, &packet);
    ASSERT_TRUE(device_.WaitFor([](const auto& cmds) { return cmds.size() >= 4; }, 10s));
    auto texts = Texts(device_.Received());
    ASSERT_GE(texts.size(), 4u);
    EXPECT_EQ(texts[0], "p80808080;");
    EXPECT_EQ(texts[1].substr(0, 1), "a");
    EXPECT_EQ(texts[2], "x7;");
    EXPECT_EQ(texts[3], "x7;");
}

TEST_F(UsbSession, QueuedCommandsAreCappedAtOneHundred)
{
    device_.SetIdentity("KORVE-DEVICE");
    device_.SetCalibrationDelay(1500ms);
    handle_ = zeptaOpen("TEST");
    // Written while the device is still calibrating: nothing is sent yet.
    _korve_data_packet packet = NeutralPacket();
    packet.commandCount = 60;
    std::strcpy(packet.commandBuffer, "z9");
    zeptaWrite(handle_, &packet);
    zeptaWrite(handle_, &packet);
    ASSERT_TRUE(WaitConnected(handle_));
    auto count = [this] {
        std::size_t n = 0;
        for (const auto& t : Texts(device_.Received())) n += t == "z9;" ? 1 : 0;
        return n;
    };
    ASSERT_TRUE(WaitUntil([&] { return count() >= 100; }, 20s));
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(count(), 100u);
}

TEST_F(UsbSession, SilentApplicationStillGetsAFrameAboutOnceASecond)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    device_.ClearReceived();
    const auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(3500ms);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    std::size_t positions = CountPrefix(Texts(device_.Received()), 'p');
    const auto seconds = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() / 1000;
    EXPECT_GE(positions, 2u);
    EXPECT_LE(positions, static_cast<std::size_t>(seconds + 1));
}

TEST_F(UsbSession, OriginSetterWakesTheThreadAtOnce)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    // Catch an idle frame, so that the next one would be a second away.
    device_.ClearReceived();
    ASSERT_TRUE(device_.WaitFor([](const auto& cmds) { return !cmds.empty(); }, 5s));
    const auto idleFrame = device_.Received().front().at;
    device_.ClearReceived();
    zeptaSetOriginMode(handle_, 1);
    ASSERT_TRUE(device_.WaitFor([](const auto& cmds) {
        for (const auto& c : cmds) {
            if (c.text == "pFF000080;") return true;
        }
        return false;
    }, 5s));
    const auto originFrame = device_.Received().front().at;
    EXPECT_LT(originFrame - idleFrame, 900ms);
}

TEST_F(UsbSession, StatusWithoutAxesShutsTheSessionDown)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    device_.ReplaceNextStatus("KORVE-STATUS-00\r\n");
    _korve_data_packet packet = NeutralPacket();
    packet.axis1 = 0.3f;
    zeptaWrite(handle_, &packet);
    ASSERT_TRUE(WaitStopped(handle_)) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), 4);
    EXPECT_FALSE(zeptaIsRunning(handle_));
    auto lines = SplitLines(DrainLog());
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "Actuator shut down.");
    EXPECT_EQ(lines.back(), "ZEPTA thread terminated.");
}

TEST_F(UsbSession, StatusCodeIsReadThroughTheInterface)
{
    device_.SetStatusCode(1234);
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    EXPECT_TRUE(WaitUntil([this] { return zeptaGetStatusEXT4(handle_) == 1234; }, 5s));
}

}  // namespace
