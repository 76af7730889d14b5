// A device that answers a status request with nothing but interim lines
// (button presses, lock acknowledgements) must not hold the status wait, and
// with it the session's frame and Close, for ever.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "usb/controller.h"
#include "usb/scripted_bridge.h"

namespace {

using ZEPTASDK::Controller;
using zepta_test::DrainLogLines;
using zepta_test::ScriptedBridge;
using ::testing::Contains;

// The handshake of a four-axis device, then the status of its first frame.
std::unique_ptr<Controller> Connected(const std::shared_ptr<ScriptedBridge>& bridge)
{
    bridge->Script({"Find", "FW 1.00", "KORVE-RTO-START", "KORVE-READY", "SN1"});
    auto controller = std::make_unique<Controller>(bridge, "S1");
    DrainLogLines();
    return controller;
}

std::vector<std::string> Repeated(const std::vector<std::string>& lines, int times)
{
    std::vector<std::string> all;
    for (int i = 0; i < times; ++i) all.insert(all.end(), lines.begin(), lines.end());
    return all;
}

TEST(HostileReplies, FloodOfInterimLinesEndsTheWaitAsALostLink)
{
    auto bridge = std::make_shared<ScriptedBridge>("KORVE-DEVICE");
    auto controller = Connected(bridge);
    bridge->Script(Repeated({"KORVE-BUTTON", "KORVE-LOCK-OK"}, 1000));
    const int readsBefore = bridge->Reads();

    EXPECT_FALSE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), Controller::kStateShutDown);
    EXPECT_TRUE(bridge->Disabled());
    EXPECT_EQ(bridge->Reads() - readsBefore, 17);
    EXPECT_THAT(DrainLogLines(), Contains("S1: Connection lost."));
}

TEST(HostileReplies, SixteenInterimLinesMayPrecedeTheAnswer)
{
    auto bridge = std::make_shared<ScriptedBridge>("KORVE-DEVICE");
    auto controller = Connected(bridge);
    std::vector<std::string> replies = Repeated({"KORVE-BUTTON", "KORVE-UNLOCK-OK"}, 8);
    replies.push_back("KORVE-STATUS-15-EXT4-0007");
    bridge->Script(replies);

    EXPECT_TRUE(controller->WaitZEPTA());
    EXPECT_EQ(controller->GetState(), Controller::kStateRunning);
    EXPECT_EQ(controller->GetStatusCode(), 7);
    EXPECT_EQ(bridge->Unread(), 0u);
}

// The count starts afresh with every wait: a device whose every answer is
// preceded by a few interim lines keeps running.
TEST(HostileReplies, InterimLinesAreCountedPerWait)
{
    auto bridge = std::make_shared<ScriptedBridge>("KORVE-DEVICE");
    auto controller = Connected(bridge);
    for (int frame = 0; frame < 5; ++frame) {
        std::vector<std::string> replies = Repeated({"KORVE-BUTTON"}, 10);
        replies.push_back("KORVE-STATUS-15");
        bridge->Script(replies);
        ASSERT_TRUE(controller->WaitZEPTA()) << "frame " << frame;
    }
    EXPECT_EQ(controller->GetState(), Controller::kStateRunning);
}

}  // namespace
