#include <gtest/gtest.h>

#include "io/hex.h"

namespace {

using namespace ZEPTASDK::Utility;

TEST(HexTest, NibbleUsesDigitsThenTheLetterBase)
{
    EXPECT_EQ(ToHex(0, 'A'), '0');
    EXPECT_EQ(ToHex(9, 'A'), '9');
    EXPECT_EQ(ToHex(10, 'A'), 'A');
    EXPECT_EQ(ToHex(15, 'A'), 'F');
    EXPECT_EQ(ToHex(15, 'a'), 'f');
    EXPECT_EQ(ToHex(12, 'G'), 'I');
}

TEST(HexTest, ByteIsTwoDigitsHighNibbleFirst)
{
    EXPECT_EQ(ToUpperHex(0x0F), "0F");
    EXPECT_EQ(ToUpperHex(0xF0), "F0");
    EXPECT_EQ(ToUpperHex(0x00), "00");
    EXPECT_EQ(ToUpperHex(0xFF), "FF");
    EXPECT_EQ(ToLowerHex(0xA0), "a0");
    EXPECT_EQ(ToLowerHex(0x3c), "3c");
    EXPECT_EQ(ConvertByteToHex(0x9B, 'A'), "9B");
}

TEST(HexTest, WordKeepsTheLowTwelveBits)
{
    EXPECT_EQ(ConvertWordToHex(0x1ABC, 'A'), "ABC");
    EXPECT_EQ(ConvertWordToHex(0xFFFF, 'A'), "FFF");
    EXPECT_EQ(ConvertWordToHex(0x0000, 'A'), "000");
    EXPECT_EQ(ConvertWordToHex(0x0801, 'a'), "801");
    EXPECT_EQ(ConvertWordToHex(0x00E0, 'a'), "0e0");
}

}  // namespace
