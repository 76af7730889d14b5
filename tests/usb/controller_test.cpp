// The USB protocol against a scripted device: the handshake, calibration,
// the supervision of replies and the encoding of the motion commands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <tuple>

#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zepta_test::DrainLogLines;
using zepta_test::ScriptedBridge;
using ZEPTASDK::Controller;
using Lines = std::vector<std::string>;

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();
const Lines kGoodHandshake = {"Find", "V", "KORVE-RTO-START", "KORVE-READY", "SN"};
const std::string kOwn = "KORVE-STATUS-15-EXT4-0000";
const std::string kOther = "KORVE-STATUS-63-EXT4-0000";
const std::string kPrepare = "S1: Preparing for calibration.";
const std::string kStarted = "S1: Calibration started: returning to origin.";
const std::string kRetry = "S1: Startup error detected. Retrying calibration.";
const std::string kFailed = "S1: Calibration failed: could not reach origin.";
const std::string kLost = "S1: Connection lost.";

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
        Handshake("KORVE-DEVICE", kGoodHandshake);
        ASSERT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING);
        bridge->writes.clear();
        DrainLogLines();
    }
    // The state after each line, one wait per line.
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
    long Count(const std::string& command) const { return std::count(bridge->writes.begin(), bridge->writes.end(), command); }

    std::shared_ptr<ScriptedBridge> bridge;
    std::unique_ptr<Controller> controller;
};

TEST_F(ControllerTest, HandshakeSendsEachStepOnceAndLogsIt)
{
    Handshake("KORVE-DEVICE", {"Find", "FW 2.1", "KORVE-RTO-START", "KORVE-READY", "SN-0042"});
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING);
    EXPECT_EQ(controller->GetZEPTASerialNumber(), "SN-0042");
    EXPECT_THAT(bridge->writes, ElementsAre("usb;", "v;", "c;", "", "s;"));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: USB connection established.", "S1: FW 2.1", kPrepare, kStarted,
                                             "S1: Device is ready.", "S1: USB device found: SN-0042"));
    EXPECT_FALSE(bridge->disabled);

    Handshake("KORVE-DEVICE", {"Find", "TimeOut", "KORVE-RTO-START", "KORVE-READY", "SN"});
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING);
    EXPECT_EQ(DrainLogLines()[1], kPrepare) << "a silent version request is not logged";
}

TEST_F(ControllerTest, HandshakeEndsEarlyWithoutUsbOrKnownFamily)
{
    Handshake("KORVE-DEVICE", {"NotFind"});
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_NO_USB_DEVICE);
    EXPECT_THAT(bridge->writes, ElementsAre("usb;"));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: ZEPTA device not found."));
    EXPECT_FALSE(bridge->disabled);
    // A portless bridge answers "" and has no identity: it fails at identification.
    for (const std::string identity : {"", "KORVE-DEVICE ", "korve-device", "KORVE-DEVICE-X", "KORVE7-DEVICE"}) {
        Handshake(identity, {""});
        EXPECT_EQ(controller->GetState(), ZEPTA_STATE_NO_DEVICE) << identity;
        EXPECT_EQ(controller->GetZEPTA(), ZEPTA_DEVICE_NONE) << identity;
        EXPECT_TRUE(bridge->disabled) << identity;
        EXPECT_THAT(DrainLogLines(), ElementsAre("S1: USB connection failed.")) << identity;
    }
    auto gone = std::make_shared<ScriptedBridge>("KORVE-DEVICE");
    std::weak_ptr<ZEPTASDK::Bridge> weak = gone;
    gone.reset();
    const Controller unbridged(weak, "S1");
    EXPECT_EQ(unbridged.GetState(), ZEPTA_STATE_INITIAL);
    EXPECT_EQ(unbridged.GetZEPTA(), ZEPTA_DEVICE_NONE);
    EXPECT_THAT(DrainLogLines(), IsEmpty());
}

// Each family's own axis set keeps it running past the mismatch limit.
TEST_F(ControllerTest, IdentityFixesKindAndExpectedAxisSet)
{
    const struct {
        const char* identity;
        int kind;
        const char* axes;
    } families[] = {{"KORVE-DEVICE", ZEPTA_DEVICE_KORVE_4DOF, "15"}, {"KORVE6-DEVICE", ZEPTA_DEVICE_KORVE_6DOF, "63"},
                    {"KORVE2-DEVICE", ZEPTA_DEVICE_KORVE_2DOF, "03"}, {"NEBULO2-DEVICE", ZEPTA_DEVICE_NEBULO_2DOF, "03"},
                    {"KORVETL-DEVICE", ZEPTA_DEVICE_TRAXEL, "03"},    {"PLIX-DEVICE", ZEPTA_DEVICE_PLIX, "03"}};
    for (const auto& family : families) {
        Handshake(family.identity, kGoodHandshake);
        EXPECT_EQ(controller->GetZEPTA(), family.kind) << family.identity;
        const std::string own = std::string("KORVE-STATUS-") + family.axes;
        EXPECT_THAT(StatesAfter({own, own, own, own}), ElementsAre(8, 8, 8, 8)) << family.identity;
    }
}

// Only a request to repeat is retried, at most three runs in all; the serial
// number is asked for only after a good calibration.
TEST_F(ControllerTest, CalibrationIsRetriedOnlyWhileTheDeviceAsksForIt)
{
    const struct {
        Lines replies;
        int state;
        long runs;
    } cases[] = {
        {{"KORVE-RTO-START", "KORVE-READY"}, ZEPTA_STATE_RUNNING, 1},
        {{"ECAN-ERROR", "KORVE-RTO-START", "KORVE-READY"}, ZEPTA_STATE_RUNNING, 2},
        {{"KORVE-RTO-START", "KORVE-ERROR-RESET", "ECAN-ERROR", "KORVE-RTO-START", "KORVE-READY"}, ZEPTA_STATE_RUNNING, 3},
        {{"ECAN-ERROR", "KORVE-RTO-START", "KORVE-ERROR-RESET", "KORVE-RTO-START", "ECAN-ERROR"}, ZEPTA_STATE_CALIBRATION_FAILED, 3},
        {{"KORVE-RTO-START", "TimeOut"}, ZEPTA_STATE_CALIBRATION_FAILED, 1},
        {{"TimeOut"}, ZEPTA_STATE_CALIBRATION_TIMED_OUT, 1},
        {{"ECAN-ERROR", "TimeOut"}, ZEPTA_STATE_CALIBRATION_TIMED_OUT, 2},
    };
    for (const auto& c : cases) {
        Lines script = {"Find", "V"};
        script.insert(script.end(), c.replies.begin(), c.replies.end());
        Handshake("KORVE-DEVICE", script);
        EXPECT_EQ(controller->GetState(), c.state) << c.replies.size();
        EXPECT_EQ(Count("c;"), c.runs) << c.replies.size();
        EXPECT_EQ(Count("s;"), c.state == ZEPTA_STATE_RUNNING ? 1 : 0) << c.replies.size();
    }
}

TEST_F(ControllerTest, CalibrationRunReplyDecidesStateLogAndWait)
{
    const struct {
        Lines replies;
        int state;
        Lines log;
    } cases[] = {
        {{"KORVE-RTO-START", "KORVE-READY"}, ZEPTA_STATE_CALIBRATING, {kPrepare, kStarted, "S1: Device is ready."}},
        {{"ECAN-ERROR"}, ZEPTA_STATE_CALIBRATION_REPEAT, {kPrepare, kRetry}},
        {{"KORVE-LOCKED"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, "S1: LOCKED - Calibration failed: could not reach origin."}},
        {{}, ZEPTA_STATE_CALIBRATION_TIMED_OUT, {kPrepare, "S1: Device not responding. Please reboot the device."}},
        {{"KORVE-READY"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, kFailed}},
        {{"KORVE-RTO-START", "KORVE-ERROR-RESET"}, ZEPTA_STATE_CALIBRATION_REPEAT, {kPrepare, kStarted, kRetry}},
        {{"KORVE-RTO-START", "ECAN-ERROR"}, ZEPTA_STATE_CALIBRATION_REPEAT, {kPrepare, kStarted, kRetry}},
        {{"KORVE-RTO-START"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, kStarted, kFailed}},
        {{"KORVE-RTO-START", "KORVE-LOCKED"}, ZEPTA_STATE_CALIBRATION_FAILED, {kPrepare, kStarted, kFailed}},
    };
    for (const auto& c : cases) {
        SetUp();
        bridge->Script(c.replies);
        controller->Calibration();
        EXPECT_EQ(controller->GetState(), c.state) << c.log.back();
        EXPECT_EQ(DrainLogLines(), c.log);
        // Only an acknowledged start arms the long wait ("").
        EXPECT_EQ(bridge->writes, c.log[1] == kStarted ? Lines({"c;", ""}) : Lines({"c;"})) << c.log.back();
    }
    bridge.reset();
    controller->Calibration();
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_CALIBRATING);
}

TEST_F(ControllerTest, SerialNumberIsOneReadOfAShortVisibleNonProtocolLine)
{
    for (const std::string reply : {"TimeOut", "KORVE-STATUS-15-EXT4-0000", "KORVE-LOCKED", "KORVE-BUTTON", "KORVE-DEVICE",
                                    "KORVE-READY", "", "SN 1", "SN\x01", "SN\xc3\xa9", "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"}) {
        Handshake("KORVE-DEVICE", {"Find", "V", "KORVE-RTO-START", "KORVE-READY", reply});
        EXPECT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING) << reply;
        EXPECT_EQ(controller->GetZEPTASerialNumber(), "") << reply;
    }
    Handshake("KORVE-DEVICE", {"Find", "V", "KORVE-RTO-START", "KORVE-READY", std::string(32, 'Z'), "next"});
    EXPECT_EQ(controller->GetZEPTASerialNumber(), std::string(32, 'Z'));
    EXPECT_EQ(bridge->Unread(), 1u);
}

// A fourth mismatching axis set in a row stops the actuators; a matching set,
// an unlock or a circuit error (logged) resets the count.
TEST_F(ControllerTest, AxisSetMismatchesAreCountedInARow)
{
    EXPECT_THAT(StatesAfter({kOther, kOther, kOther, kOwn, kOther, kOther, kOther, kOther, kOther, kOwn}),
                ElementsAre(8, 8, 8, 8, 8, 8, 8, 9, 9, 8));
    EXPECT_THAT(StatesAfter({kOther, kOther, kOther, "KORVE-UNLOCKED", kOther, kOther, kOther, "ECAN-ERROR", kOther,
                             kOther, kOther}),
                ElementsAre(8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: KORVE-UNLOCKED", "S1: ECAN-ERROR"));
    // "151" reads as 15: the third digit belongs to the rest of the line.
    EXPECT_THAT(StatesAfter({"KORVE-STATUS-151", "KORVE-STATUS-1", "KORVE-STATUS-1", "KORVE-STATUS-1", "KORVE-STATUS-1"}),
                ElementsAre(8, 8, 8, 8, 9));
}

TEST_F(ControllerTest, StatusCodeIsUpToFourCharactersAfterTheMarker)
{
    const std::vector<std::pair<std::string, int>> cases = {
        {"KORVE-STATUS-15-EXT4-12345", 1234}, {"KORVE-STATUS-15-EXT4-7", 7},    {"KORVE-STATUS-15-EXT4--12", -12},
        {"KORVE-STATUS-15-EXT4-abc", 0},      {"KORVE-STATUS-15-EXT4-9999", 9999}, {"KORVE-STATUS-15-EXT4-", 0},
        {"KORVE-STATUS-15-X-EXT4-0042", 42},  {"KORVE-STATUS-15", 42},
    };
    for (const auto& c : cases) {
        bridge->Script({c.first});
        EXPECT_TRUE(controller->WaitZEPTA()) << c.first;
        EXPECT_EQ(controller->GetStatusCode(), c.second) << c.first;
    }
}

// Up to sixteen button presses and lock acknowledgements (logged, resuming)
// may precede the answer, counted afresh in every wait.
TEST_F(ControllerTest, InterimLinesPrecedeTheAnswerUpToALimit)
{
    bridge->Script({"KORVE-LOCKED"});
    EXPECT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_STOPPED);
    for (int wait = 0; wait < 2; ++wait) {
        for (int i = 0; i < 8; ++i) bridge->Script({"KORVE-BUTTON", i == 7 ? "KORVE-UNLOCK-OK" : "KORVE-LOCK-OK"});
        bridge->Script({"KORVE-LOCKED"});
        EXPECT_TRUE(controller->WaitZEPTA());
        EXPECT_EQ(bridge->Unread(), 0u);
    }
    bridge->Script({"KORVE-LOCK-OK", "KORVE-STATUS-15-EXT4-0003"});
    EXPECT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING);
    EXPECT_EQ(DrainLogLines().size(), 17u);

    for (int i = 0; i < 100; ++i) bridge->Script({"KORVE-BUTTON"});
    const int readsBefore = bridge->reads;
    EXPECT_FALSE(controller->WaitZEPTA());
    EXPECT_EQ(bridge->reads - readsBefore, 17);
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_SHUT_DOWN);
    EXPECT_TRUE(bridge->disabled);
    EXPECT_THAT(DrainLogLines(), ElementsAre(kLost));
}

// Silence, an unknown line or a status without axes closes the port.
TEST_F(ControllerTest, LinkIsLostOnSilenceOrAnUnexpectedLine)
{
    const std::vector<std::pair<Lines, Lines>> cases = {
        {{"KORVE-BUTTON"}, {"S1: TimeOut"}},       {{"KORVE-READY"}, {kLost}},      {{""}, {kLost}},
        {{"korve-status-15"}, {kLost}},            {{" KORVE-STATUS-15"}, {kLost}}, {{"KORVE-STATUS-00"}, {}},
        {{"KORVE-STATUS-"}, {}},                   {{"KORVE-STATUS-xx-EXT4-0001"}, {}},
    };
    for (const auto& c : cases) {
        SetUp();
        bridge->Script(c.first);
        EXPECT_FALSE(controller->WaitZEPTA()) << c.first[0];
        EXPECT_EQ(controller->GetState(), ZEPTA_STATE_SHUT_DOWN) << c.first[0];
        EXPECT_TRUE(bridge->disabled) << c.first[0];
        EXPECT_EQ(DrainLogLines(), c.second) << c.first[0];
    }
}

TEST_F(ControllerTest, FieldsRoundHalfUpAndClampToTheirRange)
{
    const std::vector<std::tuple<float, std::string, std::string>> cases = {
        {0.0f, "00", "000"},   {1.0f, "FF", "FFF"},   {0.5f, "80", "800"},  {0.25f, "40", "400"}, {0.75f, "BF", "BFF"},
        {0.1f, "1A", "19A"},   {0.9f, "E6", "E66"},   {2.0f, "FF", "FFF"},  {-1.0f, "00", "000"}, {kNaN, "00", "000"},
        {kInf, "FF", "FFF"},   {-kInf, "00", "000"},  {-0.0f, "00", "000"}, {1.0f / 255.0f, "01", "010"},
        {0.998f, "FE", "FF7"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(controller->FloatToHex(std::get<0>(c)), std::get<1>(c)) << std::get<0>(c);
        EXPECT_EQ(controller->Float12ToHex(std::get<0>(c)), std::get<2>(c)) << std::get<0>(c);
    }
    for (const auto& c : std::vector<std::pair<float, int>>{
             {127.5f, 128}, {2.49f, 2}, {-0.4f, 0}, {-7.0f, 0}, {kNaN, 0}, {kInf, INT32_MAX}, {3e9f, INT32_MAX}}) {
        EXPECT_EQ(controller->ToByte(c.first), c.second) << c.first;
        EXPECT_EQ(controller->ToWORD(c.first), c.second) << c.first;
    }
}

TEST_F(ControllerTest, PositionsGoOutEveryTimeInArgumentOrderAndReturnTheAnswer)
{
    bridge->Script({kOwn, kOwn, kOwn, kOwn, "KORVE-STATUS-00"});
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.0f, 0.1f, 0.25f, 0.5f, 0.75f, 1.0f));
    EXPECT_TRUE(controller->SendPositionZEPTA12(1.0f, 0.75f, 0.5f, 0.25f, 0.1f, 0.0f));
    EXPECT_FALSE(controller->SendPositionZEPTA(kNaN, kInf, -kInf, 1e9f, -1e9f, kNaN));
    EXPECT_THAT(bridge->writes, ElementsAre("p80808080;", "p80808080;", "p001A4080BFFF;", "qFFFBFF80040019A000;",
                                            "p00FF00FF0000;"));
}

// Both speed commands share the last one sent, which is not repeated; the axis
// speeds carry an offset of 0.01 and go out on every call.
TEST_F(ControllerTest, SpeedCommandsAreSentOnlyWhenChanged)
{
    bridge->Script({kOwn, kOwn, kOwn, kOwn, kOwn});
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedZEPTA(0.0f, 0.5f, 1.0f, -1.0f, kNaN, 0.99f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.25f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(0.5f, 0.5f));
    EXPECT_THAT(bridge->writes, ElementsAre("aFF80;", "as0382FF0000FF;", "aFF40;", "as828282828282;", "a8080;"));
    EXPECT_EQ(bridge->Unread(), 0u);
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING);
}

TEST_F(ControllerTest, WithTheBridgeGoneCommandsReportTheLostLink)
{
    controller->SendCommand("x1;");
    EXPECT_THAT(bridge->writes, ElementsAre("x1;"));
    EXPECT_EQ(bridge->reads, 5);
    bridge.reset();
    controller->SendCommand("x2;");
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_RUNNING);
    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(controller->GetState(), ZEPTA_STATE_SHUT_DOWN);
    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_FALSE(controller->SendPositionZEPTA12(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_FALSE(controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    // The speed command counts as sent even though nothing was there to take it.
    EXPECT_FALSE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));
    EXPECT_EQ(DrainLogLines(), Lines(6, "S1: TimeOut"));
}

}  // namespace
