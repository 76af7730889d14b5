#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "io/local_storage.h"
#include "support/sandbox.h"

namespace {

using namespace ZEPTASDK::IO;

// Runs in the sandbox, whose /var/tmp is a private tmpfs.
class LocalStorageTest : public zepta_test::SandboxedTest {
protected:
    static std::string FileBytes(const std::string& name)
    {
        std::ifstream file("/var/tmp/Tessivar/" + name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
};

TEST_F(LocalStorageTest, FilesAreReplacedWholeInAFixedDirectoryOfMode0755)
{
    EXPECT_EQ(GetUser() + L" " + GetTemporaryPath() + L" " + GetLocalStorage(), L"KORVE /var/tmp/ /var/tmp/Tessivar/");
    EXPECT_EQ(ReadLocalStorage(L"port.txt"), std::make_pair(false, std::wstring()));
    const mode_t oldMask = umask(0);
    WriteLocalStorage(L"port.txt", L"/dev/ttyACM10");
    umask(oldMask);
    WriteLocalStorage(L"port.txt", L"/dev/ttyACM1");
    EXPECT_EQ(FileBytes("port.txt"), "/dev/ttyACM1");
    EXPECT_EQ(ReadLocalStorage(L"port.txt"), std::make_pair(true, std::wstring(L"/dev/ttyACM1")));
    struct stat st {};
    ASSERT_EQ(stat("/var/tmp/Tessivar", &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0755u);
    WriteLocalStorage(L"empty.txt", L"");
    EXPECT_EQ(ReadLocalStorage(L"empty.txt"), std::make_pair(true, std::wstring()));
}

// Written as UTF-8, read back byte by byte as signed chars.
TEST_F(LocalStorageTest, NonAsciiComesBackAsSignExtendedBytes)
{
    WriteLocalStorage(L"accent.txt", L"a\u00E9\n");
    EXPECT_EQ(FileBytes("accent.txt"), "a\xC3\xA9\n");
    EXPECT_EQ(ReadLocalStorage(L"accent.txt").second, std::wstring({L'a', wchar_t(0xFFFFFFC3), wchar_t(0xFFFFFFA9), L'\n'}));

    EXPECT_THROW(WriteLocalStorage(L"accent.txt", std::wstring(1, wchar_t(0xD800))), std::range_error);
    EXPECT_EQ(FileBytes("accent.txt"), "a\xC3\xA9\n");
}

}  // namespace
