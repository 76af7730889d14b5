#include "io/hex.h"

namespace ZEPTASDK {
namespace Utility {

namespace {
constexpr unsigned char kDecimalDigits = 10;
constexpr unsigned kNibbleMask = 0xF;
constexpr int kNibbleBits = 4;
constexpr unsigned char kUpperCaseBase = 'A';
constexpr unsigned char kLowerCaseBase = 'a';

char NibbleAt(unsigned value, int nibbleIndex, unsigned char letterBase)
{
    return ToHex(static_cast<unsigned char>((value >> (nibbleIndex * kNibbleBits)) & kNibbleMask), letterBase);
}
}  // namespace

char ToHex(unsigned char nibble, unsigned char letterBase)
{
    if (nibble < kDecimalDigits) return static_cast<char>('0' + nibble);
    return static_cast<char>(letterBase + nibble % kDecimalDigits);
}

std::string ConvertByteToHex(unsigned char value, unsigned char letterBase)
{
    return {NibbleAt(value, 1, letterBase), NibbleAt(value, 0, letterBase)};
}

std::string ToUpperHex(unsigned char value) { return ConvertByteToHex(value, kUpperCaseBase); }

std::string ToLowerHex(unsigned char value) { return ConvertByteToHex(value, kLowerCaseBase); }

std::string ConvertWordToHex(unsigned short value, unsigned char letterBase)
{
    return {NibbleAt(value, 2, letterBase), NibbleAt(value, 1, letterBase), NibbleAt(value, 0, letterBase)};
}

}  // namespace Utility
}  // namespace ZEPTASDK
