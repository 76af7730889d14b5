#include <gtest/gtest.h>

#include <fcntl.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "lan/controller_lan.h"
#include "lan/udp_socket.h"
#include "lan_test_support.h"
#include "support/sandbox.h"
#include "zepta/ZEPTA.hpp"

namespace {

using ZEPTASDK::ControllerLAN;
using zepta_lan_test::DeviceAt;
using zepta_lan_test::DeviceReplying;
using zepta_lan_test::DrainLog;
using zepta_lan_test::WaitUntil;
using zepta_tools::LanDeviceEmulator;

const char kStarted[] = "LAN mode started.\n";
const char kStopped[] = "LAN mode stopped.\n";
constexpr int kDiscoveryRounds = 3;

class LanDiscovery : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        DrainLog();
    }

    LanDeviceEmulator& AddDevice(zepta_tools::LanDeviceOptions options)
    {
        devices.push_back(std::make_unique<LanDeviceEmulator>(std::move(options)));
        return *devices.back();
    }

    // Every device has seen all pings of a discovery that found nothing.
    bool AllPinged(int pings) const
    {
        return WaitUntil([&] {
            for (const auto& device : devices) {
                if (device->PingCount() < pings) return false;
            }
            return true;
        });
    }

    std::vector<std::unique_ptr<LanDeviceEmulator>> devices;
};

void ExpectNoDevice(const ControllerLAN& lan)
{
    EXPECT_EQ(lan.GetState(), ControllerLAN::kStateNoDevice);
    EXPECT_FALSE(lan.HasSocket());
    EXPECT_EQ(lan.GetDeviceType(), 0u);
    EXPECT_EQ(lan.GetSerialNumber(), "");
}

// A datagram sent by the controller now reaches exactly this device.
bool UpdatesReach(ControllerLAN& lan, const LanDeviceEmulator& device)
{
    lan.SendUpdate(ZEPTASDK::DefaultZEPTAPacket(), ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_BASE, false);
    return device.WaitForCount(1, zepta_lan_test::kPatience);
}

struct ModelRow {
    const char* model;
    unsigned deviceType;
    const char* foundText;
};

class EveryModel : public LanDiscovery, public ::testing::WithParamInterface<ModelRow> {};

TEST_P(EveryModel, IsSelectedWithItsTypeAndLogLine)
{
    AddDevice(DeviceAt(2, GetParam().model, "SN0042"));
    ControllerLAN lan("app", "");
    EXPECT_TRUE(lan.HasSocket());
    EXPECT_EQ(lan.GetState(), ControllerLAN::kStateInitial);
    EXPECT_EQ(lan.GetDeviceType(), GetParam().deviceType);
    EXPECT_EQ(lan.GetSerialNumber(), "SN0042");
    EXPECT_EQ(DrainLog(), std::string(kStarted) + GetParam().foundText + "SN0042\n");
}

INSTANTIATE_TEST_SUITE_P(
    LanModelTable, EveryModel,
    ::testing::Values(ModelRow{"KORVE2DOF", 1, "LAN device found: "}, ModelRow{"KORVE4DOF", 2, "LAN device found: "},
                      ModelRow{"KORVE6DOF", 3, "LAN device found: "},
                      ModelRow{"KORVEGRANDEQX", 5, "QX200 LAN device found: "},
                      ModelRow{"KORVEGRANDE500QX", 6, "QX500 LAN device found: "},
                      ModelRow{"MOSSPOD", 4, "MOSSPOD device found: "},
                      ModelRow{"KORVEKICKBOARDQX", 101, "LAN OEM KB device found: "},
                      ModelRow{"KORVEGRANDE", 102, "OXB KB device found: "}),
    [](const ::testing::TestParamInfo<ModelRow>& info) { return std::string(info.param.model); });

struct Shape {
    std::string reply;
    std::string serial;
};

class ReplyShape : public LanDiscovery, public ::testing::WithParamInterface<Shape> {};

TEST_P(ReplyShape, GivesModelAndSerial)
{
    AddDevice(DeviceReplying(2, GetParam().reply));
    ControllerLAN lan("app", "");
    EXPECT_EQ(lan.GetDeviceType(), 2u);
    EXPECT_EQ(lan.GetSerialNumber(), GetParam().serial);
}

// Empty pieces are dropped, pieces after the serial ignored, the text ends at
// the first NUL byte, and only the first 128 bytes of a datagram are read.
INSTANTIATE_TEST_SUITE_P(LanReplies, ReplyShape,
                         ::testing::Values(Shape{"KORVE4DOF-S7", "S7"}, Shape{"KORVE4DOF--S7", "S7"},
                                           Shape{"-KORVE4DOF-S7", "S7"}, Shape{"KORVE4DOF-S7-", "S7"},
                                           Shape{"--KORVE4DOF---S7--", "S7"}, Shape{"KORVE4DOF-S7-more-pieces", "S7"},
                                           Shape{std::string("KORVE4DOF-S7\0-more", 18), "S7"},
                                           Shape{"KORVE4DOF-" + std::string(300, '7'), std::string(128 - 10, '7')}));

TEST_F(LanDiscovery, MalformedAndUnknownRepliesSelectNothing)
{
    const std::string replies[] = {
        "KORVE4DOFS7",                        // no hyphen
        "korve4dof-S7",                       // known model, wrong case
        "KORVE4DOF -S7",                      // model with a trailing blank
        "KORVE-S7",                           // a prefix of known models
        "-", "---", "",
    };
    int host = 2;
    for (const std::string& reply : replies) AddDevice(DeviceReplying(host++, reply));
    ControllerLAN lan("app", "");
    ExpectNoDevice(lan);
    EXPECT_TRUE(AllPinged(kDiscoveryRounds));
    EXPECT_EQ(DrainLog(), std::string(kStarted) + kStopped);
}

TEST_F(LanDiscovery, KnownDeviceIsChosenOverUnknownOnesAndReceivesTheUpdates)
{
    LanDeviceEmulator& unknown = AddDevice(DeviceAt(2, "KORVE8DOF", "U1"));
    LanDeviceEmulator& known = AddDevice(DeviceAt(3, "KORVEGRANDE", "K1"));
    ControllerLAN lan("app", "");
    EXPECT_EQ(lan.GetDeviceType(), 102u);
    EXPECT_EQ(lan.GetSerialNumber(), "K1");
    EXPECT_TRUE(UpdatesReach(lan, known));
    EXPECT_TRUE(unknown.Received().empty());
}

TEST_F(LanDiscovery, AssignedSerialSelectsOnlyThatDevice)
{
    AddDevice(DeviceAt(2, "KORVE2DOF", "A1"));
    LanDeviceEmulator& assigned = AddDevice(DeviceAt(3, "KORVE6DOF", "B2"));
    AddDevice(DeviceAt(4, "KORVE4DOF", "B22"));
    ControllerLAN lan("app", "B2");
    EXPECT_EQ(lan.GetDeviceType(), 3u);
    EXPECT_EQ(lan.GetSerialNumber(), "B2");
    EXPECT_EQ(DrainLog(), "B2: LAN mode started.\nB2: LAN device found: B2\nB2: Assigned the device: B2\n");
    EXPECT_TRUE(UpdatesReach(lan, assigned));
}

TEST_F(LanDiscovery, AssignedSerialOfAnUnknownModelOrAbsentSerialSelectsNothing)
{
    AddDevice(DeviceAt(2, "KORVE2DOF", "A1"));
    AddDevice(DeviceAt(3, "korve6dof", "B2"));
    AddDevice(DeviceAt(4, "KORVE4DOF", "B22"));
    AddDevice(DeviceAt(5, "KORVE4DOF", "XB2"));
    ControllerLAN lan("app", "B2");
    ExpectNoDevice(lan);
    EXPECT_EQ(DrainLog(), "B2: LAN mode started.\nB2: LAN mode stopped.\n");
}

TEST_F(LanDiscovery, SilentNetworkGivesUpAfterThreeRounds)
{
    zepta_tools::LanDeviceOptions silent = DeviceAt(2, "KORVE6DOF", "Q1");
    silent.discovery.answer = false;
    const LanDeviceEmulator& listener = AddDevice(silent);
    ControllerLAN lan("app", "");
    ExpectNoDevice(lan);
    EXPECT_TRUE(AllPinged(kDiscoveryRounds));
    EXPECT_EQ(listener.PingCount(), kDiscoveryRounds);
    EXPECT_EQ(DrainLog(), std::string(kStarted) + kStopped);
}

TEST_F(LanDiscovery, TakenLocalPortStopsTheLinkWithoutPinging)
{
    const LanDeviceEmulator& device = AddDevice(DeviceAt(2, "KORVE6DOF", "Q1"));
    ZEPTASDK::UdpSocket holder;
    ASSERT_TRUE(holder.Open());
    ASSERT_TRUE(holder.Bind({0, 33552}));
    ControllerLAN lan("app", "");
    ExpectNoDevice(lan);
    EXPECT_EQ(DrainLog(), std::string(kStarted) + kStopped);
    EXPECT_EQ(device.PingCount(), 0);
}

TEST_F(LanDiscovery, CloseSocketLogsOnceAndEndsTheLink)
{
    LanDeviceEmulator& device = AddDevice(DeviceAt(2, "KORVE6DOF", "Q1"));
    ControllerLAN lan("app", "");
    ASSERT_TRUE(lan.HasSocket());
    DrainLog();
    lan.CloseSocket();
    lan.CloseSocket();
    EXPECT_EQ(DrainLog(), kStopped);
    EXPECT_FALSE(lan.HasSocket());
    EXPECT_EQ(lan.GetState(), ControllerLAN::kStateClosed);
    const _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    EXPECT_FALSE(lan.SendUpdate(packet, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_BASE, false));
    EXPECT_FALSE(lan.SendUpdateQX(packet, ZEPTA_SPEED_DEFAULT, false, false));
    EXPECT_FALSE(device.WaitForCount(1, std::chrono::milliseconds(300)));
    EXPECT_EQ(DrainLog(), "");
}

TEST_F(LanDiscovery, DestructionClosesTheLinkAndFreesThePort)
{
    AddDevice(DeviceAt(2, "KORVE6DOF", "Q1"));
    auto lan = std::make_unique<ControllerLAN>("app", "");
    ASSERT_TRUE(lan->HasSocket());
    DrainLog();
    lan.reset();
    EXPECT_EQ(DrainLog(), kStopped);
    ZEPTASDK::UdpSocket next;
    ASSERT_TRUE(next.Open());
    EXPECT_TRUE(next.Bind({0, 33552}));
}

TEST_F(LanDiscovery, LinkSocketIsCloseOnExec)
{
    AddDevice(DeviceAt(2, "KORVE6DOF", "Q1"));
    ControllerLAN lan("app", "");
    ASSERT_TRUE(lan.HasSocket());
    // The sockets of this process belong to the link and the emulator; none
    // may leak into a program that the application starts.
    int sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error).string().rfind("socket:", 0) != 0) continue;
        ++sockets;
        std::ifstream info("/proc/self/fdinfo/" + entry.path().filename().string());
        std::string key;
        unsigned long flags = 0;
        while (info >> key >> std::oct >> flags && key != "flags:") {
        }
        EXPECT_NE(flags & O_CLOEXEC, 0u) << entry.path();
    }
    EXPECT_GE(sockets, 4);
}

}  // namespace
