#include <gtest/gtest.h>

#include "io/hex.h"

namespace {

using namespace ZEPTASDK::Utility;

TEST(HexTest, DigitsThenTheLetterBaseHighNibbleFirst)
{
    EXPECT_EQ(std::string({ToHex(0, 'A'), ToHex(9, 'A'), ToHex(10, 'A'), ToHex(15, 'a'), ToHex(12, 'G')}), "09AfI");
    EXPECT_EQ(ToUpperHex(0x0F) + ToUpperHex(0xF0) + ToUpperHex(0x00) + ToUpperHex(0xFF), "0FF000FF");
    EXPECT_EQ(ToLowerHex(0xA0) + ToLowerHex(0x3c) + ConvertByteToHex(0x9B, 'A'), "a03c9B");
    // Three digits: the commands carry 12-bit quantities.
    EXPECT_EQ(ConvertWordToHex(0x1ABC, 'A') + ConvertWordToHex(0xFFFF, 'A') + ConvertWordToHex(0x0000, 'A'), "ABCFFF000");
    EXPECT_EQ(ConvertWordToHex(0x0801, 'a') + ConvertWordToHex(0x00E0, 'a'), "8010e0");
}

}  // namespace
