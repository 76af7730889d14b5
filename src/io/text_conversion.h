// Conversion between the wide strings of the interface (port names, store
// file names and contents) and the UTF-8 bytes the operating system sees.
#ifndef ZEPTA_IO_TEXT_CONVERSION_H
#define ZEPTA_IO_TEXT_CONVERSION_H

#include <string>

#include "zepta/export.h"

namespace ZEPTASDK {
namespace IO {

// UTF-8 bytes of text, without a byte-order mark. A surrogate or a value
// above 0x10FFFF throws std::range_error("wstring_convert::to_bytes").
ZEPTA_API std::string WideToUtf8(const std::wstring& text);

// Code points of UTF-8 bytes. Bytes that are not well-formed UTF-8 (stray or
// missing continuation bytes, overlong forms, surrogates, values above
// 0x10FFFF) throw std::range_error("wstring_convert::from_bytes").
ZEPTA_API std::wstring Utf8ToWide(const std::string& bytes);

}  // namespace IO
}  // namespace ZEPTASDK

#endif
