#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
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
using zepta_lan_test::DrainLog;
using zepta_lan_test::kPatience;
using zepta_tools::AckScript;
using zepta_tools::LanDeviceEmulator;
using zepta_tools::ReceivedDatagram;

constexpr int kAckBudget = 10;
const char kNotResponding[] = "Device not responding. Please reboot the device.\n";
const char kStopped[] = "LAN mode stopped.\n";
const char kShutDown[] = "Actuator shut down.\n";

AckScript Replies(std::vector<std::string> replies)
{
    AckScript script;
    script.replies = std::move(replies);
    return script;
}

class LanUpdates : public zepta_test::SandboxedTest {
protected:
    // Connects to one emulated device of the given model; the log is drained.
    void Connect(const std::string& model)
    {
        device = std::make_unique<LanDeviceEmulator>(DeviceAt(2, model, "U1"));
        lan = std::make_unique<ControllerLAN>("app", "");
        ASSERT_TRUE(lan->HasSocket());
        DrainLog();
    }

    bool Send() { return lan->SendUpdate(packet, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_BASE, false); }

    // Sends count frames; true when every one reported the link up.
    bool SendAll(int count)
    {
        bool up = true;
        for (int i = 0; i < count; ++i) up = Send() && up;
        return up;
    }

    // Queues datagrams at the controller's socket as if the device had sent
    // them while the controller was not listening. Loopback delivery happens
    // within sendto, so they are queued when this returns.
    void Inject(const std::vector<std::string>& datagrams)
    {
        ZEPTASDK::UdpSocket sender;
        ASSERT_TRUE(sender.Open());
        for (const std::string& text : datagrams) sender.SendTo(text.data(), text.size(), kController);
    }

    const ReceivedDatagram& Only()
    {
        EXPECT_TRUE(device->WaitForCount(1, kPatience));
        received = device->Received();
        EXPECT_EQ(received.size(), 1u);
        if (received.empty()) received.emplace_back();
        return received.front();
    }

    const ZEPTASDK::Ipv4Endpoint kController{0x7F000001, 33552};
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    std::unique_ptr<LanDeviceEmulator> device;
    std::unique_ptr<ControllerLAN> lan;
    LanDeviceEmulator::Datagrams received;
};

TEST_F(LanUpdates, FullObjectIsOneCompactDatagram)
{
    Connect("KORVE6DOF");
    EXPECT_TRUE(lan->SendUpdate(packet, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_MANUAL, false));
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateRunning);
    EXPECT_EQ(Only().bytes,
              "{\"acc\":500,\"ax1\":500,\"ax2\":500,\"ax3\":500,\"ax4\":500,\"ax5\":500,\"ax6\":500,\"axisProc\":0,"
              "\"graMR\":0,\"heave\":0,\"isOrg\":false,\"pitch\":0,\"roll\":0,\"rotMR\":1000,\"spd1\":667,"
              "\"spd2\":667,\"spd3\":667,\"spd4\":667,\"spd5\":667,\"spd6\":667,\"spdGain\":0,\"surge\":0,"
              "\"sway\":0,\"yaw\":0}");
}

struct BinaryCase {
    const char* model;
    std::uint16_t originPosition;
};

class BinaryUpdates : public LanUpdates, public ::testing::WithParamInterface<BinaryCase> {};

TEST_P(BinaryUpdates, RecordWithAndWithoutOrigin)
{
    Connect(GetParam().model);
    packet.speedAxis2 = 0.25f;
    EXPECT_TRUE(lan->SendUpdateQX(packet, ZEPTA_SPEED_FROM_MOTION, false, false));
    EXPECT_TRUE(lan->SendUpdateQX(packet, ZEPTA_SPEED_DEFAULT, false, true));
    ASSERT_TRUE(device->WaitForCount(2, kPatience));
    received = device->Received();
    ASSERT_EQ(received.size(), 2u);
    EXPECT_EQ(received[0].bytes.size(), 28u);
    EXPECT_EQ(received[0].kind, ReceivedDatagram::Kind::Binary);
    EXPECT_EQ(received[0].words, (std::array<std::uint16_t, 14>{14, 5000, 5000, 5000, 5000, 5000, 5000, 10004, 3750,
                                                               10004, 10004, 10004, 10004, 5000}));
    const std::uint16_t p = GetParam().originPosition;
    EXPECT_EQ(received[1].words, (std::array<std::uint16_t, 14>{14, p, p, p, p, p, p, 5000, 5000, 5000, 5000, 5000,
                                                               5000, 800}));
}

INSTANTIATE_TEST_SUITE_P(LanQxTypes, BinaryUpdates,
                         ::testing::Values(BinaryCase{"KORVEGRANDEQX", 300}, BinaryCase{"KORVEGRANDE500QX", 300},
                                           BinaryCase{"KORVEKICKBOARDQX", 5000}),
                         [](const ::testing::TestParamInfo<BinaryCase>& info) { return std::string(info.param.model); });

TEST_F(LanUpdates, StateFollowsTheLastAcknowledgement)
{
    Connect("KORVE2DOF");
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateInitial);
    const std::pair<const char*, int> steps[] = {
        {"CACK", ControllerLAN::kStateCalibrating}, {"ACK", ControllerLAN::kStateRunning},
        {"NACK", ControllerLAN::kStateStopped},     {"CACK", ControllerLAN::kStateCalibrating},
        {"NACK", ControllerLAN::kStateStopped},     {"xxACKxx", ControllerLAN::kStateRunning},
    };
    for (const auto& step : steps) {
        device->SetAckScript(Replies({step.first}));
        EXPECT_TRUE(Send()) << step.first;
        EXPECT_EQ(lan->GetState(), step.second) << step.first;
    }
    EXPECT_EQ(DrainLog(), std::string(kShutDown) + kShutDown);
}

TEST_F(LanUpdates, NackThenAckInOneDrainEndsRunningWithAFullBudget)
{
    Connect("KORVE2DOF");
    device->SetAckScript(Replies({}));
    EXPECT_TRUE(SendAll(5));
    Inject({"NACK", "ACK"});
    EXPECT_TRUE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateRunning);
    EXPECT_EQ(DrainLog(), kShutDown);
    // The "ACK" refilled the budget: nine silent frames more keep the link, the tenth ends it.
    EXPECT_TRUE(SendAll(kAckBudget - 1));
    EXPECT_FALSE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateClosed);
}

TEST_F(LanUpdates, NackDoesNotRefillTheBudgetAndSurvivesTheClose)
{
    Connect("KORVE2DOF");
    device->SetAckScript(Replies({"NACK"}));
    EXPECT_TRUE(SendAll(kAckBudget));
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateStopped);
    DrainLog();
    EXPECT_FALSE(Send());
    EXPECT_FALSE(lan->HasSocket());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateStopped);
    EXPECT_EQ(DrainLog(), std::string(kShutDown) + kNotResponding + kStopped);
}

class WithoutAcknowledgement : public LanUpdates, public ::testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(WithoutAcknowledgement, TenFramesKeepTheLinkAndTheEleventhClosesIt)
{
    Connect("KORVE6DOF");
    device->SetAckScript(Replies(GetParam()));
    EXPECT_TRUE(SendAll(kAckBudget));
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateInitial);
    EXPECT_EQ(DrainLog(), "");
    EXPECT_FALSE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateClosed);
    EXPECT_FALSE(lan->HasSocket());
    EXPECT_EQ(DrainLog(), std::string(kNotResponding) + kStopped);
    ASSERT_TRUE(device->WaitForCount(kAckBudget + 1, kPatience));
    EXPECT_FALSE(Send());
    EXPECT_FALSE(lan->SendUpdateQX(packet, ZEPTA_SPEED_DEFAULT, false, false));
    EXPECT_FALSE(device->WaitForCount(kAckBudget + 2, std::chrono::milliseconds(300)));
}

// Silence, and datagrams that carry no "ACK" at all (upper case, not split).
INSTANTIATE_TEST_SUITE_P(LanSilenceOrNoise, WithoutAcknowledgement,
                         ::testing::Values(std::vector<std::string>{},
                                           std::vector<std::string>{"HELLO", "ack", "AC-K", "", "A"}));

TEST_F(LanUpdates, OnlyTheFirst255BytesOfAnAcknowledgementCount)
{
    Connect("KORVE6DOF");
    device->SetAckScript(Replies({std::string(253, 'x') + "ACK"}));
    EXPECT_TRUE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateInitial);
    device->SetAckScript(Replies({std::string("\0ACK", 4)}));
    EXPECT_TRUE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateInitial);
    device->SetAckScript(Replies({std::string(252, 'x') + "ACK"}));
    EXPECT_TRUE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateRunning);
}

TEST_F(LanUpdates, FloodOfAcknowledgementsIsDrainedWithoutStalling)
{
    Connect("KORVE6DOF");
    AckScript flood = Replies({"CACK"});
    flood.repetitions = 5000;
    device->SetAckScript(flood);
    EXPECT_TRUE(Send());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateCalibrating);
    // Once the device has finished flooding, its next "ACK" decides again.
    device->SetAckScript(Replies({"ACK"}));
    EXPECT_TRUE(zepta_lan_test::WaitUntil([&] { return Send() && lan->GetState() == ControllerLAN::kStateRunning; }));
}

TEST_F(LanUpdates, RefusedShortObjectSendsNothingAndSpendsNoBudget)
{
    Connect("MOSSPOD");
    device->SetAckScript(Replies({}));
    _korve_data_packet bad = packet;
    bad.speedAxis1 = std::numeric_limits<float>::infinity();
    for (int i = 0; i < 2 * kAckBudget; ++i) {
        EXPECT_THROW(lan->SendUpdate(bad, ZEPTA_SPEED_DEFAULT, ZEPTA_AXIS_BASE, false), std::overflow_error);
    }
    EXPECT_TRUE(lan->HasSocket());
    EXPECT_EQ(lan->GetState(), ControllerLAN::kStateInitial);
    EXPECT_TRUE(SendAll(kAckBudget));
    EXPECT_FALSE(Send());
    ASSERT_TRUE(device->WaitForCount(kAckBudget + 1, kPatience));
    for (const ReceivedDatagram& datagram : device->Received()) {
        EXPECT_EQ(datagram.bytes, "{\"axis1\":0.5,\"axis2\":0.5,\"spdGain\":0,\"speed\":0.66699999570846558,\"vib\":0}");
    }
}

}  // namespace
