// The C interface's handle rules, against sessions that find no device.
#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/sandbox.h"
#include "zepta/zepta.h"

namespace {

using Clock = std::chrono::steady_clock;

class FlatInterface : public zepta_test::SandboxedTest {
protected:
    void TearDown() override
    {
        for (int h = 0; h < 16; ++h) zeptaClose(h);
    }
};

TEST_F(FlatInterface, HandlesAreNumberedFromZeroAndTheLowestFreeSlotIsReused)
{
    EXPECT_EQ(zeptaOpen("APP"), 0);
    EXPECT_EQ(zeptaOpen("APP"), 1);
    EXPECT_EQ(zeptaOpen("APP"), 2);
    EXPECT_EQ(zeptaClose(1), 1);
    EXPECT_EQ(zeptaClose(0), 0);
    EXPECT_EQ(zeptaOpen("APP"), 0);
    EXPECT_EQ(zeptaOpen("APP"), 1);
    EXPECT_EQ(zeptaOpen("APP"), 3);
    EXPECT_EQ(zeptaClose(3), 3);
    EXPECT_EQ(zeptaClose(3), -1);
}

TEST_F(FlatInterface, BadHandlesGiveTheirNeutralValues)
{
    ASSERT_EQ(zeptaOpen("APP"), 0);
    ASSERT_EQ(zeptaOpen("APP"), 1);
    ASSERT_EQ(zeptaClose(1), 1);
    _korve_data_packet packet{};
    for (int handle : {-1, 1, 57}) {
        SCOPED_TRACE(handle);
        EXPECT_EQ(zeptaClose(handle), -1);
        EXPECT_EQ(zeptaWrite(handle, &packet), -1);
        EXPECT_FALSE(zeptaGetOriginMode(handle));
        EXPECT_EQ(zeptaGetAxisProcessingMode(handle), 0);
        EXPECT_EQ(zeptaGetSpeedGainMode(handle), 0);
        EXPECT_EQ(zeptaGetAppCode(handle), nullptr);
        EXPECT_EQ(zeptaGetSerialNumber(handle), nullptr);
        EXPECT_EQ(zeptaGetState(handle), -1);
        EXPECT_EQ(zeptaGetSystemStatus(handle), -1);
        EXPECT_EQ(zeptaGetDevice(handle), -1);
        EXPECT_STREQ(zeptaGetVersion(handle), "");
        EXPECT_FALSE(zeptaIsRunning(handle));
        zeptaSetOriginMode(handle, 1);
        zeptaSetAxisProcessingMode(handle, 2);
        zeptaSetSpeedGainMode(handle, 2);
    }
    // A closed slot inside the table reads 0, a handle outside it -1.
    EXPECT_EQ(zeptaGetStatusEXT4(1), 0);
    EXPECT_EQ(zeptaGetStatusEXT4(-1), -1);
    EXPECT_EQ(zeptaGetStatusEXT4(57), -1);
}

TEST_F(FlatInterface, OpenSessionForwardsToItsSession)
{
    int h = zeptaOpenSerialAssign("GAME", "SEAT-7");
    ASSERT_EQ(h, 0);
    EXPECT_STREQ(zeptaGetVersion(h), "5.01");
    EXPECT_STREQ(zeptaGetAppCode(h), "GAME");
    EXPECT_STREQ(zeptaGetSerialNumber(h), "");
    EXPECT_EQ(zeptaGetStatusEXT4(h), 0);
    zeptaSetOriginMode(h, 5);
    EXPECT_TRUE(zeptaGetOriginMode(h));
    zeptaSetAxisProcessingMode(h, ZEPTA_AXIS_MANUAL);
    EXPECT_EQ(zeptaGetAxisProcessingMode(h), 0);
    zeptaSetSpeedGainMode(h, ZEPTA_SPEED_FROM_MOTION);
    EXPECT_EQ(zeptaGetSpeedGainMode(h), 1);
    _korve_data_packet packet{};
    EXPECT_EQ(zeptaWrite(h, &packet), 0);
}

// With no USB port and no LAN device the thread gives up by itself: the
// session then reads state 6, stopped, not running.
TEST_F(FlatInterface, SessionWithoutDeviceEndsItsThreadByItself)
{
    int h = zeptaOpen("APP");
    ASSERT_GE(h, 0);
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    while (zeptaGetSystemStatus(h) == 1 && Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(zeptaGetSystemStatus(h), 0);
    EXPECT_FALSE(zeptaIsRunning(h));
    EXPECT_EQ(zeptaGetState(h), 6);
    EXPECT_EQ(zeptaGetDevice(h), 0);
    EXPECT_EQ(zeptaClose(h), h);
}

TEST_F(FlatInterface, NullTextThrowsAndLeavesTheTableUsable)
{
    EXPECT_THROW(zeptaOpen(nullptr), std::logic_error);
    EXPECT_THROW(zeptaOpenSerialAssign("APP", nullptr), std::logic_error);
    // Both unopened sessions keep their slots until closed, and the table lock
    // was released: opening again works at once.
    EXPECT_EQ(zeptaGetVersion(0), std::string("5.01"));
    EXPECT_STREQ(zeptaGetAppCode(1), "APP");
    EXPECT_EQ(zeptaOpen("APP"), 2);
    EXPECT_EQ(zeptaClose(0), 0);
    EXPECT_EQ(zeptaClose(1), 1);
}

TEST_F(FlatInterface, ManyOpenCloseCyclesLeaveNothingBehind)
{
    for (int i = 0; i < 20; ++i) {
        int h = zeptaOpen("APP");
        ASSERT_EQ(h, 0);
        if (i % 2 == 0) {
            _korve_data_packet packet{};
            zeptaWrite(h, &packet);
        }
        ASSERT_EQ(zeptaClose(h), 0);
        ASSERT_EQ(zeptaClose(h), -1);
    }
}

}  // namespace
