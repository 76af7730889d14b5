#include <sys/stat.h>

#include <cstdio>
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

TEST_F(LocalStorageTest, PathsAreFixed)
{
    EXPECT_EQ(GetUser(), L"KORVE");
    EXPECT_EQ(GetTemporaryPath(), L"/var/tmp/");
    EXPECT_EQ(GetLocalStorage(), L"/var/tmp/Tessivar/");
}

TEST_F(LocalStorageTest, AsciiRoundTripsExactlyAndReplacesTheWholeFile)
{
    WriteLocalStorage(L"korve_default_comport.txt", L"/dev/ttyACM10");
    WriteLocalStorage(L"korve_default_comport.txt", L"/dev/ttyACM1");

    EXPECT_EQ(FileBytes("korve_default_comport.txt"), "/dev/ttyACM1");
    const auto read = ReadLocalStorage(L"korve_default_comport.txt");
    EXPECT_TRUE(read.first);
    EXPECT_EQ(read.second, L"/dev/ttyACM1");
}

TEST_F(LocalStorageTest, StoreDirectoryIsCreatedWithMode0755)
{
    std::remove("/var/tmp/Tessivar/mode.txt");
    rmdir("/var/tmp/Tessivar");

    const mode_t oldMask = umask(0);
    WriteLocalStorage(L"mode.txt", L"x");
    umask(oldMask);

    struct stat st {};
    ASSERT_EQ(stat("/var/tmp/Tessivar", &st), 0);
    EXPECT_TRUE(S_ISDIR(st.st_mode));
    EXPECT_EQ(st.st_mode & 07777, 0755u);
    EXPECT_EQ(ReadLocalStorage(L"mode.txt").second, L"x");
}

// Written as UTF-8, read back byte by byte as signed chars.
TEST_F(LocalStorageTest, NonAsciiComesBackAsSignExtendedBytes)
{
    WriteLocalStorage(L"accent.txt", L"a\u00E9\n");

    EXPECT_EQ(FileBytes("accent.txt"), "a\xC3\xA9\n");
    const auto read = ReadLocalStorage(L"accent.txt");
    ASSERT_TRUE(read.first);
    const std::wstring expected = {L'a', static_cast<wchar_t>(static_cast<signed char>(0xC3)),
                                   static_cast<wchar_t>(static_cast<signed char>(0xA9)), L'\n'};
    EXPECT_EQ(read.second, expected);
    EXPECT_EQ(static_cast<unsigned>(read.second[1]), 0xFFFFFFC3u);
}

TEST_F(LocalStorageTest, MissingAndEmptyFilesAreTold)
{
    const auto missing = ReadLocalStorage(L"never-written.txt");
    EXPECT_FALSE(missing.first);
    EXPECT_EQ(missing.second, L"");

    WriteLocalStorage(L"empty.txt", L"");
    const auto empty = ReadLocalStorage(L"empty.txt");
    EXPECT_TRUE(empty.first);
    EXPECT_EQ(empty.second, L"");
}

TEST_F(LocalStorageTest, UnencodableContentThrowsAndLeavesTheFileAlone)
{
    WriteLocalStorage(L"keep.txt", L"old");

    EXPECT_THROW(WriteLocalStorage(L"keep.txt", std::wstring(1, static_cast<wchar_t>(0xD800))), std::range_error);
    EXPECT_EQ(ReadLocalStorage(L"keep.txt").second, L"old");
}

}  // namespace
