// The USB protocol against a scripted device: the handshake, calibration,
// the supervision of replies and the encoding of the motion commands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <tuple>

#include "session/session_test_support.h"
#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ::testing::ElementsAre;
using zepta_test::ScriptedBridge;
using ZEPTASDK::Controller;
using Lines = std::vector<std::string>;

Lines DrainLogLines() { return zepta_test::SplitLines(zepta_test::DrainLog()); }

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();
const std::string kOwn = "KORVE-STATUS-15-EXT4-0000", kOther = "KORVE-STATUS-63-EXT4-0000";
const std::string kPrepare = "S1: Preparing for calibration.", kStarted = "S1: Calibration started: returning to origin.";
const std::string kRetry = "S1: Startup error detected. Retrying calibration.";
const std::string kFailed = "S1: Calibration failed: could not reach origin.", kLost = "S1: Connection lost.";

class ControllerTest : public ::testing::Test {
protected:
    void Handshake(const std::string& identity, const Lines& replies)
    {
        DrainLogLines();
        bridge = std::make_shared<ScriptedBridge>(identity);
        bridge->Script(replies);
        controller = std::make_unique<Controller>(bridge, "S1");
    }
    // A running four-axis device with the log and the writes cleared.
    void SetUp() override
    {
        Handshake("KORVE-DEVICE", {"Find", "V", "KORVE-RTO-START", "KORVE-READY", "SN"});
        bridge->writes.clear();
        DrainLogLines();
    }
    std::vector<int> StatesAfter(const Lines& lines)
    {
        std::vector<int> states;
        for (const std::string& line : lines) {
            bridge->Script({line});
            controller->WaitZEPTA();
            states.push_back(controller->GetState());
        }
        return states;
    }

    std::shared_ptr<ScriptedBridge> bridge;
    std::unique_ptr<Controller> controller;
};

// The serial number is one read of a short line of visible ASCII that is none
// of the protocol's lines; a silent version request is not logged.
TEST_F(ControllerTest, HandshakeSendsEachStepOnceAndLogsIt)
{
    const std::string serial(32, 'Z');
    Handshake("KORVE-DEVICE", {"Find", "FW 2.1", "KORVE-RTO-START", "KORVE-READY", serial, "next"});
    EXPECT_EQ(std::make_tuple(controller->GetState(), controller->GetZEPTASerialNumber(), bridge->replies.size(), bridge->disabled),
              std::make_tuple(int{ZEPTA_STATE_RUNNING}, serial, std::size_t{1}, false));
    EXPECT_THAT(bridge->writes, ElementsAre("usb;", "v;", "c;", "", "s;"));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: USB connection established.", "S1: FW 2.1", kPrepare, kStarted,
                                             "S1: Device is ready.", "S1: USB device found: " + serial));
    for (const std::string reply : {"TimeOut", "KORVE-STATUS-15-EXT4-0000", "KORVE-LOCKED", "KORVE-DEVICE", "", "SN 1",
                                    "SN\x01", "SN\xc3\xa9", "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"}) {
        Handshake("KORVE-DEVICE", {"Find", "TimeOut", "KORVE-RTO-START", "KORVE-READY", reply});
        EXPECT_EQ(std::make_pair(controller->GetZEPTASerialNumber(), DrainLogLines()[1]), std::make_pair(std::string(), kPrepare)) << reply;
    }
}

TEST_F(ControllerTest, HandshakeEndsEarlyWithoutUsbOrKnownFamily)
{
    Handshake("KORVE-DEVICE", {"NotFind"});
    EXPECT_EQ(std::make_tuple(controller->GetState(), bridge->writes, DrainLogLines(), bridge->disabled),
              std::make_tuple(ZEPTA_STATE_NO_USB_DEVICE, Lines{"usb;"}, Lines{"S1: ZEPTA device not found."}, false));
    // A portless bridge answers "" and has no identity: it fails at identification.
    for (const std::string identity : {"", "KORVE-DEVICE ", "korve-device", "KORVE7-DEVICE"}) {
        Handshake(identity, {""});
        EXPECT_EQ(std::make_tuple(controller->GetState(), controller->GetZEPTA(), bridge->disabled, DrainLogLines()),
                  std::make_tuple(ZEPTA_STATE_NO_DEVICE, ZEPTA_DEVICE_NONE, true, Lines{"S1: USB connection failed."})) << identity;
    }
}

// Each family's own axis set keeps it running past the mismatch limit.
TEST_F(ControllerTest, IdentityFixesKindAndExpectedAxisSet)
{
    for (const auto& family : std::vector<std::tuple<std::string, int, std::string>>{
             {"KORVE-DEVICE", ZEPTA_DEVICE_KORVE_4DOF, "15"},   {"KORVE6-DEVICE", ZEPTA_DEVICE_KORVE_6DOF, "63"},
             {"KORVE2-DEVICE", ZEPTA_DEVICE_KORVE_2DOF, "03"},  {"NEBULO2-DEVICE", ZEPTA_DEVICE_NEBULO_2DOF, "03"},
             {"KORVETL-DEVICE", ZEPTA_DEVICE_TRAXEL, "03"},     {"PLIX-DEVICE", ZEPTA_DEVICE_PLIX, "03"}}) {
        Handshake(std::get<0>(family), {"Find", "V", "KORVE-RTO-START", "KORVE-READY"});
        EXPECT_EQ(controller->GetZEPTA(), std::get<1>(family)) << std::get<0>(family);
        const std::string own = "KORVE-STATUS-" + std::get<2>(family);
        EXPECT_THAT(StatesAfter({own, own, own, own}), ::testing::Each(ZEPTA_STATE_RUNNING)) << std::get<0>(family);
    }
}

// Only a request to repeat is retried, three runs in all; the serial number
// is asked for only after a good calibration.
TEST_F(ControllerTest, CalibrationIsRetriedOnlyWhileTheDeviceAsksForIt)
{
    for (const auto& c : std::vector<std::tuple<Lines, int, long>>{
             {{"ECAN-ERROR", "KORVE-RTO-START", "KORVE-READY"}, ZEPTA_STATE_RUNNING, 2},
             {{"ECAN-ERROR", "KORVE-RTO-START", "KORVE-ERROR-RESET", "KORVE-RTO-START", "ECAN-ERROR"}, ZEPTA_STATE_CALIBRATION_FAILED, 3},
             {{"KORVE-RTO-START", "TimeOut"}, ZEPTA_STATE_CALIBRATION_FAILED, 1},
             {{"TimeOut"}, ZEPTA_STATE_CALIBRATION_TIMED_OUT, 1}}) {
        Lines script = {"Find", "V"};
        script.insert(script.end(), std::get<0>(c).begin(), std::get<0>(c).end());
        Handshake("KORVE-DEVICE", script);
        const auto& writes = bridge->writes;
        EXPECT_EQ(std::make_tuple(controller->GetState(), std::count(writes.begin(), writes.end(), "c;"),
                                  std::count(writes.begin(), writes.end(), "s;")),
                  std::make_tuple(std::get<1>(c), std::get<2>(c), std::get<1>(c) == ZEPTA_STATE_RUNNING ? 1L : 0L));
    }
}

// Only an acknowledged start arms the long wait ("").
TEST_F(ControllerTest, CalibrationRunReplyDecidesStateLogAndWait)
{
    for (const auto& c : std::vector<std::tuple<Lines, int, Lines>>{
             {{"KORVE-RTO-START", "KORVE-READY"}, ZEPTA_STATE_CALIBRATING, {kPrepare, kStarted, "S1: Device is ready."}},
             {{"ECAN-ERROR"}, ZEPTA_STATE_CALIBRATION_REPEAT, {kPrepare, kRetry}},
             {{"KORVE-LOCKED"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, "S1: LOCKED - Calibration failed: could not reach origin."}},
             {{}, ZEPTA_STATE_CALIBRATION_TIMED_OUT, {kPrepare, "S1: Device not responding. Please reboot the device."}},
             {{"KORVE-READY"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, kFailed}},
             {{"KORVE-RTO-START", "KORVE-ERROR-RESET"}, ZEPTA_STATE_CALIBRATION_REPEAT, {kPrepare, kStarted, kRetry}},
             {{"KORVE-RTO-START", "ECAN-ERROR"}, ZEPTA_STATE_CALIBRATION_REPEAT, {kPrepare, kStarted, kRetry}},
             {{"KORVE-RTO-START", "KORVE-LOCKED"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, kStarted, kFailed}}}) {
        SetUp();
        bridge->Script(std::get<0>(c));
        controller->Calibration();
        const Lines waits = std::get<2>(c)[1] == kStarted ? Lines{"c;", ""} : Lines{"c;"};
        EXPECT_EQ(std::make_tuple(controller->GetState(), DrainLogLines(), bridge->writes),
                  std::make_tuple(std::get<1>(c), std::get<2>(c), waits));
    }
}

// A fourth mismatching axis set in a row stops the actuators; a matching set,
// an unlock or a circuit error (logged) resets the count. "151" reads as 15.
TEST_F(ControllerTest, AxisSetMismatchesAreCountedInARow)
{
    std::vector<int> expected(18, ZEPTA_STATE_RUNNING);
    expected[15] = expected[16] = ZEPTA_STATE_STOPPED;
    EXPECT_EQ(StatesAfter({kOther, kOther, kOther, kOwn, kOther, kOther, kOther, "KORVE-UNLOCKED", kOther, kOther, kOther,
                           "ECAN-ERROR", kOther, kOther, kOther, "KORVE-STATUS-1", kOther, "KORVE-STATUS-151"}),
              expected);
    EXPECT_EQ(DrainLogLines(), Lines({"S1: KORVE-UNLOCKED", "S1: ECAN-ERROR"}));
}

TEST_F(ControllerTest, StatusCodeIsUpToFourCharactersAfterTheMarker)
{
    for (const auto& c : std::vector<std::pair<std::string, int>>{
             {"-EXT4-12345", 1234}, {"-EXT4-7", 7}, {"-EXT4--12", -12}, {"-EXT4-abc", 0}, {"-EXT4-9999", 9999},
             {"-EXT4-", 0},         {"-X-EXT4-0042", 42}, {"", 42}}) {
        bridge->Script({"KORVE-STATUS-15" + c.first});
        EXPECT_TRUE(controller->WaitZEPTA()) << c.first;
        EXPECT_EQ(controller->GetStatusCode(), c.second) << c.first;
    }
}

// Up to sixteen button presses and lock acknowledgements (logged) may precede
// the answer, counted afresh in every wait.
TEST_F(ControllerTest, InterimLinesPrecedeTheAnswerUpToALimit)
{
    for (int wait = 0; wait < 2; ++wait) {
        for (int i = 0; i < 8; ++i) bridge->Script({"KORVE-BUTTON", i == 7 ? "KORVE-UNLOCK-OK" : "KORVE-LOCK-OK"});
        bridge->Script({"KORVE-LOCKED"});
        EXPECT_TRUE(controller->WaitZEPTA());
        EXPECT_EQ(std::make_tuple(controller->GetState(), bridge->replies.size()), std::make_tuple(ZEPTA_STATE_STOPPED, std::size_t{0}));
    }
    EXPECT_EQ(DrainLogLines().size(), 16u);
    bridge->Script(Lines(100, "KORVE-BUTTON"));
    EXPECT_FALSE(controller->WaitZEPTA());
    EXPECT_EQ(std::make_tuple(bridge->reads, controller->GetState(), bridge->disabled, DrainLogLines()),
              std::make_tuple(5 + 17 * 3, ZEPTA_STATE_SHUT_DOWN, true, Lines{kLost}));
}

// Silence, an unknown line or a status without axes closes the port.
TEST_F(ControllerTest, LinkIsLostOnSilenceOrAnUnexpectedLine)
{
    for (const auto& c : std::vector<std::pair<std::string, Lines>>{
             {"KORVE-BUTTON", {"S1: TimeOut"}}, {"KORVE-READY", {kLost}},     {"", {kLost}},
             {"korve-status-15", {kLost}},      {" KORVE-STATUS-15", {kLost}}, {"KORVE-STATUS-00", {}},
             {"KORVE-STATUS-", {}},             {"KORVE-STATUS-xx-EXT4-0001", {}}}) {
        SetUp();
        bridge->Script({c.first});
        EXPECT_FALSE(controller->WaitZEPTA()) << c.first;
        EXPECT_EQ(std::make_tuple(controller->GetState(), bridge->disabled, DrainLogLines()),
                  std::make_tuple(ZEPTA_STATE_SHUT_DOWN, true, c.second)) << c.first;
    }
}

TEST_F(ControllerTest, FieldsRoundHalfUpAndClampToTheirRange)
{
    for (const auto& c : std::vector<std::tuple<float, std::string, std::string>>{
             {0.0f, "00", "000"}, {1.0f, "FF", "FFF"}, {0.5f, "80", "800"}, {0.25f, "40", "400"}, {0.75f, "BF", "BFF"},
             {0.1f, "1A", "19A"}, {0.9f, "E6", "E66"}, {2.0f, "FF", "FFF"}, {-1.0f, "00", "000"}, {kNaN, "00", "000"},
             {kInf, "FF", "FFF"}, {-kInf, "00", "000"}, {1.0f / 255.0f, "01", "010"}, {0.998f, "FE", "FF7"}}) {
        EXPECT_EQ(controller->FloatToHex(std::get<0>(c)) + controller->Float12ToHex(std::get<0>(c)),
                  std::get<1>(c) + std::get<2>(c)) << std::get<0>(c);
    }
    for (const auto& c : std::vector<std::pair<float, int>>{
             {127.5f, 128}, {2.49f, 2}, {-0.4f, 0}, {-7.0f, 0}, {kNaN, 0}, {kInf, INT32_MAX}, {3e9f, INT32_MAX}}) {
        EXPECT_EQ(std::make_pair(controller->ToByte(c.first), controller->ToWORD(c.first)), std::make_pair(c.second, c.second));
    }
}

// Positions go out on every call, fields in argument order. Both speed
// commands share the last one sent, which is not repeated; the axis speeds
// carry an offset of 0.01. Each command returns whether the link is up.
TEST_F(ControllerTest, MotionCommandsAreEncodedInArgumentOrder)
{
    bridge->Script(Lines(9, kOwn));
    bridge->Script({"KORVE-STATUS-00"});
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.0f, 0.1f, 0.25f, 0.5f, 0.75f, 1.0f));
    EXPECT_TRUE(controller->SendPositionZEPTA12(1.0f, 0.75f, 0.5f, 0.25f, 0.1f, 0.0f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedZEPTA(0.0f, 0.5f, 1.0f, -1.0f, kNaN, 0.99f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.25f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(0.5f, 0.5f));
    EXPECT_FALSE(controller->SendPositionZEPTA(kNaN, kInf, -kInf, 1e9f, -1e9f, kNaN));
    EXPECT_THAT(bridge->writes, ElementsAre("p80808080;", "p80808080;", "p001A4080BFFF;", "qFFFBFF80040019A000;", "aFF80;",
                                            "as0382FF0000FF;", "aFF40;", "as828282828282;", "a8080;", "p00FF00FF0000;"));
}

TEST_F(ControllerTest, WithTheBridgeGoneCommandsReportTheLostLink)
{
    bridge.reset();
    controller->SendCommand("x2;");
    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_SHUT_DOWN);
    // The speed command counts as sent even though nothing was there to take it.
    EXPECT_FALSE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));
    EXPECT_EQ(DrainLogLines(), Lines(2, "S1: TimeOut"));
}

}  // namespace
