// The library's small local store: one directory under the temporary area
// that survives reboots, with one setting per file, read and written whole.
#ifndef ZEPTA_IO_LOCAL_STORAGE_H
#define ZEPTA_IO_LOCAL_STORAGE_H

#include <string>
#include <utility>

#include "zepta/export.h"

namespace ZEPTASDK {
namespace IO {

// Always L"KORVE": a fixed name, not the login name of the process.
ZEPTA_API std::wstring GetUser();
// L"/var/tmp/"
ZEPTA_API std::wstring GetTemporaryPath();
// L"/var/tmp/Tessivar/"
ZEPTA_API std::wstring GetLocalStorage();

// (true, content) for an existing file, (false, empty) when it cannot be
// opened. Every byte becomes one wide character as a signed char, so the
// result equals what was written only for ASCII text. name is appended to
// the store directory as it is. A file whose size cannot be taken throws
// std::length_error.
ZEPTA_API std::pair<bool, std::wstring> ReadLocalStorage(const std::wstring& name);

// Creates the store directory (two levels, mode 0755) and replaces the file
// by the UTF-8 of content. Failures are silent.
ZEPTA_API void WriteLocalStorage(const std::wstring& name, const std::wstring& content);

}  // namespace IO
}  // namespace ZEPTASDK

#endif
