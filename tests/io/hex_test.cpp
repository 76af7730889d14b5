#include <gtest/gtest.h>

#include "io/hex.h"

namespace {

using namespace ZEPTASDK::Utility;

// The upper-case digits are exercised by the motion commands.
TEST(HexTest, DigitsThenTheLetterBaseHighNibbleFirst)
{
    EXPECT_EQ(ToLowerHex(0xA0) + ToLowerHex(0x3c) + ConvertByteToHex(0x9B, 'A') + ToHex(12, 'G'), "a03c9BI");
    EXPECT_EQ(ConvertWordToHex(0x1ABC, 'A') + ConvertWordToHex(0x00E0, 'a'), "ABC0e0");
}

}  // namespace
