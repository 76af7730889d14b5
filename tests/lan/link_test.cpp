#include <gtest/gtest.h>

#include <string>

#include "lan/lan_discovery.h"
#include "lan/lan_link_state.h"
#include "session/session_test_support.h"

namespace {

using namespace ZEPTASDK;
using zepta_test::DrainLog;

constexpr int kAckBudget = 10;

std::string Pieces(const std::string& reply)
{
    LanDiscovery::Reply pieces;
    return LanDiscovery::ParseReply(reply, pieces) ? pieces.model + "|" + pieces.serial : "(none)";
}

TEST(LanDiscoveryReply, ModelAndSerialAreTheFirstTwoNonEmptyPieces)
{
    EXPECT_EQ(Pieces("KORVE4DOF-S7"), "KORVE4DOF|S7");
    EXPECT_EQ(Pieces("--KORVE4DOF---S7--"), "KORVE4DOF|S7");
    EXPECT_EQ(Pieces("KORVE4DOF-S7-more-pieces"), "KORVE4DOF|S7");
    for (const char* malformed : {"KORVE4DOFS7", "-KORVE4DOF-", "-", "---", ""}) EXPECT_EQ(Pieces(malformed), "(none)");
    EXPECT_EQ(LanDiscovery::DatagramText("AB\0CD", 5), "AB");
    EXPECT_EQ(LanDiscovery::DatagramText("ABCD", 3), "ABC");
}

TEST(LanDiscoveryReply, OnlyExactModelNamesAreKnown)
{
    EXPECT_NE(LanDiscovery::FindKnownModel("KORVEGRANDE"), nullptr);
    for (const char* unknown : {"korve4dof", "KORVE4DOF ", "KORVE", "KORVE8DOF", ""}) {
        EXPECT_EQ(LanDiscovery::FindKnownModel(unknown), nullptr) << unknown;
    }
}

class LanLinkStateTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DrainLog();
        link.Connected();
    }

    // Spends count silent frames; true when the link survived every one.
    bool Silent(int count)
    {
        bool up = true;
        for (int i = 0; i < count; ++i) up = link.SpendFrame() && up;
        return up;
    }

    LanLinkState link{"T1"};
};

TEST_F(LanLinkStateTest, TheLastAcknowledgementDecidesTheState)
{
    const std::pair<const char*, int> steps[] = {
        {"CACK", ZEPTA_STATE_CALIBRATING}, {"xxACKxx", ZEPTA_STATE_RUNNING}, {"NACK", ZEPTA_STATE_STOPPED},
        {"ack", ZEPTA_STATE_STOPPED},      {"AC-K", ZEPTA_STATE_STOPPED},   {"NACKCACK", ZEPTA_STATE_STOPPED},
        {"CACKACK", ZEPTA_STATE_CALIBRATING},
    };
    for (const auto& step : steps) {
        link.Acknowledge(step.first);
        EXPECT_EQ(link.Get(), step.second) << step.first;
    }
    EXPECT_EQ(DrainLog(), "T1: Actuator shut down.\nT1: Actuator shut down.\n");
}

TEST_F(LanLinkStateTest, TenSilentFramesPassAndTheEleventhTimesOut)
{
    EXPECT_TRUE(Silent(kAckBudget));
    EXPECT_EQ(DrainLog(), "");
    EXPECT_FALSE(link.SpendFrame());
    EXPECT_EQ(DrainLog(), "T1: Device not responding. Please reboot the device.\n");
    EXPECT_TRUE(link.Get() == ZEPTA_STATE_INITIAL && link.IsUp());
}

TEST_F(LanLinkStateTest, AckAndCackRefillTheBudgetButNackDoesNot)
{
    EXPECT_TRUE(Silent(kAckBudget - 1));
    link.Acknowledge("ACK");
    EXPECT_TRUE(Silent(kAckBudget));
    link.Acknowledge("CACK");
    EXPECT_TRUE(Silent(kAckBudget));
    link.Acknowledge("NACK");
    EXPECT_FALSE(link.SpendFrame());
}

TEST_F(LanLinkStateTest, CloseShowsAnUpLinkAsShutDownButKeepsAStop)
{
    const std::pair<const char*, int> cases[] = {
        {"", ZEPTA_STATE_SHUT_DOWN}, {"CACK", ZEPTA_STATE_SHUT_DOWN}, {"ACK", ZEPTA_STATE_SHUT_DOWN},
        {"NACK", ZEPTA_STATE_STOPPED}};
    for (const auto& closing : cases) {
        LanLinkState other("T2");
        other.Acknowledge(closing.first);
        other.Closed();
        EXPECT_EQ(other.Get(), closing.second) << closing.first;
        EXPECT_EQ(other.IsUp(), closing.second == ZEPTA_STATE_STOPPED) << closing.first;
    }
    link.NoDevice();
    link.Closed();
    EXPECT_EQ(link.Get(), ZEPTA_STATE_NO_DEVICE);
}

}  // namespace
