// Hexadecimal digits for the fields of the serial motion commands.
#ifndef ZEPTA_IO_HEX_H
#define ZEPTA_IO_HEX_H

#include <string>

#include "zepta/export.h"

namespace ZEPTASDK {
namespace Utility {

// One digit for a nibble of 0 to 15: '0' to '9', then letterBase + 0 to 5.
ZEPTA_API char ToHex(unsigned char nibble, unsigned char letterBase);
// Two digits, high nibble first.
ZEPTA_API std::string ConvertByteToHex(unsigned char value, unsigned char letterBase);
ZEPTA_API std::string ToUpperHex(unsigned char value);
ZEPTA_API std::string ToLowerHex(unsigned char value);
// Three digits for bits 11 to 0; the top nibble is dropped because the
// commands carry 12-bit quantities.
ZEPTA_API std::string ConvertWordToHex(unsigned short value, unsigned char letterBase);

}  // namespace Utility
}  // namespace ZEPTASDK

#endif
