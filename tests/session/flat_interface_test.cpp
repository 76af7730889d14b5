// The C interface's handle rules, against sessions that find no device.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <stdexcept>

#include "session_test_support.h"

namespace {

using namespace zepta_test;

class FlatInterface : public SandboxedTest {
protected:
    void TearDown() override { for (int h = 0; h < 8; ++h) zeptaClose(h); }
};

TEST_F(FlatInterface, HandlesNumberFromZeroAndReuseTheLowestFreeSlot)
{
    EXPECT_EQ(zeptaOpen("APP"), 0);
    EXPECT_EQ(zeptaOpen("APP"), 1);
    EXPECT_EQ(zeptaOpen("APP"), 2);
    EXPECT_EQ(zeptaClose(1), 1);
    EXPECT_EQ(zeptaClose(0), 0);
    EXPECT_EQ(zeptaOpen("APP"), 0);
    EXPECT_EQ(zeptaOpen("APP"), 1);
    EXPECT_EQ(zeptaOpen("APP"), 3);
    // A null text throws; the unopened session keeps its slot (and the app code
    // stored before the null assignment was found); the table stays usable.
    EXPECT_THROW(zeptaOpen(nullptr), std::logic_error);
    EXPECT_THROW(zeptaOpenSerialAssign("NULL", nullptr), std::logic_error);
    EXPECT_STREQ(zeptaGetVersion(4), "5.01");
    EXPECT_STREQ(zeptaGetAppCode(5), "NULL");
    EXPECT_EQ(zeptaOpen("APP"), 6);
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
        // A closed slot inside the table reads 0, a handle outside it -1.
        EXPECT_EQ(zeptaGetStatusEXT4(handle), handle == 1 ? 0 : -1);
    }
}

// The session's modes go through; with no USB port and no LAN device its
// thread then gives up by itself: stopped, not running, state 6.
TEST_F(FlatInterface, SessionWithoutDeviceForwardsAndEndsByItself)
{
    const int h = zeptaOpenSerialAssign("GAME", "SEAT-7");
    zeptaSetOriginMode(h, 5);
    zeptaSetAxisProcessingMode(h, ZEPTA_AXIS_MANUAL);
    zeptaSetSpeedGainMode(h, ZEPTA_SPEED_FROM_MOTION);
    EXPECT_TRUE(zeptaGetOriginMode(h));
    EXPECT_EQ(zeptaGetAxisProcessingMode(h), 0);
    EXPECT_EQ(zeptaGetSpeedGainMode(h), 1);
    ASSERT_TRUE(WaitStopped(h));
    EXPECT_FALSE(zeptaIsRunning(h));
    EXPECT_EQ(zeptaGetState(h), ZEPTA_STATE_INITIAL);
    EXPECT_EQ(zeptaGetDevice(h), ZEPTA_DEVICE_NONE);
    const std::vector<std::string> log = SplitLines(DrainLog());
    EXPECT_EQ(log.front(), "SEAT-7: ZEPTA thread started.");
    EXPECT_EQ(log.back(), "SEAT-7: ZEPTA thread terminated.");
    EXPECT_EQ(zeptaClose(h), h);
}

}  // namespace
