#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "zepta/ZEPTA.hpp"

namespace {

std::uint32_t Bits(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(DefaultPacket, HoldsTheNeutralDefaultsBitForBit)
{
    const _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    float floats[24];
    std::memcpy(floats, &packet, sizeof floats);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(floats[i], 0.5f) << i;
    for (int i = 6; i < 12; ++i) EXPECT_EQ(Bits(floats[i]), 0x3F2AC083u) << i;
    EXPECT_EQ(floats[12], 0.5f);
    for (int i = 13; i < 22; ++i) EXPECT_EQ(Bits(floats[i]), 0u) << i;
    EXPECT_EQ(floats[22], 1.0f);
    EXPECT_EQ(Bits(floats[23]), 0u);
    EXPECT_EQ(packet.commandCount, 0);
    for (char c : packet.commandBuffer) ASSERT_EQ(c, 0);
}

}  // namespace
