// Whole sessions against LAN peers that misbehave: oversized and malformed
// discovery replies, floods of them and of acknowledgements, and replies from
// a port other than the device's. The session must never crash or hang beyond
// the protocol's time-outs, must keep its memory bounded, and must say what
// happened through its state and its log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "lan_emulator/lan_device_emulator.h"
#include "resident_memory.h"
#include "session/session_test_support.h"

namespace {

using namespace zepta_test;
using zepta_tools::AckScript;
using zepta_tools::LanDeviceEmulator;
using zepta_tools::LanDeviceOptions;
using ::testing::IsSupersetOf;

constexpr int kLinkClosed = 4;
constexpr int kNoController = 6;
constexpr std::size_t kMemoryMargin = 64 * kMegabyte;
constexpr std::chrono::milliseconds kPatience = 20s;
// Each frame waits for acknowledgements and then paces the device.
constexpr int kFrames = 20;

LanDeviceOptions Device(const std::string& model, const std::string& serial)
{
    LanDeviceOptions options;
    options.model = model;
    options.serial = serial;
    options.address = "127.0.0.2";
    return options;
}

class HostileLanPeer : public SessionTest {
protected:
    void Open()
    {
        handle_ = zeptaOpen("TEST");
    }

    // Writes frames until condition holds or the patience runs out.
    bool FramesUntil(const std::function<bool()>& condition)
    {
        const _korve_data_packet packet = NeutralPacket();
        return WaitUntil([&] {
            zeptaWrite(handle_, &packet);
            return condition();
        }, kPatience);
    }
};

TEST_F(HostileLanPeer, OversizedDiscoveryReplyIsCutAndStillNamesTheDevice)
{
    LanDeviceOptions options = Device("UNUSED", "UNUSED");
    options.discovery.reply = "KORVE4DOF-" + std::string(65000, 'S');
    LanDeviceEmulator device(options);
    Open();

    ASSERT_TRUE(WaitConnected(handle_, kPatience)) << DrainLog();
    EXPECT_EQ(zeptaGetDevice(handle_), 2);
    // The reply is cut to 128 bytes; the session hands out at most 63 characters.
    EXPECT_EQ(std::string(zeptaGetSerialNumber(handle_)), std::string(63, 'S'));
}

TEST_F(HostileLanPeer, FloodOfMalformedDiscoveryRepliesFindsNothingInTime)
{
    LanDeviceOptions options = Device("UNUSED", "UNUSED");
    options.discovery.before = {std::string("\x00\xff-\x01", 4), "", "-", "KORVE4DOF", "korve4dof-lower",
                                std::string(9000, '-'), std::string(2000, '\x80')};
    options.discovery.reply = "no hyphen here";
    options.discovery.repetitions = 300;
    LanDeviceEmulator device(options);
    const std::size_t before = ResidentBytes();
    Open();

    ASSERT_TRUE(WaitStopped(handle_, kPatience)) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), kNoController);
    EXPECT_FALSE(zeptaIsRunning(handle_));
    EXPECT_LT(ResidentBytes(), before + kMemoryMargin);
    EXPECT_THAT(SplitLines(DrainLog()), IsSupersetOf({std::string("LAN mode started."), std::string("LAN mode stopped."),
                                                      std::string("ZEPTA thread terminated.")}));
}

TEST_F(HostileLanPeer, FloodOfAcknowledgementsKeepsTheFramesFlowing)
{
    LanDeviceOptions options = Device("KORVE4DOF", "F1");
    options.ack.repetitions = 5000;
    LanDeviceEmulator device(options);
    Open();
    ASSERT_TRUE(WaitConnected(handle_, kPatience)) << DrainLog();
    const std::size_t before = ResidentBytes();

    EXPECT_TRUE(FramesUntil([&] { return device.Received().size() >= kFrames; })) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), 8);
    EXPECT_TRUE(zeptaIsRunning(handle_));
    EXPECT_LT(ResidentBytes(), before + kMemoryMargin);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(zeptaClose(handle_), handle_);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
    handle_ = -1;
}

TEST_F(HostileLanPeer, AcknowledgementsFromAnotherPortStillKeepTheLink)
{
    LanDeviceOptions options = Device("KORVE6DOF", "P1");
    options.ack.fromOtherPort = true;
    LanDeviceEmulator device(options);
    Open();

    ASSERT_TRUE(WaitConnected(handle_, kPatience)) << DrainLog();
    EXPECT_TRUE(FramesUntil([&] { return device.Received().size() >= kFrames; })) << DrainLog();
    EXPECT_EQ(zeptaGetState(handle_), 8);
}

// The device is taken at the address its reply came from; nobody listens
// there, so no update is ever acknowledged and the link closes on its budget.
TEST_F(HostileLanPeer, DiscoveryReplyFromAnotherPortLeadsNowhereAndTheLinkCloses)
{
    LanDeviceOptions options = Device("KORVE6DOF", "P2");
    options.discovery.fromOtherPort = true;
    LanDeviceEmulator device(options);
    Open();

    EXPECT_TRUE(FramesUntil([&] { return zeptaGetState(handle_) == kLinkClosed; })) << DrainLog();
    EXPECT_FALSE(zeptaIsRunning(handle_));
    EXPECT_TRUE(device.Received().empty());
    EXPECT_THAT(SplitLines(DrainLog()),
                IsSupersetOf({std::string("Device not responding. Please reboot the device."),
                              std::string("LAN mode stopped.")}));
}

}  // namespace
