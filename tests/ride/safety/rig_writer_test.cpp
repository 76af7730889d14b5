#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "zepta/ride/rig_writer.hpp"

namespace zepta_ride {
namespace {

// Every byte but the pose and graMR is the library's neutral packet.
TEST(RigWriter, DefaultsGiveTheNeutralPacketWithThePose)
{
    _korve_data_packet packet, expected = ZEPTASDK::DefaultZEPTAPacket();
    std::memset(&packet, 0x5a, sizeof packet);
    RigWriter(DefaultProfile().output).Fill({0.1, -0.2, 0.3, -0.4, 0.5, -0.6}, packet);
    expected.roll = 0.1f;
    expected.pitch = -0.2f;
    expected.yaw = 0.3f;
    expected.heave = -0.4f;
    expected.sway = 0.5f;
    expected.surge = -0.6f;
    expected.graMR = 1.0f;
    EXPECT_EQ(std::memcmp(&packet, &expected, sizeof packet), 0);
    EXPECT_EQ(packet.speedAxis6, 0.667f);
    EXPECT_EQ(packet.accelAxis, 0.5f);
    EXPECT_EQ(packet.rotMR, 1.0f);
}

TEST(RigWriter, GainInvertAndBoundsPerChannel)
{
    OutputProfile profile = DefaultProfile().output;
    profile.pitch.invert = true;
    profile.yaw.gain = 0.5;
    profile.heave.gain = 2.0;
    profile.sway = {1.5, true};
    profile.speed = 0.25;
    profile.accel = 0.75;
    _korve_data_packet packet;
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    RigWriter(profile).Fill({nan, 0.25, -0.5, 0.75, 0.5, inf}, packet);
    EXPECT_EQ(packet.roll, 0.0f);
    EXPECT_EQ(packet.pitch, -0.25f);
    EXPECT_EQ(packet.yaw, -0.25f);
    EXPECT_EQ(packet.heave, 1.0f);
    EXPECT_EQ(packet.sway, -0.75f);
    EXPECT_EQ(packet.surge, 0.0f);
    EXPECT_EQ(packet.speedAxis1, 0.25f);
    EXPECT_EQ(packet.speedAxis4, 0.25f);
    EXPECT_EQ(packet.accelAxis, 0.75f);
    profile.accel = 1.5;
    EXPECT_THROW(RigWriter{profile}, ProfileError);
}

}  // namespace
}  // namespace zepta_ride
