#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>

#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ::testing::ElementsAre;
using zepta_test::DrainLogLines;
using zepta_test::ScriptedBridge;
using ZEPTASDK::Controller;

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();
const std::string kStatus = "KORVE-STATUS-15-EXT4-0000";

class ControllerCommandsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        bridge = std::make_shared<ScriptedBridge>("KORVE-DEVICE");
        bridge->Script({"Find", "V", "KORVE-RTO-START", "KORVE-READY", "SN"});
        controller = std::make_unique<Controller>(bridge, "S1");
        ASSERT_EQ(controller->GetState(), 8);
        bridge->ClearWrites();
        DrainLogLines();
    }

    // Each command is answered with a matching status line.
    void Answer(int commands) { bridge->Script(std::vector<std::string>(static_cast<std::size_t>(commands), kStatus)); }

    std::shared_ptr<ScriptedBridge> bridge;
    std::unique_ptr<Controller> controller;
};

TEST_F(ControllerCommandsTest, ByteFieldRoundsHalfUpAndClamps)
{
    const std::vector<std::pair<float, std::string>> cases = {
        {0.0f, "00"},  {1.0f, "FF"},  {0.5f, "80"}, {0.25f, "40"}, {0.75f, "BF"}, {0.1f, "1A"},
        {0.9f, "E6"},  {2.0f, "FF"},  {-1.0f, "00"}, {kNaN, "00"}, {kInf, "FF"}, {-kInf, "00"},
        {1e30f, "FF"}, {-0.0f, "00"}, {1.0f / 255.0f, "01"}, {0.998f, "FE"},
    };
    for (const auto& c : cases) EXPECT_EQ(controller->FloatToHex(c.first), c.second) << c.first;
}

TEST_F(ControllerCommandsTest, TwelveBitFieldRoundsHalfUpAndClamps)
{
    const std::vector<std::pair<float, std::string>> cases = {
        {0.0f, "000"}, {1.0f, "FFF"}, {0.5f, "800"}, {0.25f, "400"}, {0.75f, "BFF"}, {0.1f, "19A"},
        {0.9f, "E66"}, {7.0f, "FFF"}, {-3.0f, "000"}, {kNaN, "000"}, {kInf, "FFF"}, {-kInf, "000"},
    };
    for (const auto& c : cases) EXPECT_EQ(controller->Float12ToHex(c.first), c.second) << c.first;
}

TEST_F(ControllerCommandsTest, RoundingNeverOverflowsOnAnyInput)
{
    EXPECT_EQ(controller->ToByte(127.5f), 128);
    EXPECT_EQ(controller->ToByte(2.49f), 2);
    EXPECT_EQ(controller->ToByte(-0.4f), 0);
    EXPECT_EQ(controller->ToByte(-7.0f), 0);
    EXPECT_EQ(controller->ToByte(kNaN), 0);
    EXPECT_EQ(controller->ToByte(kInf), INT32_MAX);
    EXPECT_EQ(controller->ToByte(3e9f), INT32_MAX);
    EXPECT_EQ(controller->ToWORD(2047.5f), 2048);
    EXPECT_EQ(controller->ToWORD(-kInf), 0);
}

TEST_F(ControllerCommandsTest, PositionCommandsMatchTheWorkedExamples)
{
    Answer(5);
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.0f, 1.0f, 1.5f, -0.2f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.25f, 0.75f, 0.1f, 0.9f, 1.0f));
    EXPECT_TRUE(controller->SendPositionZEPTA12(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA12(0.0f, 1.0f, 0.25f, 0.75f, 0.1f, 0.9f));

    EXPECT_THAT(bridge->Writes(), ElementsAre("p80808080;", "p00FFFF00;", "p8040BF1AE6FF;", "q800800800800800800;",
                                              "q000FFF400BFF19AE66;"));
}

TEST_F(ControllerCommandsTest, FieldsFollowArgumentOrder)
{
    Answer(2);
    controller->SendPositionZEPTA(0.0f, 0.1f, 0.25f, 0.5f, 0.75f, 1.0f);
    controller->SendPositionZEPTA12(1.0f, 0.75f, 0.5f, 0.25f, 0.1f, 0.0f);

    EXPECT_THAT(bridge->Writes(), ElementsAre("p001A4080BFFF;", "qFFFBFF80040019A000;"));
}

TEST_F(ControllerCommandsTest, PositionIsSentOnEveryCallAndReturnsTheAnswer)
{
    Answer(2);
    bridge->Script({"KORVE-STATUS-00"});
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));

    EXPECT_EQ(bridge->Writes().size(), 3u);
    EXPECT_EQ(controller->GetState(), 4);
}

TEST_F(ControllerCommandsTest, NaNAndOutOfRangePositionsEncodeAsTheRangeEnds)
{
    Answer(1);
    controller->SendPositionZEPTA(kNaN, kInf, -kInf, 1e9f, -1e9f, kNaN);

    EXPECT_THAT(bridge->Writes(), ElementsAre("p00FF00FF0000;"));
}

TEST_F(ControllerCommandsTest, FirstSpeedCommandIsSentAndAnUnchangedOneIsNot)
{
    Answer(2);
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    // Nothing is scripted for the repeat: a read would time out and shut down.
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(0.5f, 0.5f));

    EXPECT_THAT(bridge->Writes(), ElementsAre("aFF80;", "a8080;"));
    EXPECT_EQ(bridge->Unread(), 0u);
    EXPECT_EQ(controller->GetState(), 8);
}

TEST_F(ControllerCommandsTest, AxisSpeedsCarryTheOffsetAndGoOutEveryTime)
{
    Answer(3);
    EXPECT_TRUE(controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_TRUE(controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));

    EXPECT_THAT(bridge->Writes(), ElementsAre("aFF80;", "as828282828282;", "as828282828282;"));
    EXPECT_EQ(bridge->Unread(), 0u);
}

TEST_F(ControllerCommandsTest, AxisSpeedOffsetKeepsZeroMovingAndFullAtFull)
{
    Answer(3);
    controller->SendSpeedZEPTA(0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.5f);
    controller->SendSpeedZEPTA(1.0f, 0.99f, -1.0f, kNaN, 0.25f, 2.0f, 0.5f);

    EXPECT_THAT(bridge->Writes(), ElementsAre("aFF80;", "as030303030303;", "asFFFF000042FF;"));
}

TEST_F(ControllerCommandsTest, SpeedCommandsShareTheLastSpeedCommand)
{
    Answer(4);
    controller->SendSpeedAccelZEPTA(1.0f, 0.5f);
    controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f);
    controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.25f);
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));

    EXPECT_THAT(bridge->Writes(), ElementsAre("aFF80;", "as828282828282;", "aFF40;", "as828282828282;"));
}

TEST_F(ControllerCommandsTest, WithBridgeGoneCommandsSendNothingAndReportTheLoss)
{
    std::weak_ptr<ScriptedBridge> watch = bridge;
    bridge.reset();
    ASSERT_TRUE(watch.expired());

    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(controller->GetState(), 4);
    EXPECT_FALSE(controller->SendPositionZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_FALSE(controller->SendPositionZEPTA12(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_FALSE(controller->SendSpeedZEPTA(0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f));
    // The speed command counts as sent even though nothing was there to take it.
    EXPECT_FALSE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));
    EXPECT_TRUE(controller->SendSpeedAccelZEPTA(1.0f, 0.25f));
    EXPECT_THAT(DrainLogLines(), ::testing::Each("S1: TimeOut"));
}

}  // namespace
