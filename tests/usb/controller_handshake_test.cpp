#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zepta_test::DrainLogLines;
using zepta_test::ScriptedBridge;
using ZEPTASDK::Controller;

const std::string kTag = "S1";

class ControllerHandshakeTest : public ::testing::Test {
protected:
    void SetUp() override { DrainLogLines(); }

    std::unique_ptr<Controller> Handshake(const std::string& identity, const std::vector<std::string>& replies)
    {
        bridge = std::make_shared<ScriptedBridge>(identity);
        bridge->Script(replies);
        return std::make_unique<Controller>(bridge, kTag);
    }

    std::shared_ptr<ScriptedBridge> bridge;
};

TEST_F(ControllerHandshakeTest, SuccessfulHandshakeSendsEachStepOnceAndLogsIt)
{
    auto controller = Handshake("KORVE-DEVICE", {"Find", "FW 2.1", "KORVE-RTO-START", "KORVE-READY", "SN-0042"});

    EXPECT_EQ(controller->GetState(), 8);
    EXPECT_EQ(controller->GetZEPTA(), 2);
    EXPECT_EQ(controller->GetZEPTASerialNumber(), "SN-0042");
    EXPECT_THAT(bridge->Writes(), ElementsAre("usb;", "v;", "c;", "", "s;"));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: USB connection established.", "S1: FW 2.1",
                                             "S1: Preparing for calibration.",
                                             "S1: Calibration started: returning to origin.", "S1: Device is ready.",
                                             "S1: USB device found: SN-0042"));
    EXPECT_FALSE(bridge->Disabled());
}

TEST_F(ControllerHandshakeTest, BridgeGoneBeforeHandshakeStaysInitial)
{
    auto gone = std::make_shared<ScriptedBridge>("KORVE-DEVICE");
    std::weak_ptr<ZEPTASDK::Bridge> weak = gone;
    gone.reset();
    Controller controller(weak, kTag);

    EXPECT_EQ(controller.GetState(), 6);
    EXPECT_EQ(controller.GetZEPTA(), 0);
    EXPECT_THAT(DrainLogLines(), IsEmpty());
}

TEST_F(ControllerHandshakeTest, NoUsbDeviceEndsInStateZeroWithoutClosingThePort)
{
    auto controller = Handshake("KORVE-DEVICE", {"NotFind"});

    EXPECT_EQ(controller->GetState(), 0);
    EXPECT_THAT(bridge->Writes(), ElementsAre("usb;"));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: ZEPTA device not found."));
    EXPECT_FALSE(bridge->Disabled());
}

// A portless bridge answers "usb;" with "" and has no identity: the
// handshake must fail at identification (1), not at the USB check (0).
TEST_F(ControllerHandshakeTest, PortlessBridgeEndsInStateOneAndIsDisabled)
{
    auto controller = Handshake("", {""});

    EXPECT_EQ(controller->GetState(), 1);
    EXPECT_EQ(controller->GetZEPTA(), 0);
    EXPECT_TRUE(bridge->Disabled());
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: USB connection failed."));
}

TEST_F(ControllerHandshakeTest, IdentityMustMatchAFamilyAsAWholeLine)
{
    for (const std::string identity : {"KORVE-DEVICE ", "korve-device", "KORVE-DEVICE-X", "KORVE7-DEVICE"}) {
        auto controller = Handshake(identity, {"Find"});
        EXPECT_EQ(controller->GetState(), 1) << identity;
        EXPECT_EQ(controller->GetZEPTA(), 0) << identity;
        EXPECT_THAT(bridge->Writes(), ElementsAre("usb;")) << identity;
    }
}

TEST_F(ControllerHandshakeTest, SilentVersionRequestIsNotAnError)
{
    auto controller = Handshake("KORVE-DEVICE", {"Find", "TimeOut", "KORVE-RTO-START", "KORVE-READY", "SN1"});

    EXPECT_EQ(controller->GetState(), 8);
    const auto log = DrainLogLines();
    EXPECT_THAT(log, ::testing::Not(::testing::Contains("S1: TimeOut")));
    EXPECT_THAT(log, ::testing::Contains("S1: Preparing for calibration."));
}

struct FamilyCase {
    std::string identity;
    int model;
    std::string ownAxisSet;
    std::string otherAxisSet;
};

void PrintTo(const FamilyCase& family, std::ostream* os) { *os << family.identity; }

class ControllerFamilyTest : public ControllerHandshakeTest, public ::testing::WithParamInterface<FamilyCase> {};

// The axis set the family must report is checked through status lines: its
// own set keeps the state at 8 however often it comes, another one stops
// the actuators on the fourth line.
TEST_P(ControllerFamilyTest, IdentityFixesModelAndExpectedAxisSet)
{
    const FamilyCase& family = GetParam();
    auto controller = Handshake(family.identity, {"Find", "V", "KORVE-RTO-START", "KORVE-READY", "SN"});
    ASSERT_EQ(controller->GetState(), 8);
    EXPECT_EQ(controller->GetZEPTA(), family.model);

    const std::string own = "KORVE-STATUS-" + family.ownAxisSet + "-EXT4-0000";
    bridge->Script({own, own, own, own, own});
    for (int i = 0; i < 5; ++i) ASSERT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 8);

    const std::string other = "KORVE-STATUS-" + family.otherAxisSet + "-EXT4-0000";
    bridge->Script({other, other, other, other});
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 9);
}

INSTANTIATE_TEST_SUITE_P(Families, ControllerFamilyTest,
                         ::testing::Values(FamilyCase{"KORVE-DEVICE", 2, "15", "63"},
                                           FamilyCase{"KORVE6-DEVICE", 3, "63", "15"},
                                           FamilyCase{"KORVE2-DEVICE", 1, "03", "15"},
                                           FamilyCase{"NEBULO2-DEVICE", 100, "03", "15"},
                                           FamilyCase{"KORVETL-DEVICE", 103, "03", "63"},
                                           FamilyCase{"PLIX-DEVICE", 104, "03", "15"}),
                         [](const ::testing::TestParamInfo<FamilyCase>& info) { return "Model" + std::to_string(info.param.model); });

struct RetryCase {
    const char* name;
    std::vector<std::string> calibrationReplies;
    int state;
    int calibrationRuns;
};

void PrintTo(const RetryCase& c, std::ostream* os) { *os << c.name; }

class ControllerCalibrationRetryTest : public ControllerHandshakeTest,
                                       public ::testing::WithParamInterface<RetryCase> {};

// Only a request to repeat (state 10) is retried, at most three runs in all;
// a third request counts as a failure.
TEST_P(ControllerCalibrationRetryTest, RetriesOnlyWhileTheDeviceAsksForIt)
{
    const RetryCase& c = GetParam();
    std::vector<std::string> script = {"Find", "V"};
    script.insert(script.end(), c.calibrationReplies.begin(), c.calibrationReplies.end());
    script.push_back("SN");
    auto controller = Handshake("KORVE-DEVICE", script);

    EXPECT_EQ(controller->GetState(), c.state);
    const auto& writes = bridge->Writes();
    EXPECT_EQ(std::count(writes.begin(), writes.end(), "c;"), c.calibrationRuns);
    EXPECT_EQ(std::count(writes.begin(), writes.end(), "s;"), c.state == 8 ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Outcomes, ControllerCalibrationRetryTest,
    ::testing::Values(
        RetryCase{"ReadyAtOnce", {"KORVE-RTO-START", "KORVE-READY"}, 8, 1},
        RetryCase{"ReadyAfterOneRetry", {"ECAN-ERROR", "KORVE-RTO-START", "KORVE-READY"}, 8, 2},
        RetryCase{"ReadyOnThirdRun",
                  {"KORVE-RTO-START", "KORVE-ERROR-RESET", "ECAN-ERROR", "KORVE-RTO-START", "KORVE-READY"}, 8, 3},
        RetryCase{"ThirdRepeatBecomesFailure",
                  {"ECAN-ERROR", "KORVE-RTO-START", "KORVE-ERROR-RESET", "KORVE-RTO-START", "ECAN-ERROR"}, 2, 3},
        RetryCase{"FailureIsNotRetried", {"KORVE-RTO-START", "TimeOut"}, 2, 1},
        RetryCase{"TimeOutIsNotRetried", {"TimeOut"}, 3, 1},
        RetryCase{"RepeatThenTimeOut", {"ECAN-ERROR", "TimeOut"}, 3, 2}),
    [](const ::testing::TestParamInfo<RetryCase>& info) { return std::string(info.param.name); });

TEST_F(ControllerHandshakeTest, ImplausibleSerialNumbersAreNotKept)
{
    const std::string tooLong(33, 'A');
    for (const std::string& reply : {std::string("TimeOut"), std::string("KORVE-STATUS-15-EXT4-0000"),
                                    std::string("KORVE-LOCKED"), std::string("KORVE-BUTTON"),
                                    std::string("KORVE-DEVICE"), std::string("KORVE-READY"), std::string(""),
                                    std::string("SN 1"), std::string("SN\x01"), std::string("SN\xc3\xa9"), tooLong}) {
        auto controller = Handshake("KORVE-DEVICE", {"Find", "V", "KORVE-RTO-START", "KORVE-READY", reply});
        EXPECT_EQ(controller->GetState(), 8) << reply;
        EXPECT_EQ(controller->GetZEPTASerialNumber(), "") << reply;
    }
}

TEST_F(ControllerHandshakeTest, SerialNumberCostsExactlyOneRead)
{
    auto controller =
        Handshake("KORVE-DEVICE", {"Find", "V", "KORVE-RTO-START", "KORVE-READY", std::string(32, 'Z'), "next"});

    EXPECT_EQ(controller->GetZEPTASerialNumber(), std::string(32, 'Z'));
    EXPECT_EQ(bridge->Unread(), 1u);
}

TEST_F(ControllerHandshakeTest, SendCommandOnlyWritesAndSurvivesTheBridge)
{
    auto controller = Handshake("KORVE-DEVICE", {"Find", "V", "KORVE-RTO-START", "KORVE-READY", "SN"});
    bridge->ClearWrites();
    const int readsBefore = bridge->Reads();

    controller->SendCommand("x1;");
    EXPECT_THAT(bridge->Writes(), ElementsAre("x1;"));
    EXPECT_EQ(bridge->Reads(), readsBefore);

    bridge.reset();
    controller->SendCommand("x2;");
    EXPECT_EQ(controller->GetState(), 8);
}

}  // namespace
