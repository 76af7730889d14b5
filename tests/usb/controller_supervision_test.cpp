#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zepta_test::DrainLogLines;
using zepta_test::ScriptedBridge;
using ZEPTASDK::Controller;

// A controller that completed its handshake with a device of the given
// family, with the log drained and the writes cleared.
class ControllerSupervisionTest : public ::testing::Test {
protected:
    void Connect(const std::string& identity)
    {
        bridge = std::make_shared<ScriptedBridge>(identity);
        bridge->Script({"Find", "V", "KORVE-RTO-START", "KORVE-READY", "SN"});
        controller = std::make_unique<Controller>(bridge, "S1");
        ASSERT_EQ(controller->GetState(), 8);
        bridge->ClearWrites();
        DrainLogLines();
    }
    void SetUp() override { Connect("KORVE-DEVICE"); }

    // Feeds the lines one WaitZEPTA each and returns the state after each.
    std::vector<int> StatesAfter(const std::vector<std::string>& lines)
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

const std::string kOwn = "KORVE-STATUS-15-EXT4-0000";
const std::string kOther = "KORVE-STATUS-63-EXT4-0000";

TEST_F(ControllerSupervisionTest, MatchingStatusLineKeepsRunningAndStoresTheCode)
{
    bridge->Script({"KORVE-STATUS-15-EXT4-0012"});

    EXPECT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 8);
    EXPECT_EQ(controller->GetStatusCode(), 12);
    EXPECT_THAT(DrainLogLines(), IsEmpty());
}

TEST_F(ControllerSupervisionTest, FourthConsecutiveAxisMismatchStopsTheActuators)
{
    EXPECT_THAT(StatesAfter({kOther, kOther, kOther, kOther, kOther}), ElementsAre(8, 8, 8, 9, 9));
}

TEST_F(ControllerSupervisionTest, MatchingLineResetsTheMismatchCountAndResumes)
{
    EXPECT_THAT(StatesAfter({kOther, kOther, kOther, kOwn, kOther, kOther, kOther, kOther}),
                ElementsAre(8, 8, 8, 8, 8, 8, 8, 9));
    EXPECT_THAT(StatesAfter({kOwn}), ElementsAre(8));
}

// Both answer the command on their own; a circuit error does not stop a
// running device.
TEST_F(ControllerSupervisionTest, UnlockedAndCircuitErrorLinesResumeAndResetTheMismatchCount)
{
    EXPECT_THAT(StatesAfter({kOther, kOther, kOther, "KORVE-UNLOCKED", kOther, kOther, kOther, "ECAN-ERROR", kOther,
                             kOther, kOther}),
                ElementsAre(8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8));
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: KORVE-UNLOCKED", "S1: ECAN-ERROR"));
    EXPECT_EQ(bridge->Unread(), 0u);
}

TEST_F(ControllerSupervisionTest, LockedLineStopsWithoutClosingThePort)
{
    bridge->Script({"KORVE-LOCKED"});

    EXPECT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 9);
    EXPECT_FALSE(bridge->Disabled());
    EXPECT_THAT(DrainLogLines(), IsEmpty());
}

TEST_F(ControllerSupervisionTest, LockAcknowledgementResumesAfterLockedAndReadsOn)
{
    bridge->Script({"KORVE-LOCKED"});
    controller->WaitZEPTA();
    ASSERT_EQ(controller->GetState(), 9);

    bridge->Script({"KORVE-UNLOCK-OK", "KORVE-STATUS-15-EXT4-0003"});
    EXPECT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 8);
    EXPECT_EQ(controller->GetStatusCode(), 3);
    EXPECT_EQ(bridge->Unread(), 0u);
}

TEST_F(ControllerSupervisionTest, ButtonIsSkippedLockIsLoggedSilenceShutsDown)
{
    bridge->Script({"KORVE-BUTTON", "KORVE-LOCK-OK"});

    EXPECT_FALSE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 4);
    EXPECT_TRUE(bridge->Disabled());
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: KORVE-LOCK-OK", "S1: TimeOut"));
}

TEST_F(ControllerSupervisionTest, StatusWithoutAxesShutsDown)
{
    for (const std::string line : {"KORVE-STATUS-00", "KORVE-STATUS-", "KORVE-STATUS-xx-EXT4-0001"}) {
        Connect("KORVE-DEVICE");
        bridge->Script({line});
        EXPECT_FALSE(controller->WaitZEPTA()) << line;
        EXPECT_EQ(controller->GetState(), 4) << line;
        EXPECT_TRUE(bridge->Disabled()) << line;
    }
}

TEST_F(ControllerSupervisionTest, UnknownLineLosesTheConnection)
{
    for (const std::string line : {"KORVE-READY", "", "korve-status-15", " KORVE-STATUS-15"}) {
        Connect("KORVE-DEVICE");
        bridge->Script({line});
        EXPECT_FALSE(controller->WaitZEPTA()) << line;
        EXPECT_EQ(controller->GetState(), 4) << line;
        EXPECT_TRUE(bridge->Disabled()) << line;
        EXPECT_THAT(DrainLogLines(), ElementsAre("S1: Connection lost.")) << line;
    }
}

TEST_F(ControllerSupervisionTest, BridgeGoneCountsAsTimeOut)
{
    bridge.reset();

    EXPECT_FALSE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), 4);
    EXPECT_THAT(DrainLogLines(), ElementsAre("S1: TimeOut"));
}

TEST_F(ControllerSupervisionTest, StatusCodeTakesUpToFourCharactersAfterTheMarkerWhenThereIsOne)
{
    const std::vector<std::pair<std::string, int>> cases = {
        {"KORVE-STATUS-15-EXT4-12345", 1234}, {"KORVE-STATUS-15-EXT4-7", 7},
        {"KORVE-STATUS-15-EXT4--12", -12},    {"KORVE-STATUS-15-EXT4-abc", 0},
        {"KORVE-STATUS-15-EXT4-9999", 9999},  {"KORVE-STATUS-15-EXT4-", 0},
        {"KORVE-STATUS-15-X-EXT4-0042", 42}, {"KORVE-STATUS-15", 42},
    };
    for (const auto& c : cases) {
        bridge->Script({c.first});
        EXPECT_TRUE(controller->WaitZEPTA()) << c.first;
        EXPECT_EQ(controller->GetStatusCode(), c.second) << c.first;
    }
}

TEST_F(ControllerSupervisionTest, AxisSetIsReadFromTwoDigitsOnly)
{
    // "151" reads as 15: the third digit belongs to the rest of the line.
    EXPECT_THAT(StatesAfter({"KORVE-STATUS-151", "KORVE-STATUS-1", "KORVE-STATUS-1", "KORVE-STATUS-1",
                             "KORVE-STATUS-1"}),
                ElementsAre(8, 8, 8, 8, 9));
}

// The application's thread polls the state while the update thread runs frames.
TEST_F(ControllerSupervisionTest, StateIsReadableFromAnotherThreadDuringFrames)
{
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            const int state = controller->GetState();
            EXPECT_TRUE(state == 8 || state == 9) << state;
            EXPECT_EQ(controller->GetZEPTA(), 2);
            EXPECT_GE(controller->GetStatusCode(), 0);
        }
    });
    for (int i = 0; i < 2000; ++i) {
        bridge->Script({i % 5 == 4 ? "KORVE-LOCKED" : "KORVE-STATUS-15-EXT4-00" + std::to_string(i % 100)});
        controller->WaitZEPTA();
    }
    done = true;
    reader.join();
}

struct CalibrationCase {
    const char* name;
    std::vector<std::string> replies;
    int state;
    std::vector<std::string> log;
    std::vector<std::string> writes;
};

void PrintTo(const CalibrationCase& c, std::ostream* os) { *os << c.name; }

class CalibrationRunTest : public ControllerSupervisionTest, public ::testing::WithParamInterface<CalibrationCase> {};

TEST_P(CalibrationRunTest, ReplyDecidesTheOutcome)
{
    const CalibrationCase& c = GetParam();
    bridge->Script(c.replies);

    controller->Calibration();

    EXPECT_EQ(controller->GetState(), c.state);
    EXPECT_EQ(DrainLogLines(), c.log);
    EXPECT_EQ(bridge->Writes(), c.writes);
}

const std::string kPrepare = "S1: Preparing for calibration.";
const std::string kStarted = "S1: Calibration started: returning to origin.";
const std::string kRetry = "S1: Startup error detected. Retrying calibration.";
const std::string kFailed = "S1: Calibration failed: could not reach origin.";
const std::vector<std::string> kShortWait = {"c;"};
const std::vector<std::string> kLongWait = {"c;", ""};

INSTANTIATE_TEST_SUITE_P(
    Replies, CalibrationRunTest,
    ::testing::Values(
        CalibrationCase{"Ready", {"KORVE-RTO-START", "KORVE-READY"}, 7, {kPrepare, kStarted, "S1: Device is ready."}, kLongWait},
        CalibrationCase{"CircuitErrorAtStart", {"ECAN-ERROR"}, 10, {kPrepare, kRetry}, kShortWait},
        CalibrationCase{"LockedAtStart", {"KORVE-LOCKED"}, 2,
                        {kPrepare, "S1: LOCKED - Calibration failed: could not reach origin."}, kShortWait},
        CalibrationCase{"SilentAtStart", {}, 3,
                        {kPrepare, "S1: Device not responding. Please reboot the device."}, kShortWait},
        CalibrationCase{"UnexpectedAtStart", {"KORVE-READY"}, 2, {kPrepare, kFailed}, kShortWait},
        CalibrationCase{"ErrorResetAtEnd", {"KORVE-RTO-START", "KORVE-ERROR-RESET"}, 10, {kPrepare, kStarted, kRetry}, kLongWait},
        CalibrationCase{"CircuitErrorAtEnd", {"KORVE-RTO-START", "ECAN-ERROR"}, 10, {kPrepare, kStarted, kRetry}, kLongWait},
        CalibrationCase{"SilentAtEnd", {"KORVE-RTO-START"}, 2, {kPrepare, kStarted, kFailed}, kLongWait},
        CalibrationCase{"LockedAtEnd", {"KORVE-RTO-START", "KORVE-LOCKED"}, 2, {kPrepare, kStarted, kFailed}, kLongWait}),
    [](const ::testing::TestParamInfo<CalibrationCase>& info) { return std::string(info.param.name); });

TEST_F(ControllerSupervisionTest, CalibrationWithBridgeGoneLeavesStateSeven)
{
    bridge.reset();

    controller->Calibration();

    EXPECT_EQ(controller->GetState(), 7);
    EXPECT_THAT(DrainLogLines(), IsEmpty());
}

}  // namespace
