// Whole sessions against LAN peers that flood the session with discovery
// replies or acknowledgements: the session must still end its search in time
// or keep its frames flowing, keep its memory bounded, and close.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lan_emulator/lan_device_emulator.h"
#include "resident_memory.h"
#include "session/session_test_support.h"

namespace {

using namespace zepta_test;
using zepta_tools::LanDeviceEmulator;
using zepta_tools::LanDeviceOptions;
using ::testing::IsSupersetOf;

constexpr std::size_t kMemoryMargin = 64 * kMegabyte;
constexpr int kPings = 3;
constexpr std::size_t kFrames = 20;

class HostileLanPeer : public SessionTest {};

TEST_F(HostileLanPeer, FloodOfMalformedDiscoveryRepliesFindsNothingAfterThreePings)
{
    LanDeviceOptions options;
    options.discovery.before = {std::string("\x00\xff-\x01", 4), "", "-", "KORVE4DOF", "korve4dof-lower",
                                std::string(9000, '-'), std::string(2000, '\x80')};
    options.discovery.reply = "no hyphen here";
    options.discovery.repetitions = 300;
    LanDeviceEmulator device(options);
    const std::size_t before = ResidentBytes();
    handle_ = zeptaOpen("TEST");

    ASSERT_TRUE(WaitStopped(handle_)) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), ZEPTA_STATE_INITIAL);
    EXPECT_FALSE(zeptaIsRunning(handle_));
    EXPECT_LT(ResidentBytes(), before + kMemoryMargin);
    EXPECT_THAT(SplitLines(DrainLog()), IsSupersetOf({std::string("LAN mode started."), std::string("LAN mode stopped."),
                                                      std::string("ZEPTA thread terminated.")}));
    EXPECT_TRUE(WaitUntil([&] { return device.PingCount() >= kPings; }, 10s));
    EXPECT_EQ(device.PingCount(), kPings);
}

TEST_F(HostileLanPeer, FloodOfAcknowledgementsKeepsTheFramesFlowingAndCloseReturns)
{
    LanDeviceOptions options;
    options.ack.repetitions = 5000;
    LanDeviceEmulator device(options);
    handle_ = zeptaOpen("TEST");
    ASSERT_TRUE(WaitConnected(handle_)) << DrainLog();
    const std::size_t before = ResidentBytes();
    const _korve_data_packet packet = NeutralPacket();

    EXPECT_TRUE(WaitUntil([&] {
        zeptaWrite(handle_, &packet);
        return device.Received().size() >= kFrames;
    }, 20s)) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), ZEPTA_STATE_RUNNING);
    EXPECT_LT(ResidentBytes(), before + kMemoryMargin);
    EXPECT_EQ(zeptaClose(handle_), handle_);
    handle_ = -1;
}

}  // namespace
