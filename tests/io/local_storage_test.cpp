#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "io/local_storage.h"
#include "support/sandbox.h"

namespace {

using namespace ZEPTASDK::IO;

std::string FileBytes(const std::string& name)
{
    std::ifstream file("/var/tmp/Tessivar/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Runs in the sandbox, whose /var/tmp is a private tmpfs. Files are replaced
// whole; non-ASCII is written as UTF-8 and read back byte by byte as signed chars.
class LocalStorageTest : public zepta_test::SandboxedTest {};

TEST_F(LocalStorageTest, FilesAreReplacedWholeInAFixedDirectoryOfMode0755)
{
    EXPECT_EQ(GetUser() + L" " + GetTemporaryPath() + L" " + GetLocalStorage(), L"KORVE /var/tmp/ /var/tmp/Tessivar/");
    EXPECT_EQ(ReadLocalStorage(L"port.txt"), std::make_pair(false, std::wstring()));
    const mode_t oldMask = umask(0);
    WriteLocalStorage(L"port.txt", L"/dev/ttyACM10");
    umask(oldMask);
    struct stat st {};
    EXPECT_EQ(stat("/var/tmp/Tessivar", &st) == 0 ? st.st_mode & 07777 : 0u, 0755u);
    WriteLocalStorage(L"port.txt", L"a\u00E9\n");
    EXPECT_EQ(FileBytes("port.txt"), "a\xC3\xA9\n");
    EXPECT_EQ(ReadLocalStorage(L"port.txt"), std::make_pair(true, std::wstring({L'a', wchar_t(0xFFFFFFC3), wchar_t(0xFFFFFFA9), L'\n'})));
    EXPECT_THROW(WriteLocalStorage(L"port.txt", std::wstring(1, wchar_t(0xD800))), std::range_error);
    EXPECT_EQ(FileBytes("port.txt"), "a\xC3\xA9\n");
    WriteLocalStorage(L"port.txt", L"");
    EXPECT_EQ(ReadLocalStorage(L"port.txt"), std::make_pair(true, std::wstring()));
}

}  // namespace
