// The serial port over a real pseudo-terminal: line settings, line framing,
// time-outs and the process-wide ownership of a path.
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "common/pseudo_terminal.h"
#include "io/serial_port.h"
#include "support/sandbox.h"
#include "zepta/Debug.hpp"

namespace {

using ZEPTASDK::IO::SerialPort;

// Not a ttyACM name, so that the device search of other tests never meets
// it, and named after the process, so that parallel cases never share it.
const std::string kPath = "/dev/zepta-serial-test-" + std::to_string(getpid());
const std::wstring kWidePath(kPath.begin(), kPath.end());
const std::string kNoLine = "(no line)";

class SerialPortTest : public zepta_test::SandboxedTest {
protected:
    void SetUp() override
    {
        SandboxedTest::SetUp();
        pty = std::make_unique<zepta_tools::PseudoTerminal>(kPath);
        port = std::make_unique<SerialPort>(kWidePath, false);
    }
    void DeviceSends(const std::string& bytes) { ASSERT_GT(write(pty->MasterFd(), bytes.data(), bytes.size()), 0); }
    std::string Read()
    {
        std::string line = "stale";
        return port->ReadLine(line) ? line : kNoLine + line;
    }
    termios LineSettings() const
    {
        const int fd = open(pty->SlavePath().c_str(), O_RDWR | O_NOCTTY);
        termios t{};
        tcgetattr(fd, &t);
        close(fd);
        return t;
    }

    std::unique_ptr<zepta_tools::PseudoTerminal> pty;
    std::unique_ptr<SerialPort> port;
};

TEST_F(SerialPortTest, LineIsRaw115200With8N1AndATimeoutInTenthsOfOneByte)
{
    termios t = LineSettings();
    EXPECT_EQ(std::make_pair(t.c_cc[VTIME], t.c_cc[VMIN]), std::make_pair(cc_t{5}, cc_t{0}));
    EXPECT_EQ(std::make_pair(cfgetispeed(&t), cfgetospeed(&t)), std::make_pair(speed_t{B115200}, speed_t{B115200}));
    EXPECT_EQ(t.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS | CREAD | CLOCAL), static_cast<tcflag_t>(CS8 | CREAD | CLOCAL));
    EXPECT_EQ(t.c_lflag & (ISIG | ICANON | ECHO | ECHONL | IEXTEN), 0u);
    EXPECT_EQ(t.c_iflag & (IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON), 0u);
    EXPECT_EQ(t.c_oflag & OPOST, 0u);
    for (const auto& c : std::vector<std::pair<int, int>>{{50, 0}, {30000, 44}, {300, 3}, {350, 3}, {199, 1}, {50, 0}}) {
        EXPECT_EQ(port->SetTimeout(c.first), 0);
        EXPECT_EQ(LineSettings().c_cc[VTIME], c.second) << c.first;
    }
}

// Everything arrives in one write, so the port has all of it after one read.
TEST_F(SerialPortTest, LinesInOneWriteLoseTheirFirstCarriageReturnAndLineFeedEach)
{
    const std::string binary("\x00\xff\x11\x13\x03\x7f", 6);
    port->SetTimeout(100);
    DeviceSends("ABC\r\nDEF\n\r\nG\r\r\nH\rI\r\n" + binary + "\n");
    for (const std::string& expected : std::vector<std::string>{"ABC", "DEF", "", "G\r", "HI\r", binary}) {
        EXPECT_EQ(Read(), expected);
    }
    EXPECT_EQ(Read(), kNoLine);
}

// A line is cut at the cap without losing anything: a carriage return in it
// stays, and what follows the cut is the start of the next line. (The device
// sends in pieces a pty can hold while nobody reads.)
TEST_F(SerialPortTest, BytesAfterALineEndOrTheCapStartTheNextLine)
{
    const std::string full(SerialPort::kMaxLineLength - 1, 'y'), capped(SerialPort::kMaxLineLength - 1, 'x');
    DeviceSends("KORVE-READY\r\nKORVE-STA");
    EXPECT_EQ(Read(), "KORVE-READY");
    DeviceSends("TUS-15\r\n" + full + "\n");
    EXPECT_EQ(Read(), "KORVE-STATUS-15");
    EXPECT_EQ(Read(), full);
    DeviceSends(capped + "\r\n");
    EXPECT_EQ(Read(), capped + "\r");
    EXPECT_EQ(Read(), "");
    DeviceSends(capped + "\rKORVE-REA");
    EXPECT_EQ(Read(), capped + "\r");
    DeviceSends("DY\r\n");
    EXPECT_EQ(Read(), "KORVE-READY");
}

// Silence drops a partial line; a clear drops the bytes the port kept and
// those still in the line discipline, then writes the given text.
TEST_F(SerialPortTest, SilenceDropsAPartialLineAndAClearDropsEverythingReceived)
{
    port->SetTimeout(100);
    DeviceSends("KORVE-REA");
    EXPECT_EQ(Read(), kNoLine);
    DeviceSends("DY\r\nKEPT\r\n");
    EXPECT_EQ(Read(), "DY");
    DeviceSends("PENDING\r\n");
    port->ClearBuffer("x;");
    EXPECT_EQ(Read(), kNoLine);
    char received[8] = {};
    EXPECT_EQ(std::string(received, static_cast<std::size_t>(read(pty->MasterFd(), received, sizeof received))), "x;");
}

// Each byte comes well within the read time-out, but the device needs at
// least 20 pauses of 20 ms to finish the line, so no load on the machine lets
// it complete within the 100 ms after its first byte.
TEST_F(SerialPortTest, ALineStillIncompleteOneTimeOutAfterItsFirstByteIsNoLine)
{
    port->SetTimeout(100);
    std::thread device([this] {
        for (int i = 0; i < 20; ++i) {
            DeviceSends("x");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        DeviceSends("\n");
    });
    EXPECT_EQ(Read(), kNoLine);
    device.join();
}

TEST_F(SerialPortTest, PathIsHeldByOnePortUntilReleasedAndRefusalsAreQuiet)
{
    const std::wstring missing = L"/dev/zepta-no-such-port";
    char log[256];
    while (ZEPTASDK::Debug::GetBackLogData(log, sizeof log) > 0) {
    }
    {
        SerialPort refused(kWidePath, true);
        EXPECT_EQ(std::make_tuple(refused.IsEnable(), refused.Write("d;"), refused.SetTimeout(500)),
                  std::make_tuple(false, ssize_t{-1}, -1));
    }
    EXPECT_FALSE(SerialPort(kWidePath, false).IsEnable()) << "a refused port releases nothing";
    EXPECT_EQ(ZEPTASDK::Debug::GetBackLogDataAvailable(), 0);
    EXPECT_FALSE(SerialPort(missing, true).IsEnable());
    EXPECT_EQ(std::string(log, static_cast<std::size_t>(ZEPTASDK::Debug::GetBackLogData(log, sizeof log))),
              "[/dev/zepta-no-such-port] is already in use or access is not permitted.\n");
    port.reset();
    EXPECT_TRUE(SerialPort(kWidePath, false).IsEnable());
    zepta_tools::PseudoTerminal late("/dev/zepta-no-such-port");
    EXPECT_TRUE(SerialPort(missing, false).IsEnable()) << "a failed open reserves nothing";
}

}  // namespace
