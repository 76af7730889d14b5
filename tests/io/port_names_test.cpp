#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "io/serial_port.h"
#include "support/sandbox.h"

namespace {

using ::testing::ElementsAreArray;
using ZEPTASDK::IO::GetPortNames;

// Creates plain files in the sandbox's private /dev: the enumeration looks
// only at names, never at the devices.
class PortNamesTest : public zepta_test::SandboxedTest {
protected:
    void TearDown() override
    {
        for (const std::string& path : created) unlink(path.c_str());
    }

    void Create(const std::string& path)
    {
        const int fd = open(path.c_str(), O_CREAT | O_WRONLY, 0600);
        ASSERT_GE(fd, 0) << path;
        close(fd);
        created.push_back(path);
    }

    // The ACM entries in the order in which the directory lists them.
    static std::vector<std::wstring> AcmEntriesInDirectoryOrder()
    {
        std::vector<std::wstring> names;
        DIR* dev = opendir("/dev/");
        while (const dirent* entry = readdir(dev)) {
            const std::string name = entry->d_name;
            if (name.rfind("ttyACM", 0) == 0) names.push_back(L"/dev/" + std::wstring(name.begin(), name.end()));
        }
        closedir(dev);
        return names;
    }

    std::vector<std::string> created;
};

TEST_F(PortNamesTest, OnlyAcmDevicesAreListedInDirectoryOrder)
{
    Create("/dev/ttyACM0");
    Create("/dev/ttyUSB0");
    Create("/dev/ttyACM1");
    Create("/dev/ttyS0");
    Create("/dev/xttyACM2");

    const std::vector<std::wstring> names = GetPortNames();

    EXPECT_THAT(names, ::testing::UnorderedElementsAre(L"/dev/ttyACM0", L"/dev/ttyACM1"));
    EXPECT_THAT(names, ElementsAreArray(AcmEntriesInDirectoryOrder()));
}

TEST_F(PortNamesTest, NoAcmDeviceGivesAnEmptyList)
{
    Create("/dev/ttyUSB0");

    EXPECT_TRUE(GetPortNames().empty());
}

TEST_F(PortNamesTest, NameThatIsNotUtf8Throws)
{
    Create("/dev/ttyACM\xff");

    EXPECT_THROW(GetPortNames(), std::range_error);
}

}  // namespace
