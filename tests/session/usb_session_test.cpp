// Whole sessions over USB, through the C interface, against the emulated
// device: the search, the exact commands on the wire for known packets in
// every mode, and devices that stream instead of answering.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <tuple>

#include "io/serial_port.h"
#include "io/text_conversion.h"
#include "session_test_support.h"
#include "usb_emulator/usb_device_emulator.h"

namespace {

using namespace zepta_test;
using zepta_tools::UsbDeviceEmulator;
using Texts = std::vector<std::string>;
using Filter = bool (*)(const std::string&);

bool IsPosition(const std::string& text) { return text[0] == 'p'; }
bool IsIdentityRequest(const std::string& text) { return text == "d;"; }

Texts Matching(Filter filter, const UsbDeviceEmulator& device)
{
    Texts texts;
    for (const auto& command : device.Received()) {
        if (filter(command.text)) texts.push_back(command.text);
    }
    return texts;
}

class UsbSession : public SessionTest {
protected:
    // Opens a session and waits until its first frame has gone out whole (no
    // command for a while), then forgets what the device received so far.
    void Connect(const std::string& identity, int axisMode, int speedMode = ZEPTA_SPEED_DEFAULT)
    {
        device->SetIdentity(identity);
        handle_ = zeptaOpen("TEST");
        zeptaSetAxisProcessingMode(handle_, axisMode);
        zeptaSetSpeedGainMode(handle_, speedMode);
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        ASSERT_TRUE(WaitUntil([this] { return !Matching(IsPosition, *device).empty(); }, 10s));
        for (std::size_t seen = 0; seen != device->Received().size();) {
            seen = device->Received().size();
            WaitUntil([&] { return device->Received().size() != seen; }, 250ms);
        }
        device->ClearReceived();
    }
    // Writes one packet and returns the first count commands it produced.
    Texts Frame(const _korve_data_packet& packet, std::size_t count, Filter filter = [](const std::string&) { return true; })
    {
        device->ClearReceived();
        zeptaWrite(handle_, &packet);
        WaitUntil([&] { return Matching(filter, *device).size() >= count; }, 10s);
        Texts texts = Matching(filter, *device);
        texts.resize(std::min(texts.size(), count));
        return texts;
    }

    std::unique_ptr<UsbDeviceEmulator> device = std::make_unique<UsbDeviceEmulator>();
};

// A port that answers with no identity line is passed over, and later
// sessions ask the port found first. In origin mode each family is sent its
// rest position.
TEST_F(UsbSession, EveryFamilyIsFoundWithItsKindSerialStatusCodeAndRestPosition)
{
    UsbDeviceEmulator other;
    other.SetIdentity("KORVE-READY");
    const std::string firstListed(ZEPTASDK::IO::WideToUtf8(ZEPTASDK::IO::GetPortNames().front()));
    device->SetSerialNumber("SN-4711");
    device->SetStatusCode(1234);
    for (const auto& family : std::vector<std::tuple<std::string, int, std::string>>{
             {"KORVE-DEVICE", ZEPTA_DEVICE_KORVE_4DOF, "pFF000080;"},
             {"KORVE6-DEVICE", ZEPTA_DEVICE_KORVE_6DOF, "p000000000000;"},
             {"KORVE2-DEVICE", ZEPTA_DEVICE_KORVE_2DOF, "p80800000;"},
             {"NEBULO2-DEVICE", ZEPTA_DEVICE_NEBULO_2DOF, "p80800000;"},
             {"KORVETL-DEVICE", ZEPTA_DEVICE_TRAXEL, "p80800000;"},
             {"PLIX-DEVICE", ZEPTA_DEVICE_PLIX, "p80800000;"}}) {
        device->SetIdentity(std::get<0>(family));
        handle_ = zeptaOpenSerialAssign("TEST", "seat");
        ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
        EXPECT_EQ(std::make_pair(zeptaGetDevice(handle_), std::string(zeptaGetSerialNumber(handle_))),
                  std::make_pair(std::get<1>(family), std::string("SN-4711")));
        EXPECT_TRUE(WaitUntil([this] { return zeptaGetStatusEXT4(handle_) == 1234; }, 5s));
        zeptaSetOriginMode(handle_, 1);
        EXPECT_TRUE(WaitUntil([&] {
            const Texts positions = Matching(IsPosition, *device);
            return !positions.empty() && positions.back() == std::get<2>(family);
        }, 5s)) << std::get<0>(family);
        EXPECT_EQ(zeptaClose(handle_), handle_);
    }
    EXPECT_EQ(Matching(IsIdentityRequest, other).size(), firstListed == other.DevicePath() ? 1u : 0u);
    EXPECT_EQ(Matching(IsIdentityRequest, *device).size(), 6u);
}

// A silent port is asked once more after a pause before the session gives up.
TEST_F(UsbSession, SilentPortIsAskedTwiceThenNoDeviceIsFound)
{
    device->SilenceAfter(0);
    handle_ = zeptaOpen("TEST");
    ASSERT_TRUE(WaitStopped(handle_)) << DrainLog();
    EXPECT_EQ(std::make_pair(Matching(IsIdentityRequest, *device).size(), zeptaGetState(handle_)),
              std::make_pair(2ul, int{ZEPTA_STATE_INITIAL}));
}

// An unchanged speed command is not sent again; queued text commands follow
// the motion commands of their frame; without packets the session repeats
// its frame about once a second.
TEST_F(UsbSession, FramesCarryManualOrDerivedAxesThenTheTextCommands)
{
    Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
    _korve_data_packet packet = NeutralPacket();
    packet.axis1 = 0.5f, packet.axis2 = 0.25f, packet.axis3 = 0.75f, packet.axis4 = 0.1f;
    packet.speedAxis1 = 1.0f, packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 2), Texts({"p8040BF1A;", "aFF80;"}));
    packet.axis1 = 0.9f, packet.commandCount = 2;
    std::strcpy(packet.commandBuffer, "x7");
    EXPECT_EQ(Frame(packet, 3), Texts({"pE640BF1A;", "x7;", "x7;"}));
    ASSERT_TRUE(WaitUntil([&] { return Matching(IsPosition, *device).size() >= 3; }, 10s));
    EXPECT_GT(device->Received().back().at - device->Received().front().at, 1500ms);
    device->ClearReceived();
    zeptaSetAxisProcessingMode(handle_, ZEPTA_AXIS_BASE);
    // The setter runs a frame at once with the last packet, now derived (a
    // repeat of the manual frame, due now and then, may come first); the
    // next packet is written after it.
    const Filter derived = [](const std::string& t) { return t == "p80808080;"; };
    ASSERT_TRUE(WaitUntil([&] { return !Matching(derived, *device).empty(); }, 10s));
    packet = NeutralPacket();
    packet.graMR = 1.0f, packet.pitch = 0.2f, packet.roll = 0.4f, packet.heave = -0.3f;
    packet.yaw = 0.5f, packet.sway = 0.1f, packet.surge = -0.2f, packet.speedAxis1 = 0.5f, packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 2), Texts({"pAC7AC6BF;", "a8080;"}));
}

// Speeds of 0 are raised to 0.01 by the final clamp before the 0.01 offset.
// Speeds from motion are derived per axis, with an acceleration of 1.0 clamped
// to 0.98.
TEST_F(UsbSession, PerAxisSpeedsAsWrittenOrFromMotion)
{
    Connect("KORVE6-DEVICE", ZEPTA_AXIS_MANUAL, ZEPTA_SPEED_AS_WRITTEN);
    _korve_data_packet packet = NeutralPacket();
    packet.speedAxis1 = packet.speedAxis2 = packet.speedAxis3 = 0.5f;
    packet.speedAxis4 = packet.speedAxis5 = packet.speedAxis6 = 0.0f;
    packet.accelAxis = 0.5f;
    EXPECT_EQ(Frame(packet, 3), Texts({"p808080808080;", "aFF80;", "as828282050505;"}));
    zeptaSetSpeedGainMode(handle_, ZEPTA_SPEED_FROM_MOTION);
    const Texts commands = Frame(packet, 3);
    EXPECT_EQ(commands.at(0) + commands.at(1) + commands.at(2).substr(0, 2) + std::to_string(commands.at(2).size()),
              "p808080808080;aFFFA;as15");
}

// At most a hundred text commands are queued; those written during a
// calibration that outlasts a command's read time-out wait for the first frame.
TEST_F(UsbSession, QueuedTextCommandsAreCappedAtAHundred)
{
    device->SetCalibrationDelay(1500ms);
    handle_ = zeptaOpen("TEST");
    _korve_data_packet packet = NeutralPacket();
    packet.commandCount = 60;
    std::strcpy(packet.commandBuffer, "z9");
    zeptaWrite(handle_, &packet);
    zeptaWrite(handle_, &packet);
    const Filter isZ9 = [](const std::string& t) { return t == "z9;"; };
    ASSERT_TRUE(WaitUntil([&] { return Matching(isZ9, *device).size() >= 100; }, 20s));
    EXPECT_FALSE(WaitUntil([&] { return Matching(isZ9, *device).size() > 100; }, 300ms));
}

// Status lines without axes, or a line without end trickled byte by byte: the
// session shuts down and says why, and Close returns.
TEST_F(UsbSession, BrokenStatusShutsTheSessionDown)
{
    for (const auto& fault : std::vector<std::tuple<std::string, std::chrono::milliseconds, std::string>>{
             {"KORVE-STATUS-00\r\n", 0ms, "Actuator shut down."}, {"KORVE-STATUS-15", 50ms, "TimeOut"}}) {
        device = std::make_unique<UsbDeviceEmulator>();
        Connect("KORVE-DEVICE", ZEPTA_AXIS_MANUAL);
        device->BabbleInsteadOfNextStatus(std::get<0>(fault), std::get<1>(fault));
        const _korve_data_packet packet = NeutralPacket();
        ASSERT_TRUE(WaitUntil([&] {
            zeptaWrite(handle_, &packet);
            return zeptaGetSystemStatus(handle_) == 0;
        }, 20s)) << DrainLog();
        EXPECT_EQ(zeptaGetState(handle_), ZEPTA_STATE_SHUT_DOWN);
        const Texts log = SplitLines(DrainLog());
        EXPECT_THAT(log, ::testing::Contains(std::get<2>(fault)));
        EXPECT_EQ(Texts(log.end() - 2, log.end()), Texts({"Actuator shut down.", "ZEPTA thread terminated."}));
        EXPECT_EQ(zeptaClose(handle_), handle_);
    }
}

}  // namespace
