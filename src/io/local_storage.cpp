#include "io/local_storage.h"

#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "io/text_conversion.h"

namespace ZEPTASDK {
namespace IO {

namespace {
const std::wstring kUser = L"KORVE";
const std::wstring kTemporaryPath = L"/var/tmp/";
const std::wstring kStorageDirectory = L"Tessivar/";
constexpr mode_t kDirectoryMode = 0755;
const char kUnreadableSize[] = "cannot create std::vector larger than max_size()";

std::string StoragePathOf(const std::wstring& name)
{
    return WideToUtf8(GetLocalStorage()) + WideToUtf8(name);
}

// The size as a signed 32-bit count, as the store's files are small settings.
std::int32_t SizeOf(std::ifstream& file)
{
    file.seekg(0, std::ios::end);
    const auto size = static_cast<std::int32_t>(static_cast<std::streamoff>(file.tellg()));
    file.seekg(0, std::ios::beg);
    if (size < 0) throw std::length_error(kUnreadableSize);
    return size;
}

// Each byte on its own, sign-extended: no UTF-8 decoding takes place.
std::wstring WidenBytes(const std::vector<char>& bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    for (char byte : bytes) text.push_back(static_cast<wchar_t>(static_cast<signed char>(byte)));
    return text;
}
}  // namespace

std::wstring GetUser() { return kUser; }

std::wstring GetTemporaryPath() { return kTemporaryPath; }

std::wstring GetLocalStorage() { return GetTemporaryPath() + kStorageDirectory; }

std::pair<bool, std::wstring> ReadLocalStorage(const std::wstring& name)
{
    std::ifstream file(StoragePathOf(name), std::ios::in | std::ios::binary);
    if (!file.is_open()) return {false, std::wstring()};
    std::vector<char> bytes(static_cast<std::size_t>(SizeOf(file)), 0);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return {true, WidenBytes(bytes)};
}

void WriteLocalStorage(const std::wstring& name, const std::wstring& content)
{
    mkdir(WideToUtf8(GetTemporaryPath()).c_str(), kDirectoryMode);
    mkdir(WideToUtf8(GetLocalStorage()).c_str(), kDirectoryMode);
    const std::string bytes = WideToUtf8(content);
    std::ofstream file(StoragePathOf(name), std::ios::out | std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace IO
}  // namespace ZEPTASDK
