#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>
#include <string>

#include "common/pseudo_terminal.h"
#include "io/serial_port.h"
#include "support/sandbox.h"
#include "zepta/Debug.hpp"

namespace {

using ZEPTASDK::IO::SerialPort;
using zepta_tools::PseudoTerminal;

// The path is not a ttyACM name, so that these tests never meet the device
// search of other tests, and it names the process, so that test cases run in
// parallel never replace each other's terminal.
const std::string kPath = "/dev/zepta-serial-test-" + std::to_string(getpid());
const std::wstring kWidePath(kPath.begin(), kPath.end());

class SerialPortTest : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        pty = std::make_unique<PseudoTerminal>(kPath);
    }

    void DeviceSends(const std::string& bytes)
    {
        ASSERT_EQ(write(pty->MasterFd(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    // What the library wrote, as far as it arrives within a generous deadline.
    std::string DeviceReceives(std::size_t expected)
    {
        std::string bytes;
        pollfd fd{pty->MasterFd(), POLLIN, 0};
        while (bytes.size() < expected && poll(&fd, 1, 5000) > 0) {
            char buffer[256];
            const ssize_t count = read(pty->MasterFd(), buffer, sizeof buffer);
            if (count <= 0) break;
            bytes.append(buffer, static_cast<std::size_t>(count));
        }
        return bytes;
    }

    termios LineSettings() const
    {
        const int fd = open(pty->SlavePath().c_str(), O_RDWR | O_NOCTTY);
        termios t{};
        tcgetattr(fd, &t);
        close(fd);
        return t;
    }

    std::unique_ptr<PseudoTerminal> pty;
};

TEST_F(SerialPortTest, OpeningConfiguresTheLineAndClearsWithASemicolon)
{
    SerialPort port(kWidePath, false);

    ASSERT_TRUE(port.IsEnable());
    EXPECT_EQ(DeviceReceives(1), ";");
    const termios t = LineSettings();
    EXPECT_EQ(t.c_cc[VTIME], 5);
    EXPECT_EQ(t.c_cc[VMIN], 0);
    EXPECT_EQ(cfgetispeed(&t), static_cast<speed_t>(B115200));
    EXPECT_EQ(cfgetospeed(&t), static_cast<speed_t>(B115200));
    EXPECT_EQ(t.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS | CREAD | CLOCAL), static_cast<tcflag_t>(CS8 | CREAD | CLOCAL));
    EXPECT_EQ(t.c_lflag & (ISIG | ICANON | ECHO | ECHONL | IEXTEN), 0u);
    EXPECT_EQ(t.c_iflag & (IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON), 0u);
    EXPECT_EQ(t.c_oflag & OPOST, 0u);
}

TEST_F(SerialPortTest, TimeoutIsTenthsOfASecondInOneByte)
{
    SerialPort port(kWidePath, false);

    EXPECT_EQ(port.SetTimeout(50), 0);
    EXPECT_EQ(LineSettings().c_cc[VTIME], 0);
    port.SetTimeout(30000);
    EXPECT_EQ(LineSettings().c_cc[VTIME], 44);
    port.SetTimeout(300);
    EXPECT_EQ(LineSettings().c_cc[VTIME], 3);
    port.SetTimeout(199);
    EXPECT_EQ(LineSettings().c_cc[VTIME], 1);
}

TEST_F(SerialPortTest, LinesLoseOneCarriageReturnAndTheLineFeed)
{
    SerialPort port(kWidePath, false);
    const std::string binary("\x00\xff\x11\x13\x03\x7f", 6);
    DeviceSends("ABC\r\nDEF\n\r\nG\r\r\n" + binary + "\n");

    EXPECT_EQ(port.Read(), "ABC");
    EXPECT_EQ(port.Read(), "DEF");
    EXPECT_EQ(port.Read(), "");
    EXPECT_EQ(port.Read(), "G\r");
    EXPECT_EQ(port.Read(), binary);
}

TEST_F(SerialPortTest, SilenceGivesTimeOutAndDropsAPartialLine)
{
    SerialPort port(kWidePath, false);
    port.SetTimeout(100);

    EXPECT_EQ(port.Read(), "TimeOut");
    DeviceSends("KORVE-REA");
    EXPECT_EQ(port.Read(), "TimeOut");
    DeviceSends("DY\r\n");
    EXPECT_EQ(port.Read(), "DY");
}

TEST_F(SerialPortTest, EndlessLineIsCutAtTheCap)
{
    SerialPort port(kWidePath, false);
    port.SetTimeout(100);
    DeviceSends(std::string(SerialPort::kMaxLineLength + 10, 'x'));

    EXPECT_EQ(port.Read(), std::string(SerialPort::kMaxLineLength, 'x'));
    EXPECT_EQ(port.Read(), "TimeOut");
}

TEST_F(SerialPortTest, LineEndingExactlyAtTheCapIsAWholeLine)
{
    SerialPort port(kWidePath, false);
    DeviceSends(std::string(SerialPort::kMaxLineLength - 1, 'y') + "\n");

    EXPECT_EQ(port.Read(), std::string(SerialPort::kMaxLineLength - 1, 'y'));
}

TEST_F(SerialPortTest, ClearBufferDropsPendingInput)
{
    SerialPort port(kWidePath, false);
    port.SetTimeout(100);
    DeviceReceives(1);
    DeviceSends("STALE\r\n");

    port.ClearBuffer();

    EXPECT_EQ(DeviceReceives(1), ";");
    EXPECT_EQ(port.Read(), "TimeOut");
}

TEST_F(SerialPortTest, PathIsExclusiveWithinTheProcessUntilReleased)
{
    auto first = std::make_unique<SerialPort>(kWidePath, true);
    ASSERT_TRUE(first->IsEnable());
    char drained[4096];
    while (ZEPTASDK::Debug::GetBackLogData(drained, sizeof drained) > 0) {
    }

    SerialPort second(kWidePath, true);
    EXPECT_FALSE(second.IsEnable());
    EXPECT_EQ(ZEPTASDK::Debug::GetBackLogDataAvailable(), 0);

    first.reset();
    SerialPort third(kWidePath, true);
    EXPECT_TRUE(third.IsEnable());
}

// Sessions build their ports on their own threads.
TEST_F(SerialPortTest, ConcurrentOpensOfOnePathGiveOneOwner)
{
    constexpr int kThreads = 8;
    std::vector<std::unique_ptr<SerialPort>> ports(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&ports, i] { ports[static_cast<std::size_t>(i)] = std::make_unique<SerialPort>(kWidePath, false); });
    }
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(std::count_if(ports.begin(), ports.end(), [](const auto& port) { return port->IsEnable(); }), 1);
}

TEST_F(SerialPortTest, RefusedPortFailsQuietlyAndDoesNotReleaseTheHolder)
{
    SerialPort holder(kWidePath, false);
    {
        SerialPort refused(kWidePath, false);
        EXPECT_EQ(refused.Write("d;"), -1);
        EXPECT_EQ(refused.Read(), "TimeOut");
        EXPECT_EQ(refused.SetTimeout(500), -1);
    }

    SerialPort again(kWidePath, false);
    EXPECT_FALSE(again.IsEnable());
}

TEST_F(SerialPortTest, UnopenablePathIsLoggedOnlyWhenAsked)
{
    char drained[4096];
    while (ZEPTASDK::Debug::GetBackLogData(drained, sizeof drained) > 0) {
    }

    SerialPort quiet(L"/dev/zepta-no-such-port", false);
    EXPECT_FALSE(quiet.IsEnable());
    EXPECT_EQ(ZEPTASDK::Debug::GetBackLogDataAvailable(), 0);

    SerialPort loud(L"/dev/zepta-no-such-port", true);
    EXPECT_FALSE(loud.IsEnable());
    const int count = ZEPTASDK::Debug::GetBackLogData(drained, sizeof drained);
    EXPECT_EQ(std::string(drained, static_cast<std::size_t>(count)),
              "[/dev/zepta-no-such-port] is already in use or access is not permitted.\n");

    // A failed open reserves nothing: the path can be opened once it exists.
    PseudoTerminal late("/dev/zepta-no-such-port");
    SerialPort opened(L"/dev/zepta-no-such-port", false);
    EXPECT_TRUE(opened.IsEnable());
}

TEST_F(SerialPortTest, VanishedDeviceReadsAsTimeOut)
{
    SerialPort port(kWidePath, false);
    pty.reset();

    EXPECT_EQ(port.Read(), "TimeOut");
    EXPECT_LT(port.Write("n;"), 0);
}

}  // namespace
