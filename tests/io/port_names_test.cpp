#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "io/serial_port.h"
#include "support/sandbox.h"

namespace {

using ZEPTASDK::IO::GetPortNames;

// Plain files in the sandbox's private /dev, removed again for the device
// tests that follow: the list looks only at names.
class PortNamesTest : public zepta_test::SandboxedTest {
protected:
    void TearDown() override
    {
        for (const std::string& path : created) unlink(path.c_str());
    }
    void Create(const std::string& path)
    {
        close(open(path.c_str(), O_CREAT | O_WRONLY, 0600));
        created.push_back(path);
    }
    std::vector<std::string> created;
};

TEST_F(PortNamesTest, OnlyAcmDevicesAreListedInDirectoryOrder)
{
    EXPECT_TRUE(GetPortNames().empty());
    for (const char* path : {"/dev/ttyACM0", "/dev/ttyUSB0", "/dev/ttyACM1", "/dev/ttyS0", "/dev/xttyACM2"}) Create(path);
    std::vector<std::wstring> listed;
    DIR* dev = opendir("/dev/");
    while (const dirent* entry = readdir(dev)) {
        const std::string name = entry->d_name;
        if (name.rfind("ttyACM", 0) == 0) listed.push_back(L"/dev/" + std::wstring(name.begin(), name.end()));
    }
    closedir(dev);
    EXPECT_THAT(GetPortNames(), ::testing::ElementsAreArray(listed));
    EXPECT_EQ(listed.size(), 2u);

    Create("/dev/ttyACM\xff");
    EXPECT_THROW(GetPortNames(), std::range_error);
}

}  // namespace
